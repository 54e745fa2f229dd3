#pragma once

#include "lab/world/ProcessTree.h"

#include <QObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace zolvex::lab {

/// What a process of a computer is started with.
struct ProcessSetup {
  QString program;
  QStringList arguments = {};
  QProcessEnvironment environment = {};
  QString networkNamespace = {};      ///< File that stands for it; empty for that of this process.
  QString hostName = {};              ///< Empty for that of this process.
  bool hasOwnAvahiDirectory = false;  ///< /run/avahi-daemon is its own and empty.
};

/// A long-lived process of a computer. Its output is passed on line by line. It is in a session of its own, so that a
/// Ctrl-C meant for the world does not reach it, and ends with this object.
class LabProcess : public QObject {
  Q_OBJECT

 public:
  static constexpr std::chrono::milliseconds politeLimit{3'000};

  explicit LabProcess(ProcessSetup setup);
  ~LabProcess() override;

  /// False when it cannot be started; errorString() says why.
  bool start();
  bool isRunning() const { return process_.state() != QProcess::NotRunning; }
  qint64 processId() const { return process_.processId(); }
  QString errorString() const { return process_.errorString(); }

  /// Stops it and its descendants, as sleep does, or lets them go on. Harmless when it does not run or is so already.
  void freeze();
  void thaw();

  /// Asks it to end (SIGTERM) and returns at once. A frozen one goes on first.
  void terminate();

  /// terminate(), then waits; after politeLimit it is killed.
  void stop();

  /// Ends it as a crash does (SIGKILL) and waits for that.
  void kill();

  /// Exit status of the ended process, or 128 + the signal's number.
  int exitStatus() const;

 Q_SIGNALS:
  void line(const QString& text);
  void ended();

 private:
  void readLines();

  ProcessSetup setup_;
  QProcess process_;
  QByteArray unfinished_;
  std::optional<ProcessTree> frozen_;
};

}  // namespace zolvex::lab
