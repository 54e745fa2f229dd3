#pragma once

#include "lab/world/World.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>

namespace zolvex::lab {

/// Prints what happens in a world as it happens, one line each, with the time and the computer's name in front: what
/// Zolvex says of itself, its log, the worker runs as org.bluez sees them, notifications, and what happens to the
/// user's session.
class Report : public QObject {
 public:
  Report() = default;

  /// Follows the world from now on; it must outlive this object.
  void follow(World& world);

  void print(const QString& who, const QString& what);

 private:
  struct WorkerRun {
    QElapsedTimer clock;
  };

  void followDesktop(Desktop& desktop);
  void onAnswered(const Desktop& desktop, const BusCall& call, const QString& errorName);
  void onClientLeft(const Desktop& desktop, const QString& client);
  static QString subjectOf(const BusCall& call, Radio& radio);

  World* world_ = nullptr;
  QHash<QString, WorkerRun> workers_;  // "computer client" -> its run
};

}  // namespace zolvex::lab
