#include "core/SettingsKeys.h"
#include "lab/PrivateBus.h"
#include "platform/UserManagerSocket.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/DesktopNotificationCenter.h"
#include "platform/linux/FileUserDefaults.h"
#include "platform/linux/InstanceLock.h"
#include "platform/linux/LinuxLaunchAtLogin.h"
#include "platform/linux/QtMainQueue.h"
#include "platform/linux/uninstall/LinuxUninstall.h"
#include "platform/uninstall/FileTree.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "support/ProgramRun.h"
#include "support/ScriptedService.h"
#include "ui/Uninstaller.h"

#include <gtest/gtest.h>

#include <optional>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

using Content = std::set<std::string>;

/// A user with a home directory and a session bus, for whom Zolvex is installed and running.
struct LinuxUninstallTest : testing::Test {
  LinuxUninstallTest() {
    EXPECT_TRUE(bus.start());
    setVariable("HOME", "home");
    setVariable("XDG_CONFIG_HOME", "home/.config");
    setVariable("XDG_DATA_HOME", "home/.local/share");
    setVariable("XDG_STATE_HOME", "home/.local/state");
    setVariable("XDG_CACHE_HOME", "home/.cache");
    setVariable("XDG_RUNTIME_DIR", "run");
    files.makeFolder("home/.config");
    files.makeFolder("run");
  }
  ~LinuxUninstallTest() override {
    for (const auto& [name, value] : before_)
      if (value.isNull())
        qunsetenv(name);
      else
        qputenv(name, value);
  }
  void setVariable(const char* name, const std::string& path) {
    before_.emplace_back(name, qgetenv(name));
    qputenv(name, QByteArray::fromStdString((files / path).string()));
  }
  void connect() {
    link.start();
    ASSERT_TRUE(runUntil([&] { return link.isConnected(); }));
  }

  /// Runs the program for the first time, as it starts.
  void start(const std::string& path) {
    program = files.make(path).string();
    chmod(program.c_str(), S_IRWXU);
    lock.emplace(InstanceLock::standardPath());
    ASSERT_EQ(lock->acquire(), InstanceLock::Result::acquired);
    defaults.emplace(queue, FileUserDefaults::standardPath());
    launchAtLogin.emplace(LinuxLaunchAtLogin::Places::standard(), program, link);
    applyLaunchAtLoginDefault(*launchAtLogin, *defaults);
    defaults->set(settings::managedDeviceAddresses, StringArray{"A1", "A2"});
    ASSERT_TRUE(files.has("home/.config/zolvex/settings.json"));
    ASSERT_TRUE(launchAtLogin->status().isEnabled);
  }
  void uninstall(const std::optional<std::string>& started = {}) {
    const auto root = files / "system";
    system.emplace(Installation::find({program, started ? *started : program, files / "home", root}),
                   HomeTraces::standard(), link, [this] { isQuitting = true; });
    uninstaller.emplace(Uninstaller::Collaborators{queue, *launchAtLogin, *defaults, *system, notifications});
    uninstaller->uninstall();
    ASSERT_TRUE(runUntil([&] { return isQuitting; }));
  }
  void end() {
    uninstaller.reset();
    system.reset();
    launchAtLogin.reset();
    defaults.reset();
    lock.reset();
  }
  /// What is in the home directory once the trash is gone.
  Content withoutTrash() const {
    std::filesystem::remove_all(files / "home/.local/share/Trash");
    return files.contentOf("home");
  }
  /// Names of what is in the trash.
  Content trash() const { return files.contentOf("home/.local/share/Trash/files"); }

  LogCapture log;
  FileTree files;
  lab::PrivateBus bus;
  QtMainQueue queue;
  BusLink link{queue, "test bus", bus.address().toStdString()};
  DesktopNotificationCenter notifications{link};
  std::string program;
  bool isQuitting = false;
  std::optional<InstanceLock> lock;
  std::optional<FileUserDefaults> defaults;
  std::optional<LinuxLaunchAtLogin> launchAtLogin;
  std::optional<LinuxUninstall> system;
  std::optional<Uninstaller> uninstaller;

