#include "platform/linux/LogindSleep.h"

#include "core/Log.h"
#include "platform/linux/BusService.h"
#include "platform/linux/LogindNames.h"

#include <QDBusUnixFileDescriptor>

#include <fcntl.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("SessionEvents");

/// One of our own, which worker processes do not inherit.
FileDescriptor descriptorOf(const QDBusMessage& reply) {
  const auto passed = reply.arguments().value(0).value<QDBusUnixFileDescriptor>();
  return FileDescriptor(passed.isValid() ? fcntl(passed.fileDescriptor(), F_DUPFD_CLOEXEC, 0) : -1);
}

}  // namespace

LogindSleep::LogindSleep(MainQueue& mainQueue, BusService& logind, SessionAspect& asleep)
    : mainQueue_(mainQueue),
      logind_(logind),
      asleep_(asleep),
      source_(asleep.addSource("logind")),
      announcements_(
          logind.listen(logind::managerPath, logind::managerInterface, u"PrepareForSleep"_s,
                        [this](const QDBusMessage& signal) { announced(signal.arguments().value(0).toBool()); })),
      preparingForSleep_(logind, {logind::managerPath, logind::managerInterface, u"PreparingForSleep"_s},
                         {.found = [this](const QVariant& value) { found(value.toBool()); },
                          .changed = [](const QVariant&) {},  // the signal above tells
                          .lost = [this] { lost(); }}) {}

void LogindSleep::found(bool isGoingToSleep) {
  isGoingToSleep_ = isGoingToSleep;
  if (!isGoingToSleep) take();
  asleep_.found(source_, isGoingToSleep);
}

void LogindSleep::announced(bool isGoingToSleep) {
  isGoingToSleep_ = isGoingToSleep;
  if (!isGoingToSleep) take();
  asleep_.changed(source_, isGoingToSleep);
}

void LogindSleep::lost() {
  retry_.cancel();
  asleep_.lost(source_);
  if (!isGoingToSleep_) take();  // it may be there, only not know the property
}

void LogindSleep::take() {
  retry_.cancel();
  logind_.call(logind::managerPath, logind::managerInterface, u"Inhibit"_s,
               {u"sleep"_s, u"Zolvex"_s, u"Hands the input devices over to the other computer"_s, u"delay"_s},
               lifetime_.guard([this](const QDBusMessage& reply) { answered(reply); }));
}

void LogindSleep::answered(const QDBusMessage& reply) {
  auto inhibitor = descriptorOf(reply);
  if (isGoingToSleep_) return;  // too late for this sleep; it is taken anew on wake
  if (!inhibitor.isOpen()) return refused(reply.errorMessage().toStdString());
  inhibitor_ = std::move(inhibitor);
  if (std::exchange(isRefusalLogged_, false)) logger.info("sleep waits for the release of the devices again");
}

void LogindSleep::refused(const std::string& error) {
  retry_ = mainQueue_.after(retryInterval, [this] { take(); });
  if (std::exchange(isRefusalLogged_, true)) return;
  logger.error("sleep will not wait for the release of the devices: {}",
               error.empty() ? "logind gave nothing to hold" : error);
}

void LogindSleep::allowSleep() {
  // A release that ends after the wake must not let go of what holds for the next sleep.
  if (isGoingToSleep_) inhibitor_.close();
}

}  // namespace zolvex
