#include "platform/linux/hotkey/PortalHotKeys.h"

#include "core/AppIdentity.h"
#include "core/Log.h"
#include "platform/linux/BusLink.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QList>
#include <fmt/core.h>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

/// "(sa{sv})": one shortcut to be bound.
struct PortalShortcut {
  QString id;
  QVariantMap options;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut) {
  argument.beginStructure();
  argument << shortcut.id << shortcut.options;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut) {
  argument.beginStructure();
  argument >> shortcut.id >> shortcut.options;
  argument.endStructure();
  return argument;
}

namespace {

constexpr Logger logger("HotKey");

const auto shortcutsInterface = u"org.freedesktop.portal.GlobalShortcuts"_s;
const auto sessionInterface = u"org.freedesktop.portal.Session"_s;
const auto portalPath = QString::fromLatin1(portal::path);

/// Tells what we ask the portal for from what others do.
constexpr auto tokenPrefix = "zolvex"_L1;

QString tokenOf(unsigned question) {
  return tokenPrefix + QString::number(question);
}

QString textOf(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString idOf(const HotKeyIdentifier& identifier) {
  return textOf(fmt::format("{}-{}", identifier.signature, identifier.number));
}

HotKeyIdentifier identifierOf(const QString& id) {
  const auto dash = id.lastIndexOf(u'-');
  return {id.left(dash).toStdString(), id.mid(dash + 1).toUInt()};
}

/// The session that a portal has opened; empty where it has opened none.
QString sessionIn(const QVariantMap& results) {
  const auto handle = results.value(u"session_handle"_s);
  const bool isPath = handle.userType() == qMetaTypeId<QDBusObjectPath>();
  return isPath ? handle.value<QDBusObjectPath>().path() : handle.toString();
}

/// As the conventions for shortcuts write it.
QString triggerOf(const HotKey& hotKey) {
  return textOf(fmt::format("{}{}{}", hotKey.withControl ? "CTRL+" : "", hotKey.withAlt ? "ALT+" : "", hotKey.key));
}

QVariant shortcutsOf(const HotKey& hotKey) {
  const QVariantMap options{{u"description"_s, u"Switch the devices to this computer"_s},
                            {u"preferred_trigger"_s, triggerOf(hotKey)}};
  return QVariant::fromValue(QList<PortalShortcut>{{idOf(hotKey.identifier), options}});
}

/// Newer portals know only installed programs by their names, and may give shortcuts to no others.
void tellOfRefusal(const QDBusMessage& introduction) {
  if (introduction.errorName().startsWith("org.freedesktop.portal.Error."_L1))
    logger.info("the desktop does not know this program: {}", introduction.errorMessage().toStdString());
}

}  // namespace

PortalHotKeys::PortalHotKeys(MainQueue& mainQueue, BusLink& sessionBus)
    : mainQueue_(mainQueue),
      sessionBus_(sessionBus),
      portal_(mainQueue, sessionBus, QString::fromLatin1(portal::service), logger),
      appearance_(portal_.appeared.observe([this] { begin(); })),
      absence_(portal_.absent.observe([this] { portalGone(); })),
      busLoss_(sessionBus.lost.observe([this] { isStartWanted_ = true; })),
      activation_(portal_.listen(portalPath, shortcutsInterface, u"Activated"_s,
                                 [this](const QDBusMessage& signal) { activated(signal); })),
      responses_(portal_.listen({}, u"org.freedesktop.portal.Request"_s, u"Response"_s,
                                [this](const QDBusMessage& signal) { closeLateSession(signal); })) {
  qDBusRegisterMetaType<PortalShortcut>();
  qDBusRegisterMetaType<QList<PortalShortcut>>();
}

HotKeys::Status PortalHotKeys::installHandler(Handler handler) {
  handler_ = std::move(handler);
  return noError;
}

void PortalHotKeys::removeHandler() {
  handler_ = nullptr;
}

void PortalHotKeys::registerHotKey(const HotKey& hotKey, Answer answer) {
  hotKey_ = hotKey;
  answer_ = std::move(answer);
  wantPortal();
  begin();
}

/// Where nobody has needed the portal yet, the bus has not started it.
void PortalHotKeys::wantPortal() {
  if (!answer_ || portal_.isPresent() || !sessionBus_.isConnected() || !std::exchange(isStartWanted_, false)) return;
  auto call = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                             u"org.freedesktop.DBus"_s, u"StartServiceByName"_s);
  sessionBus_.connection().send(call << QString::fromLatin1(portal::service) << uint{0});
}

void PortalHotKeys::portalGone() {
  const bool wasRegistered = std::exchange(isRegistered_, false);
  isIntroduced_ = isIntroducing_ = isRefused_ = isResting_ = false;
  retry_.cancel();
  request_.reset();
  closing_.cancel();
  session_.clear();
  wantPortal();
  if (wasRegistered) lost.emit();
}

