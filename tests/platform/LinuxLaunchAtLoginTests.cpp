#include "LaunchAtLoginFixture.h"
#include "SettingsFileTest.h"
#include "lab/PrivateBus.h"
#include "support/ProgramRun.h"
#include "support/ScriptedService.h"

#include <QStandardPaths>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

using Unit = LaunchAtLoginFixture;
using Entry = LaunchAtLoginFixture;

// Without a systemd of the user

TEST_F(Entry, isWrittenAndRemoved) {
  EXPECT_FALSE(isEnabled());
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  EXPECT_EQ(textOf(entry),
            "[Desktop Entry]\nType=Application\nName=Zolvex\n"
            "Comment=Moves Bluetooth input devices between two computers\nTryExec=" +
                program + "\nExec=" + program + "\nTerminal=false\nX-Zolvex-Starts=program\n");
  EXPECT_TRUE(isEnabled());
  EXPECT_FALSE(exists(root / "config/systemd"));
  EXPECT_EQ(launchAtLogin().disable(), std::nullopt);
  EXPECT_FALSE(isEnabled());
  EXPECT_FALSE(exists(entry));
  EXPECT_EQ(launchAtLogin().disable(), std::nullopt) << "what is off may be switched off";
}

struct EntrySwitchedOff : Entry, testing::WithParamInterface<const char*> {};

TEST_P(EntrySwitchedOff, countsAsNotEnabledUntilItIsEnabledAnew) {
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  writeFile(entry, textOf(entry) + GetParam());
  EXPECT_FALSE(isEnabled());
  EXPECT_EQ(problem(), "it is switched off in " + entry.string());
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  EXPECT_TRUE(isEnabled());
}

INSTANTIATE_TEST_SUITE_P(Ways, EntrySwitchedOff,
                         testing::Values("Hidden=true\n", "X-GNOME-Autostart-enabled=false\n", "Hidden = true\n",
                                         "X-MATE-Autostart-enabled=false\n"));

TEST_F(Entry, keysOfOtherGroupsDoNotCount) {
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  writeFile(entry, textOf(entry) + "[Desktop Action x]\nHidden=true\n");
  EXPECT_TRUE(isEnabled());
}

TEST_F(Entry, ofTheUserCountsAndStays) {
  const std::string text = "[Desktop Entry]\nType=Application\nName=Mine\nExec=env A=b zolvex\n";
  writeFile(entry, text);
  EXPECT_TRUE(isEnabled());
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  EXPECT_EQ(launchAtLogin().disable(), entry.string() + " is not by Zolvex; remove it");
  EXPECT_EQ(textOf(entry), text);
}

TEST_F(Entry, followsAProgramThatMoved) {
  const auto old = makeProgram(root / "old/zolvex");
  EXPECT_EQ(launchAtLogin(old).enable(), std::nullopt);
  launchAtLogin().followProgram();
  EXPECT_NE(textOf(entry).find("Exec=" + old), std::string::npos) << "another installation that is there";
  std::filesystem::remove(old);
  EXPECT_FALSE(isEnabled());
  EXPECT_EQ(problem(), entry.string() + " starts a program that is not there");
  launchAtLogin().followProgram();
  EXPECT_TRUE(isEnabled());
  EXPECT_NE(textOf(entry).find("Exec=" + program), std::string::npos);
}

TEST_F(Entry, inAReadOnlyHomeIsAFailureUntilItCanBeWritten) {
  const AsOrdinaryUser user(directory.path());
  ASSERT_TRUE(user.isDone());
  std::filesystem::permissions(root, std::filesystem::perms(0500));
  EXPECT_EQ(launchAtLogin().enable(),
            "cannot make the directory " + (root / "config").string() + ": Permission denied");
  EXPECT_FALSE(isEnabled());
  std::filesystem::permissions(root, std::filesystem::perms(0700));
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
}

TEST_F(Entry, withoutAKnownProgramIsAFailure) {
  LinuxLaunchAtLogin unknown({root / "config", root / "run", {}}, std::nullopt, link_);
  EXPECT_EQ(unknown.enable(), "it is not known where this program is");
  unknown.followProgram();
  EXPECT_FALSE(exists(root / "config"));
}

// With a systemd of the user

