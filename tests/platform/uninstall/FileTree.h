#pragma once

#include <QTemporaryDir>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace zolvex::test {

/// A temporary folder in which a test makes files.
class FileTree {
 public:
  /// Free of links.
  const std::filesystem::path& root() const { return root_; }
  std::filesystem::path operator/(const std::string& path) const { return root_ / path; }

  std::filesystem::path make(const std::string& path) const {
    const auto file = root_ / path;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << "content";
    return file;
  }
  void makeFolder(const std::string& path) const { std::filesystem::create_directories(root_ / path); }
  bool has(const std::string& path) const {
    return std::filesystem::exists(std::filesystem::symlink_status(root_ / path));
  }

  /// Paths of everything below `folder`, seen from there.
  std::set<std::string> contentOf(const std::string& folder) const {
    std::set<std::string> content;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root_ / folder))
      content.insert(entry.path().lexically_relative(root_ / folder).string());
    return content;
  }

 private:
  QTemporaryDir directory_;
  std::filesystem::path root_ = std::filesystem::canonical(directory_.path().toStdString());
};

}  // namespace zolvex::test
