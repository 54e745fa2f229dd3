#include "SettingsFileTest.h"
#include "core/SettingsKeys.h"

#include <QJsonArray>
#include <QSaveFile>

#include <functional>
#include <utility>

namespace zolvex::test {
namespace {

using FileUserDefaultsTest = SettingsFileTest;
using namespace Qt::Literals::StringLiterals;

/// Counts what is put off, and with that what wakes the program up later.
class CountingQueue final : public MainQueue {
 public:
  explicit CountingQueue(MainQueue& queue) : queue_(queue) {}
  Date now() const override { return queue_.now(); }
  void async(std::function<void()> work) override { queue_.async(std::move(work)); }
  WorkItem after(Seconds delay, std::function<void()> work) override {
    ++putOff;
    last = {delay, work};
    return queue_.after(delay, std::move(work));
  }
  bool isCurrent() const override { return queue_.isCurrent(); }

  struct Delayed {
    Seconds delay{};
    std::function<void()> work;
  };
  int putOff = 0;
  Delayed last;

 private:
  MainQueue& queue_;
};

TEST_F(FileUserDefaultsTest, aFreshInstallationHasNoSettingsAndMakesNoFile) {
  open();
  EXPECT_EQ(defaults->stored(settings::autoRelease), std::nullopt);
  EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(FileUserDefaultsTest, everyTypeOutlivesTheProcess) {
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

TEST_F(FileUserDefaultsTest, theFileIsOneFlatObjectWithRealTypes) {
  open();
  defaults->set(settings::autoRelease, false);
  defaults->set(settings::autoReleaseHours, -1.0);
  defaults->set(settings::managedDeviceAddresses, StringArray{});
  EXPECT_EQ(json(), (QJsonObject{{u"autoRelease"_s, false},
                                 {u"autoReleaseHours"_s, -1.0},
                                 {u"managedDeviceAddresses"_s, QJsonArray()}}));
}

TEST_F(FileUserDefaultsTest, theFileIsForItsOwnerOnly) {
  open();
  defaults->set("key", true);
  EXPECT_EQ(QFile::permissions(path()) & QFile::Permissions(0x00FF), QFile::Permissions());
  defaults->set("key", false);
  EXPECT_EQ(QFile::permissions(path()) & QFile::Permissions(0x00FF), QFile::Permissions());
}

TEST_F(FileUserDefaultsTest, valuesOfOtherTypesReadLikeAbsentOnesAndAreToldOnce) {
  log.expectError(wrongTypesLine("autoRelease, deviceNames, managedDeviceAddresses, peerIdentityID"));
  writeFile(
      R"({"autoRelease": 1, "deviceNames": {"AA": 5}, "managedDeviceAddresses": ["a", 1], "peerIdentityID": null})");
  open();
  EXPECT_EQ(defaults->boolean(settings::autoRelease), std::nullopt);
  EXPECT_EQ(defaults->stringDictionary(settings::deviceNames), std::nullopt);
  EXPECT_EQ(defaults->stringArray(settings::managedDeviceAddresses), std::nullopt);
  EXPECT_EQ(defaults->stored(settings::deviceNames), DefaultsValue(std::monostate()));
  EXPECT_EQ(defaults->string(settings::peerIdentityID), std::nullopt);
  defaults->set("other", true);
  EXPECT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(json().value(u"autoRelease"_s), QJsonValue(1));
}

TEST_F(FileUserDefaultsTest, aWrongTypeThatAnotherWritesIsToldAndReadsLikeAnAbsentOne) {
  log.expectError("in the settings file ");
  writeFile(R"({"autoConnect": true})");
  open();
  writeFile(R"({"autoConnect": "yes please"})");
  ASSERT_TRUE(runUntil([&] { return changes == 1; }));
  EXPECT_EQ(defaults->boolean(settings::autoConnect), std::nullopt);
  defaults->set(settings::autoConnect, false);
  EXPECT_EQ(json(), (QJsonObject{{u"autoConnect"_s, false}}));
}

TEST_F(FileUserDefaultsTest, whatIsNotedIsWrittenAmongValuesOfWrongTypes) {
  log.expectError(wrongTypesLine("autoRelease, deviceNames"));
  writeFile(R"({"autoRelease": "yes", "deviceNames": [{"v": 2}], "theirs": null, "transportMode": "bonjour"})");
  auto expected = json();
  open();
  defaults->note(settings::peerIdentityID, std::string("fresh"));
  expected.insert(u"peerIdentityID"_s, u"fresh"_s);
  EXPECT_EQ(json(), expected);
  defaults->noteEventually(settings::networkDevices, std::string("[]"));
  reopen();
  expected.insert(u"networkDevices"_s, u"[]"_s);
  EXPECT_EQ(json(), expected);
  EXPECT_EQ(defaults->string(settings::peerIdentityID), "fresh");
  EXPECT_EQ(log.lines().size(), 2u) << "one for each start";
}

TEST_F(FileUserDefaultsTest, whatIsNotedReplacesItsOwnValueOfAWrongTypeAndTheRestIsNotToldAgain) {
  log.expectError(wrongTypesLine("autoConnect, peerIdentityID"));
  writeFile(R"({"autoConnect": "yes", "peerIdentityID": 5})");
  open();
  defaults->note(settings::peerIdentityID, std::string("fresh"));
  EXPECT_EQ(json(), (QJsonObject{{u"autoConnect"_s, u"yes"_s}, {u"peerIdentityID"_s, u"fresh"_s}}));
  EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(FileUserDefaultsTest, aFurtherWrongTypeIsToldAlongWithTheOthers) {
  log.expectError(wrongTypesLine("autoConnect"));
  writeFile(R"({"autoConnect": "yes"})");
  open();
  writeFile(R"({"autoConnect": "no", "autoRelease": 1})");
  ASSERT_TRUE(runUntil([&] { return log.contains(wrongTypesLine("autoConnect, autoRelease")); }));
  writeFile(R"({"autoConnect": 5})");
  ASSERT_TRUE(runUntil([&] { return defaults->stored(settings::autoConnect) == DefaultsValue(5.0); }));
  EXPECT_EQ(log.lines().size(), 2u);
}

TEST_F(FileUserDefaultsTest, whatAnotherChangesGoesBeforeWhatIsNotedEventually) {
  writeFile(R"({"networkDevices": "old", "autoConnect": true})");
  open();
  defaults->noteEventually(settings::networkDevices, std::string("heard again"));
  writeFile(R"({"networkDevices": "old", "autoConnect": false})");
  ASSERT_TRUE(runUntil([&] { return defaults->boolean(settings::autoConnect) == false; }));
  EXPECT_EQ(defaults->string(settings::networkDevices), "heard again");
  writeFile(R"({"networkDevices": "theirs", "autoConnect": false})");
  ASSERT_TRUE(runUntil([&] { return defaults->string(settings::networkDevices) == "theirs"; }));
  reopen();
  EXPECT_EQ(defaults->string(settings::networkDevices), "theirs");
}

TEST_F(FileUserDefaultsTest, whatIsNotOursIsKept) {
  writeFile(R"({"theirs": [1, {"deep": null}], "a/b": 2.5, "big": 9007199254740993, "": "nameless"})");
  open();
  defaults->set("ours", true);
  auto expected = QJsonDocument::fromJson(R"({"theirs": [1, {"deep": null}], "a/b": 2.5, "big": 9007199254740993,
                                              "": "nameless", "ours": true})");
  EXPECT_EQ(json(), expected.object());
  EXPECT_TRUE(fileBytes().contains("9007199254740993"));
}

TEST_F(FileUserDefaultsTest, tellsOfItsOwnChangesAtOnce) {
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

TEST_F(FileUserDefaultsTest, doesNotTakeItsOwnWriteForAChangeByAnother) {
  open();
  defaults->set("key", true);
  EXPECT_FALSE(runUntil([&] { return changes > 1; }, std::chrono::milliseconds(500)));
}

TEST_F(FileUserDefaultsTest, aChangeLeavesNothingToBeDoneLater) {
  CountingQueue counting(queue);
  FileUserDefaults changing(counting, path().toStdString());
  changing.set("key", true);
  changing.note("key", false);
  EXPECT_FALSE(runUntil([&] { return counting.putOff > 0; }, std::chrono::milliseconds(300)));
  writeFile(R"({"key": 5})");
  EXPECT_TRUE(runUntil([&] { return counting.putOff > 0; })) << "by another there is something to be looked at";
}

TEST_F(FileUserDefaultsTest, noticesWhatIsWrittenAfterTheSameAgain) {
  writeFile(R"({"key": 1})");
  open();
  writeFile(R"({"key": 1})");
  EXPECT_FALSE(runUntil([&] { return changes > 0; }, std::chrono::milliseconds(300)));
  writeFile(R"({"key": 2})");
  EXPECT_TRUE(runUntil([&] { return defaults->number("key") == 2; }));
}

TEST_F(FileUserDefaultsTest, noticesAFileWrittenInPlace) {
  writeFile(R"({"key": 1})");
  open();
  writeFile(R"({"key": 20})");
  ASSERT_TRUE(runUntil([&] { return defaults->number("key") == 20; }));
  EXPECT_EQ(changes, 1);
}

TEST_F(FileUserDefaultsTest, noticesEveryReplacementOfTheFile) {
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

TEST_F(FileUserDefaultsTest, noticesThatTheFileWasRemoved) {
  writeFile(R"({"key": true})");
  open();
  QFile::remove(path());
  ASSERT_TRUE(runUntil([&] { return changes == 1; }));
  EXPECT_EQ(defaults->stored("key"), std::nullopt);
}

TEST_F(FileUserDefaultsTest, aChangeByAnotherSurvivesAWriteThatDidNotKnowOfIt) {
  open();
  defaults->set("ours", 1.0);
  writeFile(R"({"ours": 1, "theirs": "x"})");
  defaults->set("ours", 2.0);
  EXPECT_EQ(json(), (QJsonObject{{u"ours"_s, 2}, {u"theirs"_s, u"x"_s}}));
}

TEST_F(FileUserDefaultsTest, whatManyOthersAddedIsKept) {
  QJsonObject theirs;
  for (int i = 0; i < 20'000; ++i) theirs.insert(u"key%1"_s.arg(i), QString(100, u'x'));
  QJsonValue deep = true;
  for (int i = 0; i < 500; ++i) deep = QJsonArray{deep};
  theirs.insert(u"deep"_s, deep);
  writeFile(QJsonDocument(theirs).toJson());
  open();
  defaults->set("ours", true);
  theirs.insert(u"ours"_s, true);
  EXPECT_EQ(json(), theirs);
}

TEST_F(FileUserDefaultsTest, twoWritersDoNotLoseEachOthersChanges) {
  open();
  FileUserDefaults other(queue, path().toStdString());
  for (int i = 0; i < 5; ++i) {
    defaults->set("ours" + std::to_string(i), true);
    other.set("theirs" + std::to_string(i), true);
    defaults->set("both", static_cast<double>(i));
  }
  EXPECT_EQ(json().size(), 11);
  EXPECT_EQ(json()[u"both"_s], 4);
  ASSERT_TRUE(runUntil([&] { return defaults->boolean("theirs4") && other.number("both") == 4; }));
}

TEST_F(FileUserDefaultsTest, aLinkStaysALinkAndChangesAtItsTargetAreNoticed) {
  QDir().mkpath(folder());
  const auto target = directory.filePath(u"dotfiles/zolvex.json"_s);
  QDir().mkpath(directory.filePath(u"dotfiles"_s));
  const auto replaceTarget = [&](const QByteArray& bytes) {
    QSaveFile file(target);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) && file.commit();
  };
  ASSERT_TRUE(replaceTarget(R"({"key": 1})"));
  ASSERT_TRUE(QFile::link(target, path()));
  open();
  defaults->set("ours", true);
  EXPECT_TRUE(QFileInfo(path()).isSymLink());
  EXPECT_EQ(QJsonDocument::fromJson(bytesOf(target)).object(), (QJsonObject{{u"key"_s, 1}, {u"ours"_s, true}}));
  ASSERT_TRUE(replaceTarget(R"({"key": 2})"));
  EXPECT_TRUE(runUntil([&] { return defaults->number("key") == 2; }));
}

TEST_F(FileUserDefaultsTest, aFileThatAnEditorIsReplacingLosesNothing) {
  writeFile(R"({"key": 1})");
  open();
  ASSERT_TRUE(QFile::rename(path(), path() + u"~"_s));
  defaults->set("ours", true);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, 1}, {u"ours"_s, true}}));
}

TEST_F(FileUserDefaultsTest, aFloodOfChangesSharesWritesAndLosesNothing) {
  open();
  for (int i = 1; i <= 100; ++i) defaults->set("key", static_cast<double>(i));
  EXPECT_EQ(defaults->number("key"), 100);
  EXPECT_EQ(changes, 100);
  EXPECT_EQ(json()[u"key"_s], FileUserDefaults::writesPerPeriod);
  ASSERT_TRUE(runUntil([&] { return json()[u"key"_s] == 100; }));
}

TEST_F(FileUserDefaultsTest, afterAFloodChangesAreWrittenAtOnceAgain) {
  open();
  for (int i = 1; i <= 100; ++i) defaults->set("key", static_cast<double>(i));
  ASSERT_TRUE(runUntil([&] { return json()[u"key"_s] == 100; }));
  defaults->set("key", 101.0);
  EXPECT_EQ(json()[u"key"_s], 101);
}

TEST_F(FileUserDefaultsTest, whatIsNotedEventuallyCountsAtOnceAndIsWrittenWithTheNextChange) {
  open();
  defaults->set("key", 1.0);
  defaults->noteEventually("heard", 1.0);
  defaults->noteEventually("heard", 2.0);
  EXPECT_EQ(defaults->number("heard"), 2);
  EXPECT_EQ(changes, 3);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, 1}}));
  defaults->set("key", 2.0);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, 2}, {u"heard"_s, 2}}));
}

