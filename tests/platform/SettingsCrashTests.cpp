#include "SettingsFileTest.h"
#include "platform/linux/FileDescriptor.h"

#include <QJsonArray>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <random>
#include <spawn.h>
#include <string>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// A process that counts a setting up as fast as it can.
class Writer {
 public:
  Writer(const std::string& file, const std::string& key, int times) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) return;
    output_ = FileDescriptor(ends[0]);
    const FileDescriptor input(ends[1]);
    std::array<std::string, 4> words{SETTINGS_WRITER, file, key, std::to_string(times)};
    std::array<char*, 5> arguments{words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.get(), STDOUT_FILENO);
    posix_spawn(&process_, SETTINGS_WRITER, &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
  }
  ~Writer() { end(SIGKILL); }
  Writer(const Writer&) = delete;

  /// The next number that it has saved; 0 when there are no more.
  int next() {
    std::string line;
    for (char character = 0; read(output_.get(), &character, 1) == 1 && character != '\n';) line += character;
    return line.empty() ? 0 : std::stoi(line);
  }

  /// The last one; the process is gone then.
  int end(int signal) {
    if (process_ > 0) {
      if (signal) kill(process_, signal);
      waitpid(std::exchange(process_, -1), nullptr, 0);
    }
    int last = 0;
    while (const int number = next()) last = number;
    return last;
  }

 private:
  pid_t process_ = -1;
  FileDescriptor output_;
};

/// Tells when a write begins: what is being written has a file of its own.
class WriteWatch {
 public:
  explicit WriteWatch(const QString& folder) {
    inotify_add_watch(events_.get(), QFile::encodeName(folder).constData(), IN_CREATE);
  }
  void waitForNext() {
    while (readEvents() > 0) {  // those of writes that are over
    }
    pollfd wanted{events_.get(), POLLIN, 0};
    poll(&wanted, 1, static_cast<int>(std::chrono::milliseconds(patience).count()));
  }

 private:
  ssize_t readEvents() {
    std::array<char, 4096> buffer{};
    return read(events_.get(), buffer.data(), buffer.size());
  }

  FileDescriptor events_{inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
};

struct SettingsCrashTest : SettingsFileTest {
  std::mt19937 random{20'261'121};  // any
  int randomUpTo(int highest) { return std::uniform_int_distribution<>(0, highest)(random); }

  /// Lets a moment pass in which the writer does whatever it does.
  void letWrite(int atMostMicroseconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(randomUpTo(atMostMicroseconds));
    while (std::chrono::steady_clock::now() < end) {
    }
  }
};

TEST_F(SettingsCrashTest, aThousandKillsWhileWritingLoseNothing) {
  constexpr int kills = 1'000;
  constexpr int endless = 1'000'000;
  const QJsonObject theirs{{u"theirs"_s, QJsonObject{{u"deep"_s, 1.5}}}, {u"text"_s, QString(20'000, u'x')}};
  writeFile(QJsonDocument(theirs).toJson());
  WriteWatch writes(folder());
  int inTheMiddle = 0;
  for (int i = 0, saved = 0; i < kills; ++i) {
    Writer writer(path().toStdString(), "count", endless);
    ASSERT_EQ(writer.next(), saved + 1);
    ++saved;
    if (i % 4 != 0) writes.waitForNext();  // else at any moment
    letWrite(i % 4 == 0 ? 1'500 : 100);
    saved = std::max(saved, writer.end(SIGKILL));
    auto found = json();
    const int count = found.take(u"count"_s).toInt();
    ASSERT_TRUE(count == saved || count == saved + 1) << count << " after " << saved;
    ASSERT_EQ(found, theirs);
    saved = count;
    if (QFile::remove(path() + u".new"_s)) ++inTheMiddle;
  }
  EXPECT_GT(inTheMiddle, kills / 20) << "too few kills hit a write";
  RecordProperty("killedInTheMiddle", inTheMiddle);
  EXPECT_TRUE(keptAside().isEmpty());
}

TEST_F(SettingsCrashTest, aKilledWritersRestIsClearedAwayByTheNextWrite) {
  writeFile("{}");
  QFile rest(path() + u".new"_s);
  ASSERT_TRUE(rest.open(QIODevice::WriteOnly));
  rest.write("{\"half");
  rest.close();
  open();
  defaults->set("key", true);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, true}}));
  EXPECT_EQ(QDir(folder()).entryList(QDir::Files), QStringList{u"settings.json"_s});
}

TEST_F(SettingsCrashTest, processesThatWriteAtOnceDoNotLoseEachOthersKeys) {
  constexpr int times = 150;
  writeFile(R"({"theirs": [1]})");
  Writer one(path().toStdString(), "one", times);
  Writer two(path().toStdString(), "two", times);
  EXPECT_EQ(one.end(0), times);
  EXPECT_EQ(two.end(0), times);
  EXPECT_EQ(json(), (QJsonObject{{u"one"_s, times}, {u"two"_s, times}, {u"theirs"_s, QJsonArray{1}}}));
}

TEST_F(SettingsCrashTest, aWriterThatWasStoppedHoldsNobodyUpForLong) {
  writeFile("{}");
  const FileDescriptor held = SettingsFile(path().toStdString()).lock();
  ASSERT_TRUE(held.isOpen());
  open();
  defaults->set("key", true);
  EXPECT_EQ(json(), (QJsonObject{{u"key"_s, true}}));
}

}  // namespace
}  // namespace zolvex::test
