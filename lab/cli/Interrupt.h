#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace zolvex::lab {

/// Turns SIGINT, SIGTERM and, unless it is ignored, SIGHUP into a Qt signal. At most one object at a time; child
/// processes get the signals' default behaviour.
class Interrupt : public QObject {
  Q_OBJECT

 public:
  Interrupt();
  ~Interrupt() override;

 Q_SIGNALS:
  void raised();

 private:
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace zolvex::lab