TEST_F(FileUserDefaultsTest, whatIsNotedEventuallyIsWrittenOnItsOwnBeforeLong) {
  CountingQueue counting(queue);
  FileUserDefaults noting(counting, path().toStdString());
  noting.noteEventually("heard", 1.0);
  noting.noteEventually("heard", 2.0);
  EXPECT_EQ(counting.putOff, 1);
  EXPECT_EQ(counting.last.delay, FileUserDefaults::eventually);
  EXPECT_FALSE(QFile::exists(path()));
  counting.last.work();
  EXPECT_EQ(json(), (QJsonObject{{u"heard"_s, 2}}));
}

TEST_F(FileUserDefaultsTest, whatIsNotedEventuallyIsWrittenAtTheEnd) {
  open();
  defaults->noteEventually("heard", 1.0);
  defaults.reset();
  EXPECT_EQ(json(), (QJsonObject{{u"heard"_s, 1}}));
}

TEST_F(FileUserDefaultsTest, whatIsNotWrittenYetIsWrittenAtTheEnd) {
  open();
  for (int i = 1; i <= 100; ++i) defaults->set("key", static_cast<double>(i));
  defaults->remove("key");
  defaults->set("other", true);
  defaults.reset();
  EXPECT_EQ(json(), (QJsonObject{{u"other"_s, true}}));
}

