#include "ui/desktop/DesktopWorld.h"

using namespace Qt::Literals::StringLiterals;

namespace zolvex::test {

std::string DesktopWorld::reasonAgainst() {
  for (const auto* program : {"openbox", "trayer", "xdotool"})
    if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty())
      return std::string(program) + " is not installed (a Debian package of this name)";
  return XvfbServer::reasonAgainst();
}

bool DesktopWorld::start() {
  if (!server_.start({}, {u"-screen"_s, u"0"_s, u"1280x800x24"_s}) || !computer.sessionBus.start()) return false;
  windowManager_.emplace(u"openbox"_s, QStringList{}, variables());
  startPanel();
  return true;
}

void DesktopWorld::startPanel() {
  panel_.emplace(
      u"trayer"_s,
      QStringList{u"--edge"_s, u"top"_s, u"--align"_s, u"right"_s, u"--width"_s, u"20"_s, u"--height"_s, u"28"_s},
      variables());
}

ProgramRun::Variables DesktopWorld::variables() const {
  auto variables = computer.variables();
  variables.emplace_back(u"DISPLAY"_s, QString::fromStdString(server_.display()));
  variables.emplace_back(u"WAYLAND_DISPLAY"_s, u""_s);
  variables.emplace_back(u"QT_QPA_PLATFORM"_s, u""_s);
  return variables;
}

bool DesktopWorld::startZolvex() {
  computer.zolvex.emplace(QStringLiteral(ZOLVEX), QStringList{}, variables());
  return computer.zolvex->complains("connected to the session bus") && computer.isAnswering();
}

void DesktopWorld::xdotool(const QStringList& arguments) {
  EXPECT_EQ(ProgramRun(u"xdotool"_s, arguments, variables()).exitStatus(), 0);
}

void DesktopWorld::click(const QPoint& position, int button) {
  xdotool({u"mousemove"_s, QString::number(position.x()), QString::number(position.y()), u"click"_s,
           QString::number(button)});
}

void DesktopWorld::press(const QString& key) {
  xdotool({u"key"_s, key});
}

bool DesktopWorld::isShownNow() {
  ProgramRun search(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Zolvex$"_s}, variables());
  return search.exitStatus() == 0;
}

bool DesktopWorld::isShown() {
  return runUntil([this] { return isShownNow(); });
}

bool DesktopWorld::isHidden() {
  return runUntil([this] { return !isShownNow(); });
}

}  // namespace zolvex::test
