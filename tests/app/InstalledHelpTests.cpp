#include "app/InstalledHelp.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace zolvex::test {
namespace {

/// A folder in which the program is installed.
struct InstalledHelpTest : testing::Test {
  void SetUp() override {
    if (const auto address = installedHelp({}).address(); address && !address->starts_with("file:"))
      GTEST_SKIP() << "built for the site " << *address;
    std::filesystem::create_directories(page.parent_path());
  }
  ~InstalledHelpTest() override { std::filesystem::remove_all(prefix); }

  static std::string temporaryFolder() {
    std::string name = std::filesystem::temp_directory_path() / "zolvex-prefix-XXXXXX";
    return mkdtemp(name.data());
  }

  const std::filesystem::path prefix = temporaryFolder();
  const std::filesystem::path page = prefix / "share/doc/zolvex/help/index.html";
  const std::string program = prefix / "bin/zolvex";
};

TEST_F(InstalledHelpTest, isTheCopyThatCameWithTheProgramWhereverThatIs) {
  std::ofstream(page) << "help";
  EXPECT_EQ(installedHelp(program).address(), "file://" + page.string());
}

TEST_F(InstalledHelpTest, isFoundFromTheBuildDirectory) {
  const auto address = installedHelp(ZOLVEX).address();
  ASSERT_TRUE(address);
  EXPECT_TRUE(address->starts_with("file://")) << *address;
  EXPECT_TRUE(address->ends_with("/share/doc/zolvex/help/index.html")) << *address;
}

}  // namespace
}  // namespace zolvex::test
