#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

#include <string>

namespace zolvex::bench {

/// One program that is left alone and looked at through /proc.
class IdleProcess {
 public:
  struct Cost {
    double privateMebibytes = 0;    ///< Memory that only this process uses.
    double sharedOutMebibytes = 0;  ///< PSS: that, and its share of what it shares.
    long wakeUps = 0;               ///< Voluntary context switches of all threads since their start.
    double cpuSeconds = 0;          ///< Of all threads since their start.
    int threads = 0;
  };

  /// `environment` is completed by a configuration directory of its own that holds `settings`.
  IdleProcess(const QString& program, QProcessEnvironment environment, const QByteArray& settings = {});
  ~IdleProcess();

  /// Waits until it has written `text` to standard error; the rest of that line, empty when it does not come in time.
  std::string waitFor(const QByteArray& text);

  Cost cost() const { return costOf(process_.processId()); }

  /// Of any process that one may look at.
  static Cost costOf(qint64 processId);

 private:
  QTemporaryDir directory_;
  QProcess process_;
  QByteArray errors_;
};

}  // namespace zolvex::bench