 private:
  std::vector<std::pair<const char*, QByteArray>> before_;
};

TEST_F(LinuxUninstallTest, leavesNothingOfOursInTheHomeDirectoryButWhatIsInTheTrash) {
  connect();
  files.make("home/.config/other/file");
  files.make("home/.local/bin/other");
  files.make("home/.local/lib/zolvex/zolvex-application.so");
  files.make("home/.local/share/applications/quenmar.zolvex.app.desktop");
  files.make("home/.local/share/applications/other.desktop");
  files.make("home/.cache/zolvex/qmlcache/x");
  start("home/.local/bin/zolvex");
  uninstall();
  end();
  EXPECT_EQ(withoutTrash(), (Content{".cache", ".config", ".config/other", ".config/other/file", ".local", ".local/bin",
                                     ".local/bin/other", ".local/share", ".local/share/applications",
                                     ".local/share/applications/other.desktop"}));
}

TEST_F(LinuxUninstallTest, knowsEachFileThatTheBuildInstalls) {
  const auto prefix = QString::fromStdString((files / "home/.local").string());
  ASSERT_EQ(ProgramRun(QStringLiteral(CMAKE), {u"--install"_s, QStringLiteral(BUILD_FOLDER), u"--prefix"_s, prefix})
                .exitStatus(),
            0);
  ASSERT_TRUE(files.has("home/.local/lib/systemd/user/zolvex.service"));
  connect();
  start("home/.local/bin/zolvex");
  uninstall();
  end();
  EXPECT_EQ(withoutTrash(), (Content{".config", ".local", ".local/share"}));
}

TEST_F(LinuxUninstallTest, leavesNoFolderThatTheUnitWasIn) {
  makeUserManagerSocket(files / "run");
  connect();
  start("home/.local/bin/zolvex");
  ASSERT_TRUE(files.has("home/.config/systemd/user/zolvex.service"));
  uninstall();
  end();
  EXPECT_EQ(withoutTrash(), (Content{".config", ".local", ".local/share"}));
}

TEST_F(LinuxUninstallTest, foldersThatAreLinksStay) {
  files.makeFolder("home/dotfiles");
  files.makeFolder("home/.local/share");
  std::filesystem::create_directory_symlink(files / "home/dotfiles", files / "home/.local/share/applications");
  files.make("home/.local/share/applications/quenmar.zolvex.app.desktop");
  connect();
  start("home/.local/bin/zolvex");
  uninstall();
  EXPECT_TRUE(files.has("home/.local/share/applications"));
  EXPECT_EQ(files.contentOf("home/dotfiles"), Content{});
}

TEST_F(LinuxUninstallTest, movesAnInstallationOfTheUserToTheTrash) {
  connect();
  files.make("home/zolvex/lib/zolvex/zolvex-application.so");
  files.make("home/zolvex/bin/zolvexctl");
  start("home/zolvex/bin/zolvex");
  uninstall();
  EXPECT_FALSE(files.has("home/zolvex"));
  const auto inTrash = trash();
  for (const auto* name : {"zolvex", "zolvexctl"}) EXPECT_EQ(inTrash.count(name), 1u) << name;
  EXPECT_TRUE(log.contains("Uninstall: application done"));
}

TEST_F(LinuxUninstallTest, movesAnAppImageToTheTrash) {
  connect();
  start("mount/usr/bin/zolvex");
  uninstall(files.make("home/Applications/Zolvex.AppImage").string());
  EXPECT_EQ(trash(), Content{"Zolvex.AppImage"});
  EXPECT_TRUE(files.has("mount/usr/bin/zolvex"));
}

