#include "core/SettingsKeys.h"
#include "platform/linux/QSettingsDefaults.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <optional>
#include <sys/stat.h>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

struct QSettingsDefaultsTest : testing::Test {
  QString path() const { return directory.filePath(u"zolvex/settings.json"_s); }
  void open() {
    defaults.emplace(queue, path().toStdString());
    subscription = defaults->changed.observe([this] { ++changes; });
  }
  void reopen() {
    defaults.reset();
    open();
  }
  void writeFile(const QByteArray& bytes) {
    QDir().mkpath(directory.filePath(u"zolvex"_s));
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
  }
  QByteArray fileBytes() const {
    QFile file(path());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
  QJsonObject json() const { return QJsonDocument::fromJson(fileBytes()).object(); }
  QStringList keptAside() const {
    return QDir(directory.filePath(u"zolvex"_s)).entryList({u"settings.json.damaged-*"_s});
  }

  LogCapture log;
  QTemporaryDir directory;
  QtMainQueue queue;
  std::optional<QSettingsDefaults> defaults;
  Subscription subscription;
  int changes = 0;
};

TEST_F(QSettingsDefaultsTest, aFreshInstallationHasNoSettingsAndMakesNoFile) {
  open();
  EXPECT_EQ(defaults->stored(settings::autoRelease), std::nullopt);
  EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(QSettingsDefaultsTest, everyTypeOutlivesTheProcess) {
  open();
  defaults->set("bool", true);
  defaults->set("number", -1.0);
  defaults->set("fraction", 1.0 / 60);
  defaults->set("text", std::string("Anna\u2019s \"Mac\"\n/\\"));
  defaults->set("array", StringArray{"b", "a", "b"});
  defaults->set("table", StringDictionary{{"AA-BB", "Magic Mouse"}, {"a/b", ""}});
  reopen();
  EXPECT_EQ(defaults->boolean("bool"), true);
  EXPECT_EQ(defaults->number("number"), -1.0);
  EXPECT_EQ(defaults->number("fraction"), 1.0 / 60);
  EXPECT_EQ(defaults->string("text"), "Anna\u2019s \"Mac\"\n/\\");
  EXPECT_EQ(defaults->stringArray("array"), (StringArray{"b", "a", "b"}));
  EXPECT_EQ(defaults->stringDictionary("table"), (StringDictionary{{"AA-BB", "Magic Mouse"}, {"a/b", ""}}));
}

TEST_F(QSettingsDefaultsTest, theFileIsOneFlatObjectWithRealTypes) {
  open();
  defaults->set(settings::autoRelease, false);
  defaults->set(settings::autoReleaseHours, -1.0);
  defaults->set(settings::managedDeviceAddresses, StringArray{});
  EXPECT_EQ(json(), (QJsonObject{{u"autoRelease"_s, false},
                                 {u"autoReleaseHours"_s, -1.0},
                                 {u"managedDeviceAddresses"_s, QJsonArray()}}));
}

TEST_F(QSettingsDefaultsTest, theFileIsForItsOwnerOnly) {
  open();
  defaults->set("key", true);
  EXPECT_EQ(QFile::permissions(path()) & QFile::Permissions(0x00FF), QFile::Permissions());
  defaults->set("key", false);
  EXPECT_EQ(QFile::permissions(path()) & QFile::Permissions(0x00FF), QFile::Permissions());
}

TEST_F(QSettingsDefaultsTest, valuesOfOtherTypesReadLikeAbsentOnes) {
  writeFile(
      R"({"autoRelease": 1, "deviceNames": {"AA": 5}, "managedDeviceAddresses": ["a", 1], "peerIdentityID": null})");
  open();
  EXPECT_EQ(defaults->boolean(settings::autoRelease), std::nullopt);
  EXPECT_EQ(defaults->stringDictionary(settings::deviceNames), std::nullopt);
  EXPECT_EQ(defaults->stringArray(settings::managedDeviceAddresses), std::nullopt);
  EXPECT_EQ(defaults->stored(settings::deviceNames), DefaultsValue(std::monostate()));
  EXPECT_EQ(defaults->string(settings::peerIdentityID), std::nullopt);
}

TEST_F(QSettingsDefaultsTest, whatIsNotOursIsKept) {
  writeFile(R"({"theirs": [1, {"deep": null}], "a/b": 2.5, "big": 9007199254740993, "": "nameless"})");
  open();
  defaults->set("ours", true);
  auto expected = QJsonDocument::fromJson(R"({"theirs": [1, {"deep": null}], "a/b": 2.5, "big": 9007199254740993,
                                              "": "nameless", "ours": true})");
  EXPECT_EQ(json(), expected.object());
  EXPECT_TRUE(fileBytes().contains("9007199254740993"));
}

TEST_F(QSettingsDefaultsTest, tellsOfItsOwnChangesAtOnce) {
  open();
  defaults->set("key", true);
  EXPECT_EQ(changes, 1);
  defaults->remove("key");
  EXPECT_EQ(changes, 2);
  defaults->remove("key");
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(defaults->stored("key"), std::nullopt);
  EXPECT_EQ(json(), QJsonObject());
}

TEST_F(QSettingsDefaultsTest, doesNotTakeItsOwnWriteForAChangeByAnother) {
  open();
  defaults->set("key", true);
  EXPECT_FALSE(runUntil([&] { return changes > 1; }, std::chrono::milliseconds(500)));
}

TEST_F(QSettingsDefaultsTest, noticesAFileWrittenInPlace) {
  writeFile(R"({"key": 1})");
  open();
  writeFile(R"({"key": 20})");
  ASSERT_TRUE(runUntil([&] { return defaults->number("key") == 20; }));
  EXPECT_EQ(changes, 1);
}

TEST_F(QSettingsDefaultsTest, noticesEveryReplacementOfTheFile) {
  open();
  for (int i = 1; i <= 3; ++i) {
    QSaveFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("{\"key\": ") + QByteArray::number(i) + "}");
    ASSERT_TRUE(file.commit());
    ASSERT_TRUE(runUntil([&] { return defaults->number("key") == i; }));
  }
  EXPECT_EQ(changes, 3);
}

