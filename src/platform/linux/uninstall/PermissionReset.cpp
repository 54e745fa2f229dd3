#include "platform/linux/uninstall/PermissionReset.h"

#include "platform/linux/BusLink.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

struct Permission {
  const char* table;
  const char* id;
};

/// What a program like ours may have been asked about.
constexpr std::array permissions{
    Permission{"notifications", "notification"},
    Permission{"background", "background"},
    Permission{"inhibit", "inhibit"},
};

QDBusMessage deletionOf(const Permission& permission, const std::string& applicationId) {
  auto call = QDBusMessage::createMethodCall(u"org.freedesktop.impl.portal.PermissionStore"_s,
                                             u"/org/freedesktop/impl/portal/PermissionStore"_s,
                                             u"org.freedesktop.impl.portal.PermissionStore"_s, u"DeletePermission"_s);
  return call << QString::fromLatin1(permission.table) << QString::fromLatin1(permission.id)
              << QString::fromStdString(applicationId);
}

}  // namespace

void PermissionReset::start(const std::string& applicationId) {
  if (!sessionBus_.isConnected()) return;
  for (const auto& permission : permissions) {
    ++open_;
    const auto call = sessionBus_.connection().asyncCall(deletionOf(permission, applicationId),
                                                         static_cast<int>(answerLimit.count()));
    auto* watcher = new QDBusPendingCallWatcher(call, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
      watcher->deleteLater();
      --open_;
      settled();
    });
  }
}

void PermissionReset::whenSettled(std::function<void()> done) {
  done_ = std::move(done);
  settled();
}

void PermissionReset::settled() {
  if (open_ > 0) return;
  if (const auto done = std::exchange(done_, nullptr)) done();
}

}  // namespace zolvex
