#pragma once

#include "lab/Computer.h"
#include "lab/session/ComputerSession.h"
#include "lab/world/ControlClient.h"
#include "lab/world/LabProcess.h"
#include "lab/world/Network.h"
#include "lab/world/SystemServices.h"

#include <QJsonObject>
#include <QObject>

#include <memory>

namespace zolvex::lab {

/// One whole computer of a world in the sandbox: besides org.bluez a session bus, Avahi on its own network, its pretty
/// name, a notification service, a user's session, a home directory, and Zolvex once that was started. While it sleeps
/// its processes stand still, it is off the network, and its Bluetooth does not answer. Owned by the world.
class Desktop : public QObject {
  Q_OBJECT

 public:
  Desktop(Radio& radio, Network& network, const QString& name, BluezTiming timing);
  ~Desktop() override;

  /// Starts everything but Zolvex. False when that fails; errorString() says why.
  bool start();

  /// Ends everything in order, Zolvex first.
  void stop();

  /// The program that startZolvex() starts, with its settings as they are in settings.json.
  void setZolvex(const QString& program) { zolvexProgram_ = program; }
  bool writeSettings(const QJsonObject& settings);
  bool startZolvex();
  LabProcess* zolvex() { return zolvex_.get(); }
  bool isZolvexRunning() const { return zolvex_ && zolvex_->isRunning(); }

  /// What every process of this computer is started with.
  QProcessEnvironment environment() const;

  /// Adds to it what the lab has none of, such as a display; for what is started from now on.
  void addToEnvironment(const QString& variable, const QString& value) { added_.insert(variable, value); }

  QString name() const { return computer_.name(); }
  QString errorString() const { return error_; }
  QString directory() const;
  BluezService& bluez() { return computer_.bluez(); }
  ControlClient& control() { return control_; }
  NotificationService& notifications() { return notifications_; }
  ComputerSession& session() { return session_; }

  /// Avahi is not there at once when it was started.
  bool isAvahiThere() const { return hostName_.isOnBus(QStringLiteral("org.freedesktop.Avahi")); }

  /// Asks Zolvex to end and returns at once.
  void askToEnd();

 Q_SIGNALS:
  /// A line of output of "zolvex" or "avahi".
  void logged(const QString& source, const QString& text);
  void zolvexEnded(int exitStatus);

 private:
  bool fail(const QString& what);
  bool makeDirectories();
  bool startAvahi();
  bool writeAvahiConfiguration(const QString& file);
  bool saveEnvironment();
  void standStill();
  void goOn();
  void setOnNetwork(bool connected);

  Network& network_;
  Computer computer_;
  PrivateBus sessionBus_;
  HostNameService hostName_;
  NotificationService notifications_;
  ControlClient control_;
  ComputerSession session_;
  std::unique_ptr<LabProcess> avahi_;
  std::unique_ptr<LabProcess> zolvex_;
  QString zolvexProgram_;
  QProcessEnvironment added_;
  QString error_;
};

}  // namespace zolvex::lab
