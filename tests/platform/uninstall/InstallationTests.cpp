#include "platform/linux/uninstall/Installation.h"
#include "platform/uninstall/FileTree.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using Kind = Installation::Kind;
using Paths = std::set<std::filesystem::path>;

struct InstallationTest : testing::Test {
  Installation find(const std::string& program, const std::string& started = {}) const {
    const auto path = (files / program).string();
    return Installation::find(
        {path, started.empty() ? path : (files / started).string(), files / "home", files.root()});
  }
  /// What is to be moved, seen from the root.
  static Paths relative(const Installation& installation, const std::filesystem::path& root) {
    Paths paths;
    for (const auto& file : installation.files) paths.insert(file.lexically_relative(root));
    return paths;
  }
  std::string leftToDo(const std::string& program) const { return find(program).leftToDo; }

  FileTree files;
};

TEST_F(InstallationTest, anAppImageIsOneFile) {
  const auto found = find("tmp/.mount_abc/usr/bin/zolvex", "home/Applications/Zolvex.AppImage");
  EXPECT_EQ(found.kind, Kind::image);
  EXPECT_EQ(relative(found, files.root()), Paths{"home/Applications/Zolvex.AppImage"});
  EXPECT_EQ(found.leftToDo, "");
}

TEST_F(InstallationTest, anInstallationOfTheUserIsAllThatIsOursBelowItsPrefix) {
  for (const auto* path :
       {"bin/zolvex", "bin/zolvexctl", "lib/zolvex/zolvex-ui.so", "lib/systemd/user/zolvex.service",
        "share/doc/zolvex/help/index.html", "share/applications/quenmar.zolvex.app.desktop",
        "share/dbus-1/services/quenmar.zolvex.app.service", "share/metainfo/quenmar.zolvex.app.metainfo.xml",
        "share/icons/hicolor/scalable/apps/quenmar.zolvex.app.svg",
        "share/icons/hicolor/symbolic/apps/quenmar.zolvex.app-symbolic.svg"})
    files.make(std::string("home/.local/") + path);
  for (const auto* path :
       {"bin/other", "lib/other/x", "share/applications/other.desktop", "share/icons/hicolor/scalable/apps/other.svg"})
    files.make(std::string("home/.local/") + path);
  const auto found = find("home/.local/bin/zolvex");
  EXPECT_EQ(found.kind, Kind::ofUser);
  EXPECT_EQ(found.prefix, files / "home/.local");
  EXPECT_EQ(relative(found, found.prefix),
            (Paths{"bin/zolvex", "bin/zolvexctl", "lib/zolvex", "lib/systemd/user/zolvex.service", "share/doc/zolvex",
                   "share/applications/quenmar.zolvex.app.desktop", "share/dbus-1/services/quenmar.zolvex.app.service",
                   "share/metainfo/quenmar.zolvex.app.metainfo.xml",
                   "share/icons/hicolor/scalable/apps/quenmar.zolvex.app.svg",
                   "share/icons/hicolor/symbolic/apps/quenmar.zolvex.app-symbolic.svg"}));
}

TEST_F(InstallationTest, aHomeThatIsALinkIsStillTheHome) {
  files.make("home/apps/bin/zolvex");
  std::filesystem::create_directory_symlink(files / "home", files / "link");
  const auto program = (files / "home/apps/bin/zolvex").string();
  EXPECT_EQ(Installation::find({program, program, files / "link/", files.root()}).kind, Kind::ofUser);
}

TEST_F(InstallationTest, aBuildFolderStaysWithItsOwner) {
  files.make("home/zolvex/build/src/app/zolvex");
  const auto found = find("home/zolvex/build/src/app/zolvex");
  EXPECT_EQ(found.kind, Kind::unknown);
  EXPECT_TRUE(found.files.empty());
  EXPECT_EQ(found.leftToDo, "Zolvex itself is still installed. Remove " +
                                (files / "home/zolvex/build/src/app/zolvex").string() + " the way it was installed.");
}

TEST_F(InstallationTest, aPackageOfDebianIsLeftToApt) {
  files.make("usr/bin/apt");
  files.make("var/lib/dpkg/info/zolvex.list");
  const auto found = find("usr/bin/zolvex");
  EXPECT_EQ(found.kind, Kind::packaged);
  EXPECT_TRUE(found.files.empty());
  EXPECT_EQ(found.leftToDo, "Zolvex itself is still installed. To remove it: sudo apt remove zolvex");
}

TEST_F(InstallationTest, otherPackageManagersAreKnown) {
  files.make("usr/bin/pacman");
  files.make("var/lib/pacman/local/zolvex-0.1.0-1/desc");
  EXPECT_TRUE(leftToDo("usr/bin/zolvex").ends_with("sudo pacman -R zolvex"));
  std::filesystem::remove_all(files / "var");
  files.make("usr/lib/sysimage/rpm/rpmdb.sqlite");
  files.make("usr/bin/zypper");
  EXPECT_TRUE(leftToDo("usr/bin/zolvex").ends_with("sudo zypper remove zolvex"));
  files.make("usr/bin/dnf");
  EXPECT_TRUE(leftToDo("usr/bin/zolvex").ends_with("sudo dnf remove zolvex"));
}

TEST_F(InstallationTest, aFlatpakIsLeftToFlatpak) {
  files.make(".flatpak-info");
  EXPECT_TRUE(leftToDo("app/bin/zolvex").ends_with("flatpak uninstall quenmar.zolvex.app"));
}

TEST_F(InstallationTest, whatAnAdministratorInstalledIsLeftToThem) {
  files.make("usr/bin/apt");
  files.make("var/lib/dpkg/info/zolvex.list");
  for (const auto* program : {"usr/local/bin/zolvex", "opt/zolvex/bin/zolvex"}) {
    const auto found = find(program);
    EXPECT_EQ(found.kind, Kind::unknown) << program;
    EXPECT_TRUE(found.files.empty()) << program;
    EXPECT_FALSE(found.leftToDo.empty()) << program;
  }
}

TEST_F(InstallationTest, aPackageThatTheSystemDoesNotKnowIsLeftInPlace) {
  files.make("usr/bin/apt");
  files.make("var/lib/dpkg/info/other.list");
  EXPECT_EQ(find("usr/bin/zolvex").kind, Kind::unknown);
}

TEST_F(InstallationTest, aProgramThatIsGoneLeavesNothingToBeMoved) {
  const auto found = Installation::find({std::nullopt, std::nullopt, files / "home", files.root()});
  EXPECT_EQ(found.kind, Kind::unknown);
  EXPECT_EQ(found.leftToDo, "Zolvex itself is still installed. Remove it the way it was installed.");
}

}  // namespace
}  // namespace zolvex::test
