#include "SettingsFileTest.h"

#include <cstdio>
#include <functional>
#include <ostream>
#include <string>
#include <sys/stat.h>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr auto anyFile = "the settings file ";

/// Makes something in place of the settings file, and says how the log calls it.
struct Unusable {
  const char* name;
  std::function<void(const QString& path)> make;
  std::string complaint;

  friend void PrintTo(const Unusable& kind, std::ostream* out) { *out << kind.name; }
};

void write(const QString& path, const QByteArray& bytes) {
  QFile file(path);
  if (file.open(QIODevice::WriteOnly)) file.write(bytes);
}

Unusable withContent(const char* name, const QByteArray& content, std::string complaint) {
  return {name, [content](const QString& path) { write(path, content); }, std::move(complaint)};
}

struct UnusableSettingsTest : SettingsFileTest, testing::WithParamInterface<Unusable> {
  void SetUp() override {
    QDir().mkpath(folder());
    GetParam().make(path());
    log.expectError(anyFile + path().toStdString() + " " + GetParam().complaint);
  }
};

TEST_P(UnusableSettingsTest, startsWithTheDefaultsAndOneLineAndTouchesNothing) {
  const auto before = fileBytes();
  open();
  EXPECT_EQ(defaults->stored("key"), std::nullopt);
  EXPECT_FALSE(defaults->isFileUsable());
  defaults->note("own", 1.0);
  defaults->note("own", 2.0);
  EXPECT_EQ(defaults->number("own"), 2.0);
  reopen();
  EXPECT_TRUE(keptAside().isEmpty());
  EXPECT_EQ(fileBytes(), before);
  ASSERT_EQ(log.lines().size(), 2u);  // one for each start
  EXPECT_TRUE(
      log.lines().back().ends_with("; it stays as it is until a setting is changed, the defaults are in force"));
}

TEST_P(UnusableSettingsTest, isKeptAsideWhenTheUserChangesASetting) {
  const auto before = fileBytes();
  open();
  defaults->note("own", 1.0);
  defaults->set("key", true);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, true}, {u"own"_s, 1}}));
  ASSERT_EQ(keptAside().size(), 1);
  EXPECT_EQ(bytesOf(folder() + u'/' + keptAside().constFirst()), before);
  EXPECT_TRUE(log.contains("the unusable settings file is kept as " + folder().toStdString() + "/" +
                           keptAside().constFirst().toStdString()));
  EXPECT_TRUE(defaults->isFileUsable());
  reopen();
  EXPECT_EQ(defaults->boolean("key"), true);
}

TEST_P(UnusableSettingsTest, isTakenUpWhenSomebodyMendsIt) {
  open();
  defaults->note("own", 1.0);
  defaults->note("mine", 1.0);
  write(path() + u".mended"_s, R"({"key": 5, "own": 7})");
  if (QFileInfo(path()).isDir()) QDir().rmdir(path());
  ASSERT_EQ(rename(QFile::encodeName(path() + u".mended"_s), QFile::encodeName(path())), 0);
  ASSERT_TRUE(runUntil([&] { return defaults->number("key") == 5; }));
  EXPECT_EQ(defaults->number("own"), 7);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, 5}, {u"own"_s, 7}, {u"mine"_s, 1}}));
  EXPECT_TRUE(keptAside().isEmpty());
}