TEST_F(Unit, isWrittenEnabledAndRemoved) {
  startUserManager();
  reachSessionTarget();
  EXPECT_FALSE(isEnabled());
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  EXPECT_TRUE(isEnabled());
  EXPECT_EQ(read_symlink(wanted), unit);
  EXPECT_NE(textOf(unit).find("\nExecStart=" + program + "\nRestart=on-failure\n"), std::string::npos);
  EXPECT_FALSE(exists(entry)) << "the desktop starts the unit by itself";
  EXPECT_EQ(launchAtLogin().disable(), std::nullopt);
  EXPECT_FALSE(isEnabled());
  EXPECT_FALSE(exists(unit) || is_symlink(wanted));
}

TEST_F(Unit, thatIsSwitchedOffStaysUntilTheProgramEnds) {
  startUserManager();
  {
    auto running = launchAtLogin();
    EXPECT_EQ(running.enable(), std::nullopt);
    EXPECT_EQ(running.disable(), std::nullopt);
    EXPECT_FALSE(running.status().isEnabled);
    EXPECT_TRUE(exists(unit)) << "what runs as this service is bound to the desktop by it";
    EXPECT_FALSE(is_symlink(wanted));
  }
  EXPECT_FALSE(exists(unit));
}

TEST_F(Unit, takesTheFoldersAlongThatItWasAloneIn) {
  startUserManager();
  reachSessionTarget();
  const auto switchOnAndOff = [this] {
    auto running = launchAtLogin();
    EXPECT_EQ(running.enable(), std::nullopt);
    EXPECT_EQ(running.disable(), std::nullopt);
  };
  switchOnAndOff();
  EXPECT_TRUE(is_empty(root / "config"));
  writeFile(root / "config/systemd/user/other.service", "[Service]\n");
  switchOnAndOff();
  EXPECT_FALSE(exists(unit.parent_path() / "graphical-session.target.wants"));
  EXPECT_TRUE(exists(root / "config/systemd/user/other.service"));
}

TEST_F(Unit, thatIsSwitchedOnAgainStays) {
  startUserManager();
  {
    auto running = launchAtLogin();
    EXPECT_EQ(running.enable(), std::nullopt);
    EXPECT_EQ(running.disable(), std::nullopt);
    EXPECT_EQ(running.enable(), std::nullopt);
  }
  EXPECT_TRUE(isEnabled());
}

TEST_F(Unit, thatTheUserDisabledElsewhereStays) {
  startUserManager();
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  std::filesystem::remove(wanted);  // as "systemctl --user disable" does
  EXPECT_FALSE(isEnabled());
  EXPECT_TRUE(exists(unit)) << "\"systemctl --user enable\" needs it";
}

TEST_F(Unit, isStartedByAnEntryWhereTheDesktopDoesNotReachTheTarget) {
  startUserManager();
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  EXPECT_TRUE(isEnabled());
  EXPECT_NE(textOf(entry).find("X-Zolvex-Starts=unit\nX-systemd-skip=true\n"), std::string::npos);
  std::filesystem::remove(wanted);  // as "systemctl --user disable" does
  EXPECT_FALSE(isEnabled()) << "the entry alone starts nothing";
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  EXPECT_EQ(launchAtLogin().disable(), std::nullopt);
  EXPECT_FALSE(exists(entry));
}

TEST_F(Unit, isOffWhenItsEntryIsSwitchedOff) {
  startUserManager();
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  writeFile(entry, textOf(entry) + "Hidden=true\n");
  EXPECT_FALSE(isEnabled());
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  EXPECT_TRUE(isEnabled());
}

struct MaskedUnit : Unit, testing::WithParamInterface<bool> {
  void SetUp() override {
    startUserManager();
    GetParam() ? link("/dev/null", unit) : writeFile(unit, "");
  }
};

TEST_P(MaskedUnit, staysMasked) {
  EXPECT_EQ(problem(), "zolvex.service is masked");
  EXPECT_EQ(launchAtLogin().enable(),
            "zolvex.service is masked; \"systemctl --user unmask zolvex.service\" allows it again");
  EXPECT_EQ(launchAtLogin().disable(), std::nullopt);
  launchAtLogin().followProgram();
  EXPECT_TRUE(log.contains("launch at login is off: zolvex.service is masked"));
  EXPECT_TRUE(is_symlink(unit) == GetParam() && textOf(unit).empty());
  EXPECT_FALSE(exists(entry) || is_symlink(wanted));
}

