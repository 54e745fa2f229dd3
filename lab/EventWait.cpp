#include "lab/EventWait.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace zolvex::lab {

namespace {

constexpr std::chrono::milliseconds lookInterval{10};

}  // namespace

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  QElapsedTimer clock;
  clock.start();
  QTimer ticker;
  ticker.start(lookInterval);
  auto holds = condition();
  while (!holds && clock.elapsed() < limit.count()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    holds = condition();
  }
  return holds;
}

}  // namespace zolvex::lab
