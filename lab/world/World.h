#pragma once

#include "lab/world/Desktop.h"
#include "lab/world/Network.h"

#include <QJsonObject>

#include <functional>
#include <memory>
#include <vector>

namespace zolvex::lab {

struct WorldOptions {
  QStringList computers{QStringLiteral("Studio"), QStringLiteral("Laptop")};
  QString zolvex;  ///< Path of the program.
  BluezTiming timing = {};
  QString transport = QStringLiteral("bonjour");
  bool isAutomatic = false;         ///< Whether automatic connect is on, and automatic release on lock and display off.
  QStringList managedDevices = {};  ///< Names of the devices that the users have chosen; all when empty.
};

/// Two to four computers around one radio with the three Magic devices, every computer with the settings of a user who
/// has chosen those devices and the other computer. Lives in the sandbox.
class World : public QObject {
  Q_OBJECT

 public:
  static constexpr int fewestComputers = 2;
  static constexpr int mostComputers = 4;

  explicit World(WorldOptions options);
  ~World() override;

  /// Starts all computers, but no Zolvex. False when that fails; errorString() says why.
  bool start();

  /// Starts Zolvex wherever it is not running and waits until each answers on its session bus.
  bool startZolvex();

  /// Waits until all of them have found their peers since startZolvex() was called last. Without Bonjour there is
  /// nothing to wait for.
  bool waitForPeers(std::chrono::milliseconds limit);

  /// Ends all processes in order.
  void stop();

  QString errorString() const { return error_; }
  Radio& radio() { return radio_; }
  const std::vector<std::unique_ptr<Desktop>>& desktops() const { return desktops_; }
  Desktop& desktop(const QString& name);
  Desktop* findDesktop(const QString& name);  ///< In whatever case; null when there is none.

  /// Whom the fault is to befall and who does not exist; empty when it can strike.
  QString problemWith(const Fault& fault);

  /// Bonds all devices to a computer and connects them, as if they had always been there.
  void giveDevicesTo(const QString& computer);

  /// How many devices `computer` holds, bonded and connected; of those with the given addresses, or of all.
  int devicesOf(const QString& computer, const QStringList& addresses = {}) const;

  /// One text for each device that `computer` does not have, bonded and connected: where it is instead.
  QStringList missingAt(const QString& computer) const;

  /// Whether no computer that is awake is switching and no worker is left.
  bool hasComeToRest() const;

  /// Makes waits end at once with false.
  void interrupt() { isInterrupted_ = true; }
  bool isInterrupted() const { return isInterrupted_; }

  /// As the function of that name, but ends early when the world was interrupted.
  bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

  /// Process ids of all worker processes inside the sandbox.
  static QList<qint64> workerProcesses();

 Q_SIGNALS:
  void progress(const QString& text);

 private:
  QJsonObject settingsOf(int index) const;
  bool isManaged(const QString& address) const;
  QString peerRecordFor(int index) const;
  static QString identityOf(const QString& computer);
  bool fail(const QString& what);

  WorldOptions options_;
  Radio radio_;
  Network network_;
  std::vector<std::unique_ptr<Desktop>> desktops_;
  QStringList resolved_;  // computers that have found their peers
  bool isInterrupted_ = false;
  QString error_;
};

}  // namespace zolvex::lab
