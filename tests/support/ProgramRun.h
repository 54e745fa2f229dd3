#pragma once

#include "support/EventLoop.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

#include <csignal>
#include <initializer_list>
#include <string>
#include <sys/prctl.h>
#include <utility>
#include <vector>

namespace zolvex::test {

/// A program under test with its own environment; killed when this ends. The test's event loop goes on meanwhile.
class ProgramRun {
 public:
  using Variables = std::vector<std::pair<QString, QString>>;

  ProgramRun(const QString& program, const QStringList& arguments, const Variables& variables = {}) {
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : variables) environment.insert(name, value);
    process_.setProcessEnvironment(environment);
    process_.setChildProcessModifier([] {
      prctl(PR_SET_PDEATHSIG, SIGKILL);  // also when the test crashes
      std::signal(SIGHUP, SIG_DFL);      // also when the tests run under nohup
    });
    process_.start(program, arguments);
    process_.waitForStarted();
  }
  ~ProgramRun() {
    if (process_.state() == QProcess::NotRunning) return;
    process_.kill();
    process_.waitForFinished();
  }

  bool isEnded() const { return process_.state() == QProcess::NotRunning; }
  [[nodiscard]] bool hasEnded() {
    return runUntil([this] { return isEnded(); });
  }

  /// Exit status once it has ended; -1 when a signal ended it, or it did not end.
  int exitStatus() { return hasEnded() && process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1; }

  /// All that was printed so far.
  std::string output() { return (output_ += process_.readAllStandardOutput()).toStdString(); }
  std::string errors() { return (errors_ += process_.readAllStandardError()).toStdString(); }

  [[nodiscard]] bool prints(const std::string& text) {
    return runUntil([&] { return output().find(text) != std::string::npos; });
  }
  [[nodiscard]] bool complains(const std::string& text) {
    return runUntil([&] { return errors().find(text) != std::string::npos; });
  }

  void terminate() { process_.terminate(); }
  qint64 processId() const { return process_.processId(); }

 private:
  QProcess process_;
  QByteArray output_;
  QByteArray errors_;
};

}  // namespace zolvex::test
