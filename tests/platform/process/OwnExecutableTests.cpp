#include "platform/linux/OwnExecutable.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace zolvex {
namespace {

namespace fs = std::filesystem;

/// A directory with a link as the kernel keeps one for each process.
class OwnExecutableTest : public testing::Test {
 protected:
  OwnExecutableTest() {
    std::string pattern = fs::temp_directory_path() / "zolvex-own-XXXXXX";
    directory = mkdtemp(pattern.data());
  }
  ~OwnExecutableTest() override { fs::remove_all(directory); }

  std::optional<std::string> withLinkTo(const std::string& target) {
    fs::create_symlink(target, directory / "exe");
    return ownExecutable(directory / "exe");
  }
  std::string makeFile(const std::string& name) {
    std::ofstream(directory / name) << "program";
    return directory / name;
  }

  fs::path directory;
};

TEST_F(OwnExecutableTest, isTheFileThisProcessRuns) {
  const auto path = ownExecutable();
  ASSERT_TRUE(path);
  EXPECT_TRUE(fs::equivalent(*path, "/proc/self/exe"));
}

TEST_F(OwnExecutableTest, afterAnUpgradeItIsTheNewFile) {
  const auto file = makeFile("zolvex");
  EXPECT_EQ(withLinkTo(file + " (deleted)"), file);
}

TEST_F(OwnExecutableTest, aFileThatIsReallyCalledSoIsKept) {
  makeFile("zolvex");
  const auto file = makeFile("zolvex (deleted)");
  EXPECT_EQ(withLinkTo(file), file);
}

TEST_F(OwnExecutableTest, afterARemovalThereIsNone) {
  EXPECT_EQ(withLinkTo(directory / "zolvex (deleted)"), std::nullopt);
}

TEST_F(OwnExecutableTest, withoutTheLinkThereIsNone) {
  EXPECT_EQ(ownExecutable(directory / "missing"), std::nullopt);
}

struct ProgramToStart : testing::Test {
  void SetUp() override {
    setenv("APPIMAGE", "/home/anna/Zolvex.AppImage", 1);
    setenv("APPDIR", "/tmp/.mount_Zolvex", 1);
  }
  void TearDown() override {
    unsetenv("APPIMAGE");
    unsetenv("APPDIR");
  }
};

TEST_F(ProgramToStart, isTheImageOfAProgramThatRunsFromOne) {
  EXPECT_EQ(programToStart("/tmp/.mount_Zolvex/usr/bin/zolvex"), "/home/anna/Zolvex.AppImage");
}

TEST_F(ProgramToStart, isTheProgramItselfWhenOnlyItsParentRunsFromAnImage) {
  EXPECT_EQ(programToStart("/usr/bin/zolvex"), "/usr/bin/zolvex");
  EXPECT_EQ(programToStart("/tmp/.mount_Zolvex2/zolvex"), "/tmp/.mount_Zolvex2/zolvex");
  EXPECT_EQ(programToStart(std::nullopt), std::nullopt);
}

}  // namespace
}  // namespace zolvex
