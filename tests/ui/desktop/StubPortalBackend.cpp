#include "ui/desktop/StubPortalBackend.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::test {

namespace {

const auto portalProgram = u"/usr/libexec/xdg-desktop-portal"_s;
const auto serviceName = u"org.freedesktop.impl.portal.desktop.stub"_s;
const auto shortcuts = u"org.freedesktop.impl.portal.GlobalShortcuts"_s;
constexpr auto description = R"([portal]
DBusName=org.freedesktop.impl.portal.desktop.stub
Interfaces=org.freedesktop.impl.portal.GlobalShortcuts;
UseIn=stub
)";
const auto entryOfZolvex = u"[Desktop Entry]\nType=Application\nName=Zolvex\nExec=%1\n"_s;
constexpr unsigned granted = 0;

void write(const QString& path, const QByteArray& text) {
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
  file.write(text);
}

}  // namespace

std::string StubPortalBackend::reasonAgainst() {
  if (QFileInfo(portalProgram).isExecutable()) return {};
  return "xdg-desktop-portal is not installed (a Debian package of this name)";
}

StubPortalBackend::StubPortalBackend(const QString& busAddress)
    : service_(busAddress, serviceName, [this](const QDBusMessage& call) { return answer(call); }) {}

void StubPortalBackend::startPortal(ProgramRun::Variables variables, const QString& zolvex) {
  write(directory_.filePath(u"stub.portal"_s), description);
  ASSERT_TRUE(QDir(directory_.path()).mkdir(u"applications"_s));
  write(directory_.filePath(u"applications/quenmar.zolvex.app.desktop"_s), entryOfZolvex.arg(zolvex).toUtf8());
  variables.emplace_back(u"XDG_DATA_HOME"_s, directory_.path());
  variables.emplace_back(u"XDG_DESKTOP_PORTAL_DIR"_s, directory_.path());
  variables.emplace_back(u"XDG_CURRENT_DESKTOP"_s, u"stub"_s);
  portal_.emplace(portalProgram, QStringList{}, variables);
}

QDBusMessage StubPortalBackend::answer(const QDBusMessage& call) {
  if (call.interface() != shortcuts) {
    // The portal asks for properties, among them the interface's version.
    const bool isVersion = call.member() == u"Get"_s;
    return isVersion ? call.createReply(QVariant::fromValue(QDBusVariant(uint{1})))
                     : call.createReply(QVariantMap{{u"version"_s, uint{1}}});
  }
  if (call.member() == u"CreateSession"_s) session_ = call.arguments().at(1).value<QDBusObjectPath>();
  if (call.member() != u"BindShortcuts"_s) return call.createReply({granted, QVariantMap()});
  isBound_ = true;
  return call.createReply({granted, QVariantMap{{u"shortcuts"_s, call.arguments().at(2)}}});
}

void StubPortalBackend::press(const QString& shortcut) {
  auto signal = QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_s, shortcuts, u"Activated"_s);
  signal.setArguments({QVariant::fromValue(session_), shortcut, qulonglong{1}, QVariantMap()});
  service_.connection().send(signal);
}

}  // namespace zolvex::test
