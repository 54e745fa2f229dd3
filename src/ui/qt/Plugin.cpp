#include "ui/UserInterfacePlugin.h"
#include "ui/qt/DisplayProbe.h"
#include "ui/qt/QtUserInterface.h"

#include <QApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QSessionManager>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("UserInterface");

/// Owns the QApplication, and the command line that it keeps looking at.
class QtPlugin final : public UserInterfacePlugin {
 public:
  explicit QtPlugin(const QString& platform) : platform_(platform.toLocal8Bit()) {
    application_.setApplicationName(u"zolvex"_s);
    application_.setApplicationDisplayName(u"Zolvex"_s);
    application_.setDesktopFileName(u"quenmar.zolvex.app"_s);
    application_.setQuitOnLastWindowClosed(false);
    // Each click counts: of two quick right ones Qt would keep the second from the status item, as a double click.
    application_.setDoubleClickInterval(0);
    // Launch at login is a setting of ours; a session that is restored must not start a second one.
    QObject::connect(&application_, &QGuiApplication::saveStateRequest, &application_,
                     [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); });
    // A small window that is seldom open does not pay for a graphics driver.
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  }

  std::unique_ptr<UserInterface> open(const UserInterfaceObjects& objects) override {
    return std::make_unique<QtUserInterface>(objects);
  }

 private:
  QByteArray platform_;
  std::array<char, 7> name_{"zolvex"};
  std::array<char, 10> option_{"-platform"};
  std::array<char*, 4> arguments_{name_.data(), option_.data(), platform_.data(), nullptr};
  int argumentCount_ = 3;
  QApplication application_{argumentCount_, arguments_.data()};
};

}  // namespace

}  // namespace zolvex

extern "C" __attribute__((visibility("default"))) zolvex::UserInterfacePlugin* zolvexCreateUserInterface(
    const zolvex::LogSink& sink) {
  zolvex::setLogSink(sink);
  const auto display = zolvex::findDisplay();
  if (!display.platform.isEmpty()) return new zolvex::QtPlugin(display.platform);
  if (display.isSilent)
    zolvex::logger.error("no windows, start Zolvex again for them: the display does not answer");
  else
    zolvex::logger.info("no windows: no display answers");
  return nullptr;
}