INSTANTIATE_TEST_SUITE_P(Ways, MaskedUnit, testing::Bool());

TEST_F(Unit, ofThePackageIsUsedWhereItStartsThisProgram) {
  startUserManager();
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);  // before the package was installed
  writeFile(root / "usr/zolvex.service", "[Service]\nExecStart=" + program + "\n");
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  EXPECT_FALSE(exists(unit));
  EXPECT_EQ(read_symlink(wanted), root / "usr/zolvex.service");
  EXPECT_TRUE(isEnabled());
  EXPECT_EQ(launchAtLogin().disable(), std::nullopt);
  EXPECT_TRUE(exists(root / "usr/zolvex.service"));
}

TEST_F(Unit, goesBeforeAPackageOfAnotherPlace) {
  startUserManager();
  writeFile(root / "usr/zolvex.service", "[Service]\nExecStart=/usr/bin/zolvex\n");
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  EXPECT_NE(textOf(unit).find(program), std::string::npos);
}

TEST_F(Unit, ofTheUserIsEnabledAndStays) {
  startUserManager();
  const std::string text = "[Service]\nExecStart=-\"" + program + "\" --verbose\n";
  writeFile(unit, text);
  EXPECT_FALSE(isEnabled());
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  EXPECT_TRUE(isEnabled());
  EXPECT_EQ(launchAtLogin().disable(), std::nullopt);
  EXPECT_EQ(textOf(unit), text);
}

TEST_F(Unit, thatIsEnabledForAllUsersIsNotSwitchedOff) {
  startUserManager();
  writeFile(root / "usr/zolvex.service", "[Service]\nExecStart=" + program + "\n");
  link(root / "usr/zolvex.service", root / "etc/default.target.wants/zolvex.service");
  EXPECT_TRUE(isEnabled());
  EXPECT_EQ(
      launchAtLogin().disable(),
      "zolvex.service is enabled for all users; \"systemctl --user mask zolvex.service\" switches it off for one");
}

TEST_F(Unit, followsAProgramThatMoved) {
  startUserManager();
  const auto old = makeProgram(root / "old place/zolvex");
  EXPECT_EQ(launchAtLogin(old).enable(), std::nullopt);
  launchAtLogin().followProgram();
  EXPECT_TRUE(textOf(unit).find(program) == std::string::npos) << "another installation that is there";
  std::filesystem::remove(old);
  EXPECT_FALSE(isEnabled());
  EXPECT_EQ(problem(), "zolvex.service starts a program that is not there: " + old);
  launchAtLogin().followProgram();
  EXPECT_TRUE(isEnabled());
  std::filesystem::remove(wanted);
  std::filesystem::remove(program);
  launchAtLogin(makeProgram(root / "newer/zolvex")).followProgram();
  EXPECT_FALSE(isEnabled()) << "what the user disabled is not brought back";
}

TEST_F(Unit, isToldToSystemdWhenTheBusComesAndNobodyWaits) {
  startUserManager();
  lab::PrivateBus bus;
  ASSERT_TRUE(bus.start());
  BusLink session(queue, "session bus", bus.address().toStdString());
  ScriptedService systemd(bus.address(), u"org.freedesktop.systemd1"_s,
                          [](const QDBusMessage&) { return QDBusMessage(); });
  LinuxLaunchAtLogin launch({root / "config", root / "run", {}}, program, session);
  EXPECT_EQ(launch.enable(), std::nullopt);
  EXPECT_TRUE(systemd.calls().empty());
  session.start();
  ASSERT_TRUE(runUntil([&] { return !systemd.calls().empty(); }));
  EXPECT_EQ(launch.disable(), std::nullopt);
  ASSERT_TRUE(runUntil([&] { return systemd.calls().size() == 2; }));
  EXPECT_EQ(systemd.calls().back().member(), u"Reload"_s);
}

// What others make of the files