TEST_F(LinuxUninstallTest, whatIsSetAfterwardsIsNotWrittenAnyMore) {
  connect();
  start("home/.local/bin/zolvex");
  uninstall();
  defaults->set(settings::networkDevices, std::string("[]"));
  defaults->note(settings::didConfigureLaunchAtLoginDefault, true);
  EXPECT_EQ(defaults->string(settings::networkDevices), "[]");
  end();
  EXPECT_FALSE(files.has("home/.config/zolvex"));
}

TEST_F(LinuxUninstallTest, theDesktopForgetsItsPermissions) {
  ScriptedService store(bus.address(), u"org.freedesktop.impl.portal.PermissionStore"_s,
                        [](const QDBusMessage& call) { return call.createReply(); });
  ASSERT_TRUE(store.isRegistered());
  connect();
  start("home/.local/bin/zolvex");
  uninstall();
  ASSERT_EQ(store.calls().size(), 3u) << "before it quits";
  for (const auto& call : store.calls()) {
    EXPECT_EQ(call.member(), u"DeletePermission"_s);
    EXPECT_EQ(call.arguments().at(2).toString(), u"quenmar.zolvex.app"_s);
  }
  EXPECT_EQ(store.calls().front().arguments().at(0).toString(), u"notifications"_s);
}

TEST_F(LinuxUninstallTest, aPermissionStoreThatNeverAnswersDoesNotKeepItRunning) {
  ScriptedService store(bus.address(), u"org.freedesktop.impl.portal.PermissionStore"_s,
                        [](const QDBusMessage&) { return QDBusMessage(); });
  connect();
  start("home/.local/bin/zolvex");
  uninstall();
  EXPECT_FALSE(files.has("home/.local/bin/zolvex"));
}

TEST_F(LinuxUninstallTest, worksWithoutASessionBus) {
  start("home/.local/bin/zolvex");
  uninstall();
  EXPECT_FALSE(files.has("home/.local/bin/zolvex"));
  EXPECT_FALSE(files.has("home/.config/zolvex"));
}

TEST_F(LinuxUninstallTest, aPackageStaysAndItsUserIsToldTheCommand) {
  ScriptedService desktop(bus.address(), u"org.freedesktop.Notifications"_s,
                          [](const QDBusMessage& call) { return call.createReply(1u); });
  connect();
  files.make("system/usr/bin/apt");
  files.make("system/var/lib/dpkg/info/zolvex.list");
  start("system/usr/bin/zolvex");
  uninstall();
  EXPECT_TRUE(files.has("system/usr/bin/zolvex"));
  ASSERT_EQ(desktop.calls().size(), 1u);
  EXPECT_EQ(desktop.calls().front().arguments().at(3).toString(),
            u"Zolvex itself is still installed. To remove it: sudo apt remove zolvex"_s);
  EXPECT_EQ(system->leftToDo(), "Zolvex itself is still installed. To remove it: sudo apt remove zolvex");
}

TEST_F(LinuxUninstallTest, withoutATrashTheApplicationStaysAndAllElseGoes) {
  log.expectError("Uninstall: application failed: " + (files / "home/.local/share/Trash").string() +
                  " is no directory");
  connect();
  start("home/.local/bin/zolvex");
  files.make("home/.local/share/Trash");  // in the way
  uninstall();
  EXPECT_TRUE(files.has("home/.local/bin/zolvex"));
  EXPECT_FALSE(files.has("home/.config/zolvex"));
}

TEST_F(LinuxUninstallTest, settingsThatAreALinkGoWithWhatTheyLinkTo) {
  files.make("home/dotfiles/settings.json");
  files.makeFolder("home/.config/zolvex");
  std::filesystem::create_symlink(files / "home/dotfiles/settings.json", files / "home/.config/zolvex/settings.json");
  std::ofstream(files / "home/dotfiles/settings.json") << "{}";
  connect();
  start("home/.local/bin/zolvex");
  uninstall();
  EXPECT_FALSE(files.has("home/dotfiles/settings.json"));
  EXPECT_FALSE(files.has("home/.config/zolvex"));
}

}  // namespace
}  // namespace zolvex::test
