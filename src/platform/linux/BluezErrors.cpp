#include "platform/linux/BluezErrors.h"

#include "bluetooth/worker/BluetoothClassicController.h"

#include <QString>
#include <QStringView>

#include <array>

namespace zolvex {

namespace {

struct Meaning {
  QStringView name;
  std::int32_t status;
};

constexpr std::array meaningsOfNames{
    Meaning{u"org.bluez.Error.InProgress", ioReturn::busy},
    Meaning{u"org.bluez.Error.AuthenticationTimeout", ioReturn::timeout},
    Meaning{u"org.bluez.Error.ConnectionAttemptFailed", ioReturn::timeout},
    Meaning{u"org.freedesktop.DBus.Error.NoReply", ioReturn::timeout},
    Meaning{u"org.freedesktop.DBus.Error.Timeout", ioReturn::timeout},
    Meaning{u"org.freedesktop.DBus.Error.TimedOut", ioReturn::timeout},
    Meaning{u"org.bluez.Error.AuthenticationFailed", ioReturn::notPermitted},
    Meaning{u"org.bluez.Error.AuthenticationRejected", ioReturn::notPermitted},
    Meaning{u"org.bluez.Error.NotAuthorized", ioReturn::notPermitted},
    Meaning{u"org.bluez.Error.NotPermitted", ioReturn::notPermitted},
    Meaning{u"org.freedesktop.DBus.Error.AccessDenied", ioReturn::notPermitted},
    Meaning{u"org.bluez.Error.AuthenticationCanceled", ioReturn::aborted},
    Meaning{u"org.bluez.Error.DoesNotExist", ioReturn::noDevice},
    Meaning{u"org.bluez.Error.NotReady", ioReturn::noDevice},
    Meaning{u"org.freedesktop.DBus.Error.UnknownObject", ioReturn::noDevice},
    Meaning{u"org.freedesktop.DBus.Error.UnknownMethod", ioReturn::noDevice},
    Meaning{u"org.freedesktop.DBus.Error.UnknownInterface", ioReturn::noDevice},
    Meaning{u"org.freedesktop.DBus.Error.ServiceUnknown", ioReturn::noDevice},
    Meaning{u"org.freedesktop.DBus.Error.NameHasNoOwner", ioReturn::noDevice},
    Meaning{u"org.freedesktop.DBus.Error.Disconnected", ioReturn::noDevice},
};

/// What BlueZ tells apart only in the text of its general errors.
constexpr std::array meaningsOfTexts{
    Meaning{u"timeout", ioReturn::timeout},   // br-connection-page-timeout and the like
    Meaning{u"busy", ioReturn::busy},         // br-connection-busy
    Meaning{u"canceled", ioReturn::aborted},  // br-connection-canceled
    Meaning{u"aborted", ioReturn::aborted},   // br-connection-aborted-by-remote, -by-local
};

bool hasName(const QDBusMessage& answer, QStringView name) {
  return answer.type() == QDBusMessage::ErrorMessage && answer.errorName() == name;
}

}  // namespace

bool isSuccess(const QDBusMessage& answer) {
  return answer.type() == QDBusMessage::ReplyMessage;
}

std::int32_t ioReturnOf(const QDBusMessage& answer) {
  if (isSuccess(answer)) return ioReturn::success;
  if (answer.type() != QDBusMessage::ErrorMessage) return ioReturn::timeout;
  for (const auto& meaning : meaningsOfNames)
    if (answer.errorName() == meaning.name) return meaning.status;
  for (const auto& meaning : meaningsOfTexts)
    if (answer.errorMessage().contains(meaning.name)) return meaning.status;
  return ioReturn::error;
}

bool isInProgress(const QDBusMessage& answer) {
  return hasName(answer, u"org.bluez.Error.InProgress");
}

bool isDoesNotExist(const QDBusMessage& answer) {
  return hasName(answer, u"org.bluez.Error.DoesNotExist");
}

bool isAuthenticationRefused(const QDBusMessage& answer) {
  return hasName(answer, u"org.bluez.Error.AuthenticationFailed") ||
         hasName(answer, u"org.bluez.Error.AuthenticationRejected");
}

bool isAlreadyExists(const QDBusMessage& answer) {
  return hasName(answer, u"org.bluez.Error.AlreadyExists");
}

bool isAlreadyConnected(const QDBusMessage& answer) {
  return hasName(answer, u"org.bluez.Error.AlreadyConnected");
}

}  // namespace zolvex