void PortalHotKeys::begin() {
  const bool isUnderWay = isIntroducing_ || request_ || !session_.isEmpty();
  if (!answer_ || isUnderWay || isRefused_ || isResting_ || !portal_.isPresent()) return;
  isIntroduced_ ? createSession() : introduce();
}

/// Portals that know no program by its process want its name first. Others do not know the call.
void PortalHotKeys::introduce() {
  isIntroducing_ = true;
  portal_.call(portalPath, u"org.freedesktop.host.portal.Registry"_s, u"Register"_s,
               {textOf(applicationId), QVariantMap()}, lifetime_.guard([this](const QDBusMessage& reply) {
                 isIntroducing_ = false;
                 if (QDBusError(reply).type() == QDBusError::NoReply) return silent();
                 tellOfRefusal(reply);
                 isIntroduced_ = true;
                 begin();
               }));
}

void PortalHotKeys::createSession() {
  sessionToken_ = tokenOf(questions_);
  ask(u"CreateSession"_s, {}, {{u"session_handle_token"_s, sessionToken_}}, sessionLimit,
      &PortalHotKeys::sessionCreated);
}

void PortalHotKeys::sessionCreated(const PortalRequest::Response& response) {
  if (response.code == PortalRequest::noAnswer) return silent();
  if (response.code != PortalRequest::success) return refused(response);
  session_ = sessionIn(response.results);
  closing_ = portal_.listen(session_, sessionInterface, u"Closed"_s, [this](const QDBusMessage&) { sessionClosed(); });
  bind();
}

/// Of a question that nobody waits for any more. The portal may have been too far with it to be stopped.
void PortalHotKeys::closeLateSession(const QDBusMessage& response) {
  if (response.signature() != "ua{sv}"_L1) return;
  const auto session = sessionIn(qdbus_cast<QVariantMap>(response.arguments().at(1)));
  const auto token = session.section(u'/', -1);
  const bool isAwaited = session == session_ || (request_ && token == sessionToken_);
  if (token.startsWith(tokenPrefix) && !isAwaited) close(session);
}

void PortalHotKeys::bind() {
  const auto session = QVariant::fromValue(QDBusObjectPath(session_));
  ask(u"BindShortcuts"_s, {session, shortcutsOf(hotKey_), QString()}, {}, userLimit, &PortalHotKeys::bound);
}

void PortalHotKeys::bound(const PortalRequest::Response& response) {
  if (response.code != PortalRequest::success) return refused(response);
  isRegistered_ = true;
  if (const auto answer = std::exchange(answer_, nullptr)) answer({});
}

void PortalHotKeys::ask(const QString& method, const QVariantList& arguments, const QVariantMap& options, Seconds limit,
                        void (PortalHotKeys::*answered)(const PortalRequest::Response&)) {
  const auto token = tokenOf(++questions_);
  request_ = std::make_unique<PortalRequest>(
      mainQueue_, portal_, sessionBus_.connection().baseService(),
      PortalRequest::Question{shortcutsInterface, method, arguments, options, token, limit},
      [this, answered](const PortalRequest::Response& response) {
        const auto ended = std::move(request_);
        (this->*answered)(response);
      });
}

void PortalHotKeys::refused(const PortalRequest::Response& response) {
  logger.info("the desktop gives no global shortcut{}{}", response.error.empty() ? "" : ": ", response.error);
  closeSession();
  isRefused_ = true;
  if (const auto answer = std::exchange(answer_, nullptr)) answer({.status = response.code});
}

void PortalHotKeys::silent() {
  isResting_ = true;
  retry_ = mainQueue_.after(retryInterval, [this] {
    isResting_ = false;
    begin();
  });
}

void PortalHotKeys::activated(const QDBusMessage& signal) const {
  const auto arguments = signal.arguments();
  if (!isRegistered_ || arguments.size() < 2 || arguments.at(0).value<QDBusObjectPath>().path() != session_) return;
  if (const auto handler = handler_) handler(identifierOf(arguments.at(1).toString()));
}

void PortalHotKeys::sessionClosed() {
  logger.info("the desktop has taken the global shortcut away");
  const bool wasRegistered = std::exchange(isRegistered_, false);
  request_.reset();
  closing_.cancel();
  session_.clear();
  silent();  // not at once, lest the two of us go round in circles
  if (wasRegistered) lost.emit();
}

void PortalHotKeys::unregisterHotKey() {
  answer_ = nullptr;
  request_.reset();
  closeSession();
  isRegistered_ = isRefused_ = isResting_ = false;
  retry_.cancel();
}

void PortalHotKeys::closeSession() {
  closing_.cancel();
  if (!session_.isEmpty()) close(std::exchange(session_, {}));
}

void PortalHotKeys::close(const QString& session) {
  portal_.call(session, sessionInterface, u"Close"_s, {}, [](const QDBusMessage&) {});
}

}  // namespace zolvex