struct AnyPlace : LaunchAtLoginFixture, testing::WithParamInterface<const char*> {
  const std::string placed = makeProgram(root / GetParam() / "zolvex");

  /// What a checker prints about `file`, or why there is no checker.
  std::optional<std::string> judgement(const QString& checker, const QStringList& arguments) {
    if (QStandardPaths::findExecutable(checker).isEmpty()) return std::nullopt;
    ProgramRun run(checker, arguments, {{u"XDG_RUNTIME_DIR"_s, directory.path()}});
    const int status = run.exitStatus();
    return (status == 0 ? "" : "status " + std::to_string(status) + ": ") + run.output() + run.errors();
  }
};

TEST_P(AnyPlace, theUnitPassesTheCheckOfSystemd) {
  startUserManager();
  EXPECT_EQ(launchAtLogin(placed).enable(), std::nullopt);
  EXPECT_TRUE(launchAtLogin(placed).status().isEnabled);
  ASSERT_EQ(exists(unit), UserUnit::canStart(placed)) << "else there is an entry for the program";
  if (!exists(unit)) return;
  const auto text =
      judgement(u"systemd-analyze"_s, {u"--user"_s, u"verify"_s, u"--man=no"_s, QString::fromStdString(unit)});
  if (!text) GTEST_SKIP() << "systemd-analyze is not installed";
  EXPECT_EQ(*text, "");
}

TEST_P(AnyPlace, theEntryPassesTheCheckOfTheDesktop) {
  EXPECT_EQ(launchAtLogin(placed).enable(), std::nullopt);
  EXPECT_TRUE(launchAtLogin(placed).status().isEnabled);
  const auto text = judgement(u"desktop-file-validate"_s, {QString::fromStdString(entry)});
  if (!text) GTEST_SKIP() << "desktop-file-validate is not installed";
  EXPECT_EQ(*text, "");
}

INSTANTIATE_TEST_SUITE_P(Places, AnyPlace,
                         testing::Values("plain", "with space", "50%", R"(q"uo'te)", R"(back\slash)", "$HOME",
                                         "semi;colon & more", "tab\there", "\u00fcml\u00e4ut"));

TEST_F(Entry, forTheUnitPassesTheCheckOfTheDesktop) {
  if (QStandardPaths::findExecutable(u"desktop-file-validate"_s).isEmpty())
    GTEST_SKIP() << "desktop-file-validate is not installed";
  startUserManager();
  EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
  ProgramRun run(u"desktop-file-validate"_s, {QString::fromStdString(entry)});
  EXPECT_EQ(run.exitStatus(), 0);
  EXPECT_EQ(run.output(), "");
}

struct EntryForUnit : LaunchAtLoginFixture {
  /// What systemctl is asked to do when the desktop runs the entry.
  std::string asked(int isEnabledStatus) {
    startUserManager();
    EXPECT_EQ(launchAtLogin().enable(), std::nullopt);
    makeProgram(root / "fake/systemctl");
    writeFile(root / "fake/systemctl", "#!/bin/sh\necho \"$*\"\ncase \"$*\" in *is-enabled*) exit " +
                                           std::to_string(isEnabledStatus) + ";; *import*) exit 1;; esac\n");
    const auto text = textOf(entry);
    const auto start = text.find("\nExec=") + 6;
    const auto command = QString::fromStdString(text.substr(start, text.find('\n', start) - start));
    const auto path = QString::fromStdString(root / "fake") + u":/usr/bin:/bin"_s;
    ProgramRun run(u"/bin/sh"_s, {u"-c"_s, command}, {{u"PATH"_s, path}});
    run.exitStatus();
    return run.output();
  }
};

TEST_F(EntryForUnit, startsItInTheEnvironmentOfTheSession) {
  EXPECT_EQ(asked(0),
            "--user --quiet is-enabled zolvex.service\n"
            "--user import-environment DISPLAY WAYLAND_DISPLAY XAUTHORITY XDG_CURRENT_DESKTOP XDG_SESSION_TYPE\n"
            "--user start zolvex.service\n");
}

TEST_F(EntryForUnit, leavesItWhenTheUserDisabledIt) {
  EXPECT_EQ(asked(1), "--user --quiet is-enabled zolvex.service\n");
}

}  // namespace
}  // namespace zolvex::test