TEST_F(QSettingsDefaultsTest, noticesThatTheFileWasRemoved) {
  writeFile(R"({"key": true})");
  open();
  QFile::remove(path());
  ASSERT_TRUE(runUntil([&] { return changes == 1; }));
  EXPECT_EQ(defaults->stored("key"), std::nullopt);
}

TEST_F(QSettingsDefaultsTest, aChangeByAnotherSurvivesAWriteThatDidNotKnowOfIt) {
  open();
  defaults->set("ours", 1.0);
  writeFile(R"({"ours": 1, "theirs": "x"})");
  defaults->set("ours", 2.0);
  EXPECT_EQ(json(), (QJsonObject{{u"ours"_s, 2}, {u"theirs"_s, u"x"_s}}));
}

struct QSettingsDefaultsGarbageTest : QSettingsDefaultsTest, testing::WithParamInterface<const char*> {};

TEST_P(QSettingsDefaultsGarbageTest, isKeptAsideAndTheProgramStartsWithDefaults) {
  log.expectError("the settings file is no JSON object; it is kept as ");
  writeFile(GetParam());
  open();
  EXPECT_EQ(defaults->stored("key"), std::nullopt);
  defaults->set("key", true);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, true}}));
  ASSERT_EQ(keptAside().size(), 1);
  QFile aside(directory.filePath(u"zolvex/"_s + keptAside().constFirst()));
  ASSERT_TRUE(aside.open(QIODevice::ReadOnly));
  EXPECT_EQ(aside.readAll(), QByteArray(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Kinds, QSettingsDefaultsGarbageTest,
                         testing::Values("garbage", "[1, 2]", "{\"key\": ", "\"text\"", "{\"a\": 1} x",
                                         "\xff\xfe\x01"));

TEST_F(QSettingsDefaultsTest, damagedFilesOfOneSecondAreAllKept) {
  log.expectError("the settings file is no JSON object; it is kept as ");
  for (int i = 0; i < 3; ++i) {
    writeFile("garbage");
    reopen();
  }
  EXPECT_EQ(keptAside().size(), 3);
}

TEST_F(QSettingsDefaultsTest, anEmptyFileIsNoDamage) {
  writeFile("");
  open();
  defaults->set("key", true);
  EXPECT_TRUE(keptAside().isEmpty());
}

TEST_F(QSettingsDefaultsTest, aHalfFinishedEditLosesNothing) {
  log.expectError("the settings file is no JSON object; the last good settings stay in use");
  log.expectError("the settings file is no JSON object; it is kept as ");
  writeFile(R"({"key": 1, "other": "x"})");
  open();
  writeFile(R"({"key": 2, "oth)");
  ASSERT_TRUE(runUntil([&] { return !log.lines().empty(); }));
  EXPECT_EQ(defaults->number("key"), 1);
  EXPECT_EQ(changes, 0);
  EXPECT_TRUE(keptAside().isEmpty());
  defaults->set("ours", true);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, 1}, {u"other"_s, u"x"_s}, {u"ours"_s, true}}));
  EXPECT_EQ(keptAside().size(), 1);
}

