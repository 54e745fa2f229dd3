#include "ui/desktop/XDesktop.h"

#include "platform/linux/Xcb.h"

#include <QStandardPaths>
#include <gtest/gtest.h>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::test {

namespace {

constexpr auto panelHeight = 28;

}  // namespace

std::string XDesktop::reasonAgainst() {
  for (const auto* program : {"openbox", "trayer", "xdotool"})
    if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty())
      return std::string(program) + " is not installed (a Debian package of this name)";
  return XvfbServer::reasonAgainst();
}

bool XDesktop::start(ProgramRun::Variables variables, const QStringList& serverOptions) {
  variables_ = std::move(variables);
  if (!server_.start({}, QStringList{u"-screen"_s, u"0"_s, u"1280x800x24"_s} + serverOptions)) return false;
  windowManager_.emplace(u"openbox"_s, QStringList{}, allVariables());
  startPanel();
  return true;
}

void XDesktop::startPanel() {
  panel_.emplace(u"trayer"_s,
                 QStringList{u"--edge"_s, u"top"_s, u"--align"_s, u"right"_s, u"--width"_s, u"20"_s, u"--height"_s,
                             QString::number(panelHeight)},
                 allVariables());
}

ProgramRun::Variables XDesktop::displayVariables() const {
  return {{u"DISPLAY"_s, QString::fromStdString(server_.display())},
          {u"WAYLAND_DISPLAY"_s, u""_s},
          {u"QT_QPA_PLATFORM"_s, u""_s}};
}

ProgramRun::Variables XDesktop::allVariables() const {
  auto all = variables_;
  for (const auto& variable : displayVariables()) all.push_back(variable);
  return all;
}

void XDesktop::xdotool(const QStringList& arguments) {
  EXPECT_EQ(ProgramRun(u"xdotool"_s, arguments, displayVariables()).exitStatus(), 0);
}

void XDesktop::click(const QPoint& position, int button) {
  xdotool({u"mousemove"_s, QString::number(position.x()), QString::number(position.y()), u"click"_s,
           QString::number(button)});
}

void XDesktop::press(const QString& key) {
  xdotool({u"key"_s, key});
}

bool XDesktop::isShownNow(const QString& title) {
  ProgramRun search(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^%1$"_s.arg(title)},
                    displayVariables());
  return search.exitStatus() == 0;
}

QRect XDesktop::popover() {
  ProgramRun search(u"xdotool"_s,
                    {u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Zolvex$"_s, u"getwindowgeometry"_s, u"--shell"_s},
                    displayVariables());
  EXPECT_EQ(search.exitStatus(), 0);
  const auto valueOf = [text = QString::fromStdString(search.output())](const QString& name) {
    return text.section(u'\n' + name + u'=', 1).section(u'\n', 0, 0).toInt();
  };
  return {valueOf(u"X"_s), valueOf(u"Y"_s), valueOf(u"WIDTH"_s), valueOf(u"HEIGHT"_s)};
}

bool XDesktop::isShown(const QString& title) {
  return runUntil([&] { return isShownNow(title); });
}

bool XDesktop::isHidden(std::chrono::milliseconds limit) {
  return runUntil([this] { return !isShownNow(); }, limit);
}

QByteArray XDesktop::iconPicture() const {
  constexpr QSize size(panelHeight, panelHeight);
  return picture({icon - QPoint(panelHeight, panelHeight) / 2, size});
}

QByteArray XDesktop::picture(const QRect& area) const {
  auto* const connection = xcb_connect(server_.display().c_str(), nullptr);
  const auto question =
      xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, xcb::rootOf(connection, 0),
                    static_cast<std::int16_t>(area.x()), static_cast<std::int16_t>(area.y()),
                    static_cast<std::uint16_t>(area.width()), static_cast<std::uint16_t>(area.height()), ~0U);
  const xcb::Received<xcb_get_image_reply_t> image(xcb_get_image_reply(connection, question, nullptr));
  QByteArray pixels;
  if (image)
    pixels = QByteArray(reinterpret_cast<const char*>(xcb_get_image_data(image.get())),
                        xcb_get_image_data_length(image.get()));
  xcb_disconnect(connection);
  return pixels;
}

}  // namespace zolvex::test
