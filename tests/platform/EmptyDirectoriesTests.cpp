#include "platform/linux/AtomicFile.h"
#include "platform/uninstall/FileTree.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using Content = std::set<std::string>;

struct EmptyDirectoriesTest : testing::Test {
  FileTree files;
};

TEST_F(EmptyDirectoriesTest, goUpToTheTop) {
  files.makeFolder("top/lib/systemd/user");
  files.make("top/lib/other");
  removeEmptyDirectories(files / "top/lib/systemd/user", files / "top");
  EXPECT_EQ(files.contentOf("top"), (Content{"lib", "lib/other"}));
  std::filesystem::remove(files / "top/lib/other");
  removeEmptyDirectories(files / "top/lib", files / "top");
  EXPECT_TRUE(files.has("top"));
}

TEST_F(EmptyDirectoriesTest, thatAreLinksStay) {
  files.makeFolder("elsewhere");
  files.makeFolder("top");
  std::filesystem::create_directory_symlink(files / "elsewhere", files / "top/share");
  removeEmptyDirectories(files / "top/share", files / "top");
  EXPECT_TRUE(files.has("top/share") && files.has("elsewhere"));
}

}  // namespace
}  // namespace zolvex::test
