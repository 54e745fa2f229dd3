#include "idle/IdleProcess.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>

#include <filesystem>
#include <fstream>

namespace zolvex::bench {

namespace {

constexpr int startLimitMilliseconds = 20'000;
constexpr double kibibytesPerMebibyte = 1024;
constexpr double nanosecondsPerSecond = 1e9;

/// The number behind `name` in a file of lines like "Pss:   123 kB".
long field(const std::filesystem::path& file, const std::string& name) {
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with(name)) return std::stol(line.substr(name.size()));
  return 0;
}

}  // namespace

IdleProcess::IdleProcess(const QString& program, QProcessEnvironment environment, const QByteArray& settings) {
  const auto configuration = directory_.filePath(QStringLiteral("zolvex"));
  QDir().mkpath(configuration);
  if (QFile file(configuration + QStringLiteral("/settings.json")); !settings.isEmpty() && file.open(QFile::WriteOnly))
    file.write(settings);
  environment.insert(QStringLiteral("XDG_CONFIG_HOME"), directory_.path());
  process_.setProcessEnvironment(environment);
  process_.setProcessChannelMode(QProcess::MergedChannels);
  process_.start(program, QStringList());
}

IdleProcess::~IdleProcess() {
  process_.terminate();
  if (!process_.waitForFinished(startLimitMilliseconds)) process_.kill();
}

std::string IdleProcess::waitFor(const QByteArray& text) {
  const QDeadlineTimer deadline(startLimitMilliseconds);
  while (!deadline.hasExpired()) {
    const auto found = errors_.indexOf(text);
    const auto end = found < 0 ? -1 : errors_.indexOf('\n', found);
    if (end >= 0) return errors_.mid(found + text.size(), end - found - text.size()).append(' ').toStdString();
    process_.waitForReadyRead(static_cast<int>(deadline.remainingTime()));
    errors_ += process_.readAll();
  }
  return {};
}

IdleProcess::Cost IdleProcess::costOf(qint64 processId) {
  const std::filesystem::path process = "/proc/" + std::to_string(processId);
  Cost cost;
  cost.sharedOutMebibytes = static_cast<double>(field(process / "smaps_rollup", "Pss:")) / kibibytesPerMebibyte;
  const auto privateSize =
      field(process / "smaps_rollup", "Private_Clean:") + field(process / "smaps_rollup", "Private_Dirty:");
  cost.privateMebibytes = static_cast<double>(privateSize) / kibibytesPerMebibyte;
  std::error_code error;
  double nanoseconds = 0;
  for (const auto& thread : std::filesystem::directory_iterator(process / "task", error)) {
    std::ifstream(thread.path() / "schedstat") >> nanoseconds;
    cost.cpuSeconds += nanoseconds / nanosecondsPerSecond;
    cost.wakeUps += field(thread.path() / "status", "voluntary_ctxt_switches:");
    ++cost.threads;
  }
  return cost;
}

}  // namespace zolvex::bench
