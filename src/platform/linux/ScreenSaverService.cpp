#include "platform/linux/ScreenSaverService.h"

#include "core/Log.h"
#include "platform/linux/BusService.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("SessionEvents");

}  // namespace

ScreenSaverService::ScreenSaverService(BusService& service, QString path, QString interface, SessionAspect& locked)
    : service_(service),
      path_(std::move(path)),
      interface_(std::move(interface)),
      locked_(locked),
      source_(locked.addSource(interface_.toStdString())),
      appearance_(service.appeared.observe([this] { ask(); })),
      absence_(service.absent.observe([this] { locked_.lost(source_); })),
      // At any path: KDE has a second one.
      changes_(service.listen({}, interface_, u"ActiveChanged"_s, [this](const QDBusMessage& signal) {
        if (signal.signature() == "b"_L1) locked_.changed(source_, signal.arguments().at(0).toBool());
      })) {}

void ScreenSaverService::ask() {
  service_.call(path_, interface_, u"GetActive"_s, {},
                lifetime_.guard([this](const QDBusMessage& reply) { answered(reply); }));
}

void ScreenSaverService::answered(const QDBusMessage& reply) {
  if (reply.signature() == "b"_L1) {
    isRefusalLogged_ = false;
    return locked_.found(source_, reply.arguments().at(0).toBool());
  }
  if (!std::exchange(isRefusalLogged_, true))
    logger.info("{} does not say whether it is active: {}", interface_.toStdString(),
                reply.errorMessage().toStdString());
  locked_.lost(source_);
}

}  // namespace zolvex