QByteArray nested(int depth) {
  return "{\"a\": " + QByteArray(depth, '[') + QByteArray(depth, ']') + "}";
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, UnusableSettingsTest,
    testing::Values(
        withContent("empty", "", "is empty"), withContent("blank", " \n", "is empty"),
        withContent("cutOff", "{\"key\": tr", "is no JSON (illegal value at byte "),
        withContent("garbage", "garbage", "is no JSON (illegal "),  // what Qt finds illegal depends on its version
        withContent("moreBehindIt", "{\"a\": 1} x", "is no JSON (garbage at the end of the document at byte "),
        withContent("list", "[1, 2]", "is no JSON object"),
        withContent("noUtf8", "{\"a\": \"\xff\xfe\"}", "is no JSON ("),
        withContent("utf16", QByteArray("\xff\xfe{\0}\0", 6), "is no JSON ("),
        withContent("zeros", QByteArray(4096, '\0'), "is no JSON ("),
        withContent("deep", nested(100'000), "is no JSON (too deeply nested document at byte "),
        withContent("huge", "{\"a\": \"" + QByteArray(SettingsFile::longest, 'x') + "\"}", "is larger than 16 MiB"),
        Unusable{"directory", [](const QString& path) { QDir().mkpath(path); }, "is a directory"},
        Unusable{"linkToNothing", [](const QString& path) { QFile::link(u"/nonexistent/file"_s, path); },
                 "is a link to nothing"},
        Unusable{"linkInACircle",
                 [](const QString& path) {
                   QFile::link(path + u".loop"_s, path);
                   QFile::link(path + u".loop"_s, path + u".loop"_s);
                 },
                 "cannot be read (Too many levels of symbolic links)"},
        Unusable{"pipe", [](const QString& path) { mkfifo(QFile::encodeName(path).constData(), 0600); },
                 "is no regular file"}),
    [](const auto& kind) { return kind.param.name; });

struct UnusableLaterTest : SettingsFileTest, testing::WithParamInterface<const char*> {
  void SetUp() override {
    log.expectError(anyFile + path().toStdString() + " is ");
    writeFile(R"({"key": 1, "other": "x"})");
    open();
    writeFile(GetParam());
    ASSERT_TRUE(runUntil([&] { return !log.lines().empty(); }));
  }
};

TEST_P(UnusableLaterTest, theLastGoodSettingsStayInForce) {
  EXPECT_TRUE(
      log.lines().back().ends_with("; it stays as it is until a setting is changed, the last good settings "
                                   "stay in force"));
  EXPECT_EQ(defaults->number("key"), 1);
  EXPECT_EQ(changes, 0);
  defaults->note("own", true);
  EXPECT_EQ(fileBytes(), GetParam());
  EXPECT_EQ(log.lines().size(), 1u);
}

TEST_P(UnusableLaterTest, aChangeLosesNeitherTheSettingsNorTheEdit) {
  defaults->note("own", true);
  defaults->set("ours", true);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, 1}, {u"other"_s, u"x"_s}, {u"ours"_s, true}, {u"own"_s, true}}));
  ASSERT_EQ(keptAside().size(), 1);
  EXPECT_EQ(bytesOf(folder() + u'/' + keptAside().constFirst()), GetParam());
}

TEST_P(UnusableLaterTest, anEditThatIsFinishedLaterIsTaken) {
  writeFile(R"({"key": 2})");
  ASSERT_TRUE(runUntil([&] { return defaults->number("key") == 2; }));
  EXPECT_EQ(defaults->stored("other"), std::nullopt);
  writeFile("{");
  EXPECT_TRUE(runUntil([&] { return log.lines().size() == 2; })) << "told again, as it is a new misfortune";
}

INSTANTIATE_TEST_SUITE_P(Kinds, UnusableLaterTest, testing::Values("", R"({"key": 2, "oth)"));

struct UnwritableSettingsTest : SettingsFileTest {
  void expectFailure(const std::string& reason) {
    log.expectError("the settings cannot be saved, changes count until Zolvex ends: " + reason);
  }
};

TEST_F(SettingsFileTest, unusableFilesOfOneSecondAreAllKept) {
  log.expectError(anyFile);
  for (int i = 0; i < 3; ++i) {
    writeFile("garbage");
    reopen();
    defaults->set("key", true);
  }
  EXPECT_EQ(keptAside().size(), 3);
}

TEST_F(UnwritableSettingsTest, withoutADirectoryChangesCountUntilTheEnd) {
  expectFailure("cannot make the directory /dev/null");
  defaults.emplace(queue, "/dev/null/zolvex/settings.json");
  defaults->set("key", true);
  defaults->set("other", 2.0);
  defaults->remove("other");
  EXPECT_EQ(defaults->boolean("key"), true);
  EXPECT_EQ(defaults->stored("other"), std::nullopt);
  EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(UnwritableSettingsTest, aReadOnlyFileIsReadAndLeftAlone) {
  expectFailure("cannot write " + path().toStdString() + ": it is read-only");
  writeFile(R"({"key": 1})");
  chmod(QFile::encodeName(path()).constData(), 0400);
  const auto before = fileBytes();
  open();
  EXPECT_EQ(defaults->number("key"), 1);
  defaults->set("key", 2.0);
  defaults->note("own", 3.0);
  EXPECT_EQ(defaults->number("key"), 2);
  EXPECT_EQ(fileBytes(), before);
  EXPECT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(defaults->persistenceProblem(), "cannot write " + path().toStdString() + ": it is read-only");
  chmod(QFile::encodeName(path()).constData(), 0600);
  defaults->set("other", true);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, 2}, {u"own"_s, 3}, {u"other"_s, true}}));
  EXPECT_TRUE(log.contains("the settings can be saved again"));
  EXPECT_EQ(defaults->persistenceProblem(), std::nullopt);
}

