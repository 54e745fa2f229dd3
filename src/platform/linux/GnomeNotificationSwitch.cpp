#include "platform/linux/GnomeNotificationSwitch.h"

#include "core/Text.h"
#include "platform/linux/BusLink.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QProcess>
#include <QTimer>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr std::chrono::milliseconds endLimit{100};

/// The schema with the place of the program's settings in it, which GNOME names after the program with small letters,
/// digits and single dashes only.
QString schemaOf(const std::string& applicationId) {
  std::string place;
  for (const char c : lowercased(applicationId)) {
    const bool isPlain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    if (isPlain || !place.ends_with('-')) place += isPlain ? c : '-';
  }
  return u"org.gnome.desktop.notifications.application:/org/gnome/desktop/notifications/application/%1/"_s.arg(
      QString::fromStdString(place));
}

QDBusMessage shellLookup() {
  auto call = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                             u"org.freedesktop.DBus"_s, u"NameHasOwner"_s);
  return call << u"org.gnome.Shell"_s;
}

/// By finished(), which a crash emits as well.
bool saysOff(QProcess& gsettings) {
  return gsettings.exitStatus() == QProcess::NormalExit && gsettings.exitCode() == 0 &&
         gsettings.readAllStandardOutput().trimmed() == "false";
}

}  // namespace

GnomeNotificationSwitch::GnomeNotificationSwitch(BusLink& sessionBus, const std::string& applicationId)
    : sessionBus_(sessionBus), schema_(schemaOf(applicationId)) {}

GnomeNotificationSwitch::~GnomeNotificationSwitch() {
  for (auto* gsettings : findChildren<QProcess*>()) {
    gsettings->disconnect(this);
    gsettings->kill();
    gsettings->waitForFinished(static_cast<int>(endLimit.count()));
  }
}

void GnomeNotificationSwitch::ask(Answer answer) {
  if (!sessionBus_.isConnected()) return answer(false);
  const auto call = sessionBus_.connection().asyncCall(shellLookup(), static_cast<int>(answerLimit.count()));
  auto* watcher = new QDBusPendingCallWatcher(call, this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, answer = std::move(answer)] {
    watcher->deleteLater();
    const auto reply = watcher->reply();
    const bool isThere = reply.type() == QDBusMessage::ReplyMessage && reply.arguments().value(0).toBool();
    isThere ? read(answer) : answer(false);
  });
}

void GnomeNotificationSwitch::read(const Answer& answer) {
  auto* gsettings = new QProcess(this);
  gsettings->setStandardInputFile(QProcess::nullDevice());
  gsettings->setStandardErrorFile(QProcess::nullDevice());
  connect(gsettings, &QProcess::finished, this, [gsettings, answer] {
    gsettings->deleteLater();
    answer(saysOff(*gsettings));
  });
  connect(gsettings, &QProcess::errorOccurred, this, [gsettings, answer](QProcess::ProcessError error) {
    if (error != QProcess::FailedToStart) return;  // else it finishes
    gsettings->deleteLater();
    answer(false);
  });
  QTimer::singleShot(answerLimit, gsettings, &QProcess::kill);
  gsettings->start(u"gsettings"_s, {u"get"_s, schema_, u"enable"_s});
}

}  // namespace zolvex
