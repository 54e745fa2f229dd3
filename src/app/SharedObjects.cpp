#include "app/SharedObjects.h"

#include "app/InstalledHelp.h"
#include "core/SettingsKeys.h"
#include "platform/linux/ConfigDirectory.h"
#include "platform/linux/OwnExecutable.h"

#include <QCoreApplication>

#include <string>
#include <utility>

namespace zolvex {

namespace {

void registerDefaults(UserDefaults& defaults) {
  defaults.registerDefaults({
      {std::string(settings::autoRelease), true},
      {std::string(settings::autoReleaseHours), -1.0},
      {std::string(settings::autoConnect), true},
      {std::string(settings::transportMode), std::string(settings::transportBluetooth)},
      {std::string(settings::globalHotkeyEnabled), true},
  });
}

/// The settings, ready to be read. What an unusable settings file holds of launch at login is not known; it stays as
/// it is.
UserDefaults& prepared(FileUserDefaults& defaults, LinuxLaunchAtLogin& launchAtLogin) {
  registerDefaults(defaults);
  launchAtLogin.followProgram();
  if (defaults.isFileUsable()) applyLaunchAtLoginDefault(launchAtLogin, defaults);
  return defaults;
}

Installation ownInstallation() {
  const auto executable = ownExecutable();
  return Installation::find({.program = executable, .started = programToStart(executable), .home = homeDirectory()});
}

}  // namespace

SharedObjects::SharedObjects(UserInterfacePlugin* windows)
    : decisions_(mainQueue_, {"DeviceManager", "SessionEvents", "SleepPreparation"}),
      defaults_(mainQueue_, FileUserDefaults::standardPath()),
      systemBus_(mainQueue_, BusLink::Bus::system),
      sessionBus_(mainQueue_, BusLink::Bus::session),
      launchAtLogin_(LinuxLaunchAtLogin::Places::standard(), programToStart(ownExecutable()), sessionBus_),
      hostName_(systemBus_),
      notificationCenter_(sessionBus_),
      session_(mainQueue_, systemBus_, sessionBus_),
      hotKeys_(hotKeysOf(DisplayServer::ofEnvironment(), mainQueue_, sessionBus_)),
      workerClient_(launcher_, ownExecutable()),
      bluetoothQueue_("com.zolvex.bluetooth"),
      scanQueue_("com.zolvex.scan"),
      avahi_(systemBus_),
      publisher_(avahi_),
      browser_(avahi_),
      bonjour_(mainQueue_, network_, publisher_, browser_, defaults_, hostName_),
      bluetoothStore_(mainQueue_, bluetoothQueue_, prepared(defaults_, launchAtLogin_), workerClient_),
      networkStore_(mainQueue_, defaults_, {.bluetooth = nullptr, .bonjour = bonjour_}),
      notifier_(notificationCenter_, bluetoothStore_, networkStore_, hostName_),
      deviceManager_({mainQueue_, defaults_, bluetoothStore_, networkStore_, notifier_, session_.events(),
                      session_.displayWaker()}),
      sleepPreparation_({mainQueue_, deviceManager_, networkStore_, session_.events(), session_.sleepInhibitor()}),
      hotKey_({mainQueue_, defaults_, *hotKeys_, deviceManager_}),
      uninstallSystem_(ownInstallation(), HomeTraces::standard(), sessionBus_, [] { QCoreApplication::quit(); }),
      uninstaller_({mainQueue_, launchAtLogin_, defaults_, uninstallSystem_, notificationCenter_}),
      helpPage_(installedHelp(ownExecutable())),
      pairedDeviceScan_(mainQueue_, scanQueue_, workerClient_),
      control_(controlled(), decisions_, sessionBus_),
      windows_(windows),
      popoverRequest_(hotKey_.popoverRequested.observe([this] { showWindows(); })),
      busArrival_(sessionBus_.arrived.observe([this] { tellWindowsOfBus(); })),
      busLoss_(sessionBus_.lost.observe([this] { tellWindowsOfBus(); })) {}

SharedObjects::~SharedObjects() {
  hotKey_.stop();
  // First the work that waits, which would begin as soon as a worker has ended; then the workers, whom the queues would
  // wait for; then the queues, before what their work uses.
  bluetoothQueue_.refuseWork();
  scanQueue_.refuseWork();
  launcher_.stop();
  bluetoothQueue_.stop();
  scanQueue_.stop();
}

control::Controlled SharedObjects::controlled() {
  return {mainQueue_,    defaults_,         bluetoothStore_, deviceManager_,
          networkStore_, pairedDeviceScan_, launchAtLogin_,  [this] { return showWindows(); }};
}

UserInterfaceObjects SharedObjects::shown() {
  return {.mainQueue = mainQueue_,
          .defaults = defaults_,
          .bluetoothStore = bluetoothStore_,
          .deviceManager = deviceManager_,
          .networkStore = networkStore_,
          .launchAtLogin = launchAtLogin_,
          .listPairedDevices = [this](auto answer) { pairedDeviceScan_.list(std::move(answer)); },
          .hotKeyState = [this] { return hotKey_.state(); },
          .observeHotKeyState = [this](auto observer) { return hotKey_.observeState(std::move(observer)); },
          .uninstall = [this] { uninstaller_.uninstall(); },
          .quit = [] { QCoreApplication::quit(); },
          .helpAddress = [this] { return helpPage_.address(); }};
}

bool SharedObjects::showWindows() {
  return userInterface_ && userInterface_->show();
}

void SharedObjects::tellWindowsOfBus() {
  if (!userInterface_) return;
  if (sessionBus_.isConnected())
    userInterface_->sessionBusArrived(sessionBus_.connection().name().toStdString());
  else
    userInterface_->sessionBusLost();
}

void SharedObjects::start() {
  networkStore_.start(deviceManager_);
  systemBus_.start();
  sessionBus_.start();
  session_.start();
  if (windows_) userInterface_ = windows_->open(shown());
  hotKey_.start();
}

}  // namespace zolvex
