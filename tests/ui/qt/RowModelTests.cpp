#include "ui/qt/RowModel.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

QList<RowModel::Row> rowsOf(const QString& letters) {
  QList<RowModel::Row> rows;
  for (const auto letter : letters) rows.append({letter.toLower(), {QString(letter)}});
  return rows;
}

struct RowModelTest : testing::Test {
  RowModelTest() {
    QObject::connect(&model, &RowModel::rowsInserted, [this] { changes += "i"; });
    QObject::connect(&model, &RowModel::rowsRemoved, [this] { changes += "r"; });
    QObject::connect(&model, &RowModel::rowsMoved, [this] { changes += "m"; });
    QObject::connect(&model, &RowModel::dataChanged, [this] { changes += "d"; });
    QObject::connect(&model, &RowModel::modelReset, [this] { changes += "!"; });
  }
  QString content() const {
    QString letters;
    for (int i = 0; i < model.count(); ++i) letters += model.data(model.index(i), Qt::UserRole + 1).toString();
    return letters;
  }

  RowModel model{{"letter"}};
  std::string changes;
};

TEST_F(RowModelTest, hasTheRowsThatItWasGivenLast) {
  for (const auto& letters : {u"abc"_s, u"cab"_s, u"b"_s, u""_s, u"xyz"_s, u"zxab"_s}) {
    model.setRows(rowsOf(letters));
    EXPECT_EQ(content(), letters);
  }
}

TEST_F(RowModelTest, rowsWithTheSameIdComeAndGoLikeOthers) {
  for (const auto& letters : {u"aa"_s, u"a"_s, u"aba"_s, u"baa"_s, u"ab"_s, u"aAa"_s, u""_s}) {
    model.setRows(rowsOf(letters));
    EXPECT_EQ(content(), letters);
    EXPECT_EQ(model.rowCount(), letters.size());
  }
}

TEST_F(RowModelTest, changesOnlyWhatIsDifferent) {
  model.setRows(rowsOf(u"abc"_s));
  changes.clear();
  model.setRows(rowsOf(u"abc"_s));
  EXPECT_EQ(changes, "");
  model.setRows(rowsOf(u"aBc"_s));
  EXPECT_EQ(changes, "d");
  model.setRows(rowsOf(u"caB"_s));
  EXPECT_EQ(changes, "dm");
  model.setRows(rowsOf(u"cB"_s));
  EXPECT_EQ(changes, "dmr");
}

}  // namespace
}  // namespace zolvex::test