TEST_F(UnwritableSettingsTest, changesThatCouldNotBeSavedOutlastAChangeByAnother) {
  expectFailure("cannot write ");
  writeFile(R"({"key": 1})");
  chmod(QFile::encodeName(path()).constData(), 0400);
  open();
  defaults->set("key", 2.0);
  QFile::remove(path());
  writeFile(R"({"key": 3, "theirs": true})");
  ASSERT_TRUE(runUntil([&] { return defaults->boolean("theirs") == true; }));
  EXPECT_EQ(defaults->number("key"), 2);
}

TEST_F(UnwritableSettingsTest, inADirectoryThatIsReadOnlyNothingIsTouched) {
  expectFailure("cannot write " + path().toStdString() + ": Permission denied");
  const AsOrdinaryUser user(directory.path());
  ASSERT_TRUE(user.isDone());
  writeFile(R"({"key": 1})");
  chmod(QFile::encodeName(folder()).constData(), 0500);
  open();
  defaults->set("key", 2.0);
  EXPECT_EQ(defaults->number("key"), 2);
  EXPECT_EQ(fileBytes(), R"({"key": 1})");
  EXPECT_EQ(QDir(folder()).entryList(QDir::Files), QStringList{u"settings.json"_s});
  chmod(QFile::encodeName(folder()).constData(), 0700);
}

TEST_F(UnwritableSettingsTest, anUnusableFileThatCannotBeMovedStays) {
  log.expectError(anyFile);
  expectFailure("cannot rename " + path().toStdString() + ": Permission denied");
  const AsOrdinaryUser user(directory.path());
  ASSERT_TRUE(user.isDone());
  writeFile("garbage");
  chmod(QFile::encodeName(folder()).constData(), 0500);
  open();
  defaults->set("key", 2.0);
  defaults->set("key", 3.0);
  EXPECT_EQ(defaults->number("key"), 3);
  EXPECT_EQ(fileBytes(), "garbage");
  EXPECT_EQ(log.lines().size(), 2u);
  chmod(QFile::encodeName(folder()).constData(), 0700);
}

struct UnreadableSettingsTest : SettingsFileTest {
  void SetUp() override { log.expectError(anyFile + path().toStdString() + " cannot be read (Permission denied); "); }
  void stayUntilTheUserChangesASetting() {
    writeFile(R"({"key": 1})");
    setMode(0200);
    open();
    EXPECT_EQ(defaults->stored("key"), std::nullopt);
    defaults->note("own", true);
    EXPECT_TRUE(keptAside().isEmpty());
    EXPECT_EQ(mode(), 0200u);
    defaults->set("ours", true);
    EXPECT_EQ(json(), (QJsonObject{{u"ours"_s, true}, {u"own"_s, true}}));
    EXPECT_EQ(keptAside().size(), 1);
    EXPECT_EQ(log.lines().size(), 2u);
  }
};

TEST_F(UnreadableSettingsTest, stayUntilTheUserChangesASetting) {
  const AsOrdinaryUser user(directory.path());
  ASSERT_TRUE(user.isDone());
  stayUntilTheUserChangesASetting();
}

TEST_F(UnreadableSettingsTest, stayAlsoForRootWhoCouldReadThem) {
  stayUntilTheUserChangesASetting();
}

struct SettingsModeTest : SettingsFileTest {
  void open(const QByteArray& content, mode_t given) {
    writeFile(content);
    setMode(given);
    SettingsFileTest::open();
  }
};

TEST_F(SettingsModeTest, othersMayReadTheFileUntilItIsWritten) {
  open(R"({"key": 1})", 0644);
  EXPECT_EQ(mode(), 0644u);
  defaults->set("key", 2.0);
  EXPECT_EQ(mode(), 0600u);
}

TEST_F(SettingsModeTest, aReadOnlyFileKeepsItsMode) {
  log.expectError("the settings cannot be saved, changes count until Zolvex ends: cannot write ");
  open(R"({"key": 1})", 0444);
  defaults->set("key", 2.0);
  EXPECT_EQ(mode(), 0444u);
}

TEST_F(SettingsModeTest, anUnusableFileIsKeptAsideWithItsMode) {
  log.expectError(anyFile);
  open("garbage", 0664);
  EXPECT_EQ(mode(), 0664u);
  defaults->set("key", true);
  ASSERT_EQ(keptAside().size(), 1);
  EXPECT_EQ(modeOf(folder() + u'/' + keptAside().constFirst()), 0664u);
  EXPECT_EQ(mode(), 0600u);
}

}  // namespace
}  // namespace zolvex::test