TEST_F(FileUserDefaultsTest, aRemovedDomainIsGoneForGoodButForTheRunningProgram) {
  open();
  defaults->set("key", 1.0);
  changes = 0;
  EXPECT_EQ(defaults->removePersistentDomain(), std::nullopt);
  EXPECT_EQ(changes, 1);
  EXPECT_FALSE(defaults->stored("key"));
  EXPECT_FALSE(QFile::exists(path()));
  for (int i = 1; i <= 2 * FileUserDefaults::writesPerPeriod; ++i) defaults->set("key", static_cast<double>(i));
  EXPECT_EQ(defaults->number("key"), 2 * FileUserDefaults::writesPerPeriod);
  defaults.reset();
  EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(FileUserDefaultsTest, aRemovedDomainDoesNotReadWhatOthersWriteAfterwards) {
  open();
  EXPECT_EQ(defaults->removePersistentDomain(), std::nullopt) << "there was nothing";
  writeFile(R"({"key": 1})");
  bool isLater = false;
  const auto later = queue.after(FileUserDefaults::settleTime * 3, [&] { isLater = true; });
  ASSERT_TRUE(runUntil([&] { return isLater; }));
  EXPECT_FALSE(defaults->stored("key"));
}

TEST_F(FileUserDefaultsTest, aDomainThatCannotBeRemovedIsNamedAndNotReadAnyMore) {
  writeFile(R"({"key": 1})");
  open();
  QFile::remove(path());
  QDir().mkpath(path());
  const auto failure = defaults->removePersistentDomain();
  ASSERT_TRUE(failure);
  EXPECT_TRUE(failure->starts_with("cannot remove " + path().toStdString() + ": ")) << *failure;
  EXPECT_FALSE(defaults->stored("key"));
}

TEST_F(FileUserDefaultsTest, standardPathIsInTheConfigurationDirectory) {
  const auto before = qgetenv("XDG_CONFIG_HOME");
  qputenv("XDG_CONFIG_HOME", "/somewhere");
  EXPECT_EQ(FileUserDefaults::standardPath(), "/somewhere/zolvex/settings.json");
  qputenv("XDG_CONFIG_HOME", "relative");
  EXPECT_TRUE(FileUserDefaults::standardPath().ends_with("/.config/zolvex/settings.json"));
  before.isNull() ? qunsetenv("XDG_CONFIG_HOME") : qputenv("XDG_CONFIG_HOME", before);
}

}  // namespace
}  // namespace zolvex::test
