#include "platform/linux/uninstall/HomeTraces.h"
#include "platform/uninstall/FileTree.h"

#include <QByteArray>
#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using Content = std::set<std::string>;

struct HomeTracesTest : testing::Test {
  HomeTracesTest() {
    for (const auto* name : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"}) qunsetenv(name);
    qputenv("HOME", QByteArray::fromStdString((files / "home").string()));
    files.makeFolder("home");
  }
  ~HomeTracesTest() override { qputenv("HOME", home_); }

  FileTree files;

 private:
  const QByteArray home_ = qgetenv("HOME");
};

TEST_F(HomeTracesTest, foldersOfOurOwnGoWithAllThatIsInThem) {
  files.make("home/.config/zolvex/settings.json.damaged-20260101-000000");
  files.make("home/.config/zolvex/instance.lock");
  files.make("home/.local/state/zolvex/x/y");
  files.make("home/.cache/zolvex/qmlcache/z");
  files.make("home/.config/other/file");
  EXPECT_EQ(HomeTraces::standard().remove(), std::nullopt);
  EXPECT_EQ(files.contentOf("home/.config"), (Content{"other", "other/file"}));
  EXPECT_EQ(files.contentOf("home/.local/state"), Content{});
  EXPECT_EQ(files.contentOf("home/.cache"), Content{});
}

TEST_F(HomeTracesTest, theUsersOwnPlacesCount) {
  qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString((files / "config").string()));
  qputenv("XDG_STATE_HOME", QByteArray::fromStdString((files / "state").string()));
  qputenv("XDG_CACHE_HOME", QByteArray::fromStdString((files / "cache").string()));
  for (const auto* path : {"config/zolvex/a", "state/zolvex/b", "cache/zolvex/c", "home/.config/zolvex/d"})
    files.make(path);
  EXPECT_EQ(HomeTraces::standard().remove(), std::nullopt);
  EXPECT_FALSE(files.has("config/zolvex") || files.has("state/zolvex") || files.has("cache/zolvex"));
  EXPECT_TRUE(files.has("home/.config/zolvex/d")) << "another Zolvex's";
}

TEST_F(HomeTracesTest, foldersOfOthersGoOnlyWhenTheyAreEmpty) {
  files.makeFolder("home/.config/systemd/user/graphical-session.target.wants");
  files.make("home/.config/autostart/other.desktop");
  EXPECT_EQ(HomeTraces::standard().remove(), std::nullopt);
  EXPECT_EQ(files.contentOf("home/.config"), (Content{"autostart", "autostart/other.desktop"}));
  files.make("home/.config/systemd/user/other.service");
  EXPECT_EQ(HomeTraces::standard().remove(), std::nullopt);
  EXPECT_TRUE(files.has("home/.config/systemd/user/other.service"));
}

TEST_F(HomeTracesTest, aFolderThatIsALinkGoesWithOurFilesBehindIt) {
  files.make("dotfiles/zolvex/settings.json");
  files.make("dotfiles/zolvex/settings.json.damaged-20260101-000000");
  files.make("dotfiles/zolvex/instance.lock");
  files.makeFolder("home/.config");
  std::filesystem::create_symlink(files / "dotfiles/zolvex", files / "home/.config/zolvex");
  EXPECT_EQ(HomeTraces::standard().remove(), std::nullopt);
  EXPECT_FALSE(files.has("home/.config/zolvex"));
  EXPECT_EQ(files.contentOf("dotfiles"), Content{});
}

TEST_F(HomeTracesTest, whatElseIsBehindALinkStays) {
  files.make("precious/settings.json");
  files.make("precious/file");
  files.make("precious/folder/settings.json");
  files.makeFolder("home/.config");
  files.makeFolder("home/.cache");
  std::filesystem::create_symlink(files / "precious", files / "home/.config/zolvex");
  std::filesystem::create_symlink(files / "precious/folder/..", files / "home/.cache/zolvex");
  EXPECT_EQ(HomeTraces::standard().remove(), std::nullopt);
  EXPECT_EQ(files.contentOf("precious"), (Content{"file", "folder", "folder/settings.json"}));
  EXPECT_FALSE(files.has("home/.config/zolvex") || files.has("home/.cache/zolvex"));
}

TEST_F(HomeTracesTest, aHomeWithoutAnythingOfOursStaysAsItIs) {
  files.make("home/file");
  EXPECT_EQ(HomeTraces::standard().remove(), std::nullopt);
  EXPECT_EQ(files.contentOf("home"), Content{"file"});
}

TEST_F(HomeTracesTest, aFolderThatCannotGoIsNamedAndTheOthersGo) {
  HomeTraces traces = HomeTraces::standard();
  traces.own.insert(traces.own.begin(), "/proc/self/fd");
  files.make("home/.cache/zolvex/c");
  const auto failure = traces.remove();
  ASSERT_TRUE(failure);
  EXPECT_TRUE(failure->starts_with("cannot remove /proc/self/fd: ")) << *failure;
  EXPECT_FALSE(files.has("home/.cache/zolvex"));
}

}  // namespace
}  // namespace zolvex::test