TEST_F(QSettingsDefaultsTest, anEditThatIsFinishedLaterIsTaken) {
  log.expectError("the settings file is no JSON object; the last good settings stay in use");
  writeFile(R"({"key": 1})");
  open();
  writeFile(R"({"key": )");
  ASSERT_TRUE(runUntil([&] { return !log.lines().empty(); }));
  writeFile(R"({"key": 2})");
  ASSERT_TRUE(runUntil([&] { return defaults->number("key") == 2; }));
}

TEST_F(QSettingsDefaultsTest, settingsThatCannotBeWrittenLiveInMemory) {
  log.expectError("cannot make the settings directory /dev/null/zolvex");
  log.expectError("cannot write the settings to /dev/null/zolvex/settings.json; they are kept in memory");
  defaults.emplace(queue, "/dev/null/zolvex/settings.json");
  defaults->set("key", true);
  defaults->set("other", 2.0);
  defaults->remove("other");
  EXPECT_EQ(defaults->boolean("key"), true);
  EXPECT_EQ(defaults->stored("other"), std::nullopt);
  EXPECT_EQ(log.lines().size(), 2u);
}

TEST_F(QSettingsDefaultsTest, aFloodOfChangesSharesWritesAndLosesNothing) {
  open();
  for (int i = 1; i <= 100; ++i) defaults->set("key", static_cast<double>(i));
  EXPECT_EQ(defaults->number("key"), 100);
  EXPECT_EQ(changes, 100);
  EXPECT_EQ(json()[u"key"_s], QSettingsDefaults::writesPerPeriod);
  ASSERT_TRUE(runUntil([&] { return json()[u"key"_s] == 100; }));
}

TEST_F(QSettingsDefaultsTest, whatIsNotWrittenYetIsWrittenAtTheEnd) {
  open();
  for (int i = 1; i <= 100; ++i) defaults->set("key", static_cast<double>(i));
  defaults->remove("key");
  defaults->set("other", true);
  defaults.reset();
  EXPECT_EQ(json(), (QJsonObject{{u"other"_s, true}}));
}

TEST_F(QSettingsDefaultsTest, aLockThatACrashLeftBehindHoldsUpNothing) {
  writeFile("{}");
  QFile lock(path() + u".lock"_s);
  ASSERT_TRUE(lock.open(QIODevice::WriteOnly));
  lock.write("1\nsomebody\nsomewhere\n");
  lock.close();
  open();
  defaults->set("key", true);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, true}}));
}

TEST_F(QSettingsDefaultsTest, aPipeInPlaceOfTheFileIsKeptAside) {
  log.expectError("the settings file is no JSON object; it is kept as ");
  writeFile("{}");
  ASSERT_TRUE(QFile::remove(path()));
  ASSERT_EQ(mkfifo(QFile::encodeName(path()).constData(), 0600), 0);
  open();
  defaults->set("key", true);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, true}}));
}

TEST_F(QSettingsDefaultsTest, standardPathIsInTheConfigurationDirectory) {
  const auto before = qgetenv("XDG_CONFIG_HOME");
  qputenv("XDG_CONFIG_HOME", "/somewhere");
  EXPECT_EQ(QSettingsDefaults::standardPath(), "/somewhere/zolvex/settings.json");
  qputenv("XDG_CONFIG_HOME", "relative");
  EXPECT_TRUE(QSettingsDefaults::standardPath().ends_with("/.config/zolvex/settings.json"));
  before.isNull() ? qunsetenv("XDG_CONFIG_HOME") : qputenv("XDG_CONFIG_HOME", before);
}

}  // namespace
}  // namespace zolvex::test
