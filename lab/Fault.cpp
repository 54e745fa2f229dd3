#include "lab/Fault.h"

#include <array>

namespace zolvex::lab {

namespace {

constexpr std::array descriptions{
    FaultDescription{FaultKind::asleep, "asleep", "the device is switched off: nobody finds or reaches it"},
    FaultDescription{FaultKind::outOfRange, "out-of-range", "the computer cannot hear the device, others can"},
    FaultDescription{FaultKind::thirdAttempt, "third-attempt", "Connect fails twice, then succeeds"},
    FaultDescription{FaultKind::refusesPairing, "refuses-pairing", "Pair ends with AuthenticationFailed"},
    FaultDescription{FaultKind::refusesConnection, "refuses-connection",
                     "Connect fails, although the link to the device comes up and stays for a while"},
    FaultDescription{FaultKind::wantsPasskey, "wants-passkey",
                     "Pair needs an agent that can show or confirm a passkey"},
    FaultDescription{FaultKind::hangsOnPair, "hangs-on-pair", "Pair is never answered"},
    FaultDescription{FaultKind::hangsOnConnect, "hangs-on-connect", "Connect is never answered"},
    FaultDescription{FaultKind::hangsOnRemove, "hangs-on-remove", "RemoveDevice is never answered and does nothing"},
    FaultDescription{FaultKind::halfBonded, "half-bonded", "Pair says AlreadyExists until the device is removed"},
    FaultDescription{FaultKind::bondForgotten, "bond-forgotten",
                     "the device has bonded elsewhere since: links come up and go until it is removed and paired anew"},
    FaultDescription{FaultKind::connectReplyLost, "connect-reply-lost",
                     "Connect does its work, or is ended by the adapter's removal, but is never answered"},
    FaultDescription{FaultKind::removeReplyLost, "remove-reply-lost",
                     "RemoveDevice does its work, but only InterfacesRemoved tells of it"},
    FaultDescription{FaultKind::adapterOff, "adapter-off", "the adapter is powered off"},
    FaultDescription{FaultKind::adapterUnplugged, "adapter-unplugged", "there is no adapter"},
    FaultDescription{FaultKind::daemonAbsent, "daemon-absent", "nobody owns org.bluez"},
    FaultDescription{
        FaultKind::daemonRestarts, "daemon-restarts",
        "the daemon dies in the middle of the next Pair, Connect or RemoveDevice and is back a little later"},
    FaultDescription{FaultKind::slow, "slow", "every call takes 2 s longer"},
};

}  // namespace

std::span<const FaultDescription> faultDescriptions() {
  return descriptions;
}

std::optional<Fault> Fault::parse(const QString& text) {
  const auto at = text.lastIndexOf(u'@');
  const auto head = at < 0 ? text : text.left(at);
  const auto colon = head.indexOf(u':');
  const auto name = colon < 0 ? head : head.left(colon);
  for (const auto& description : descriptions) {
    if (name != QLatin1String(description.name)) continue;
    return Fault{description.kind, colon < 0 ? QString() : head.mid(colon + 1), at < 0 ? QString() : text.mid(at + 1)};
  }
  return std::nullopt;
}

}  // namespace zolvex::lab
