#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace zolvex {

/// Why something could not be done to a file, for people: "cannot write /home/anna/x: Read-only file system".
using FileFailure = std::optional<std::string>;

/// Makes the file or replaces it, so that it holds either what it held or all of `content`, whatever ends the process
/// or the computer meanwhile. What is being written stands beside it as "NAME.new"; only one at a time may write.
/// Makes missing directories (mode 0700). Blocks for as long as the disk takes.
FileFailure replaceFile(const std::string& path, std::string_view content, mode_t mode);

/// Makes missing directories, mode 0700, as the conventions for configuration directories want it.
FileFailure makeDirectories(const std::string& path);

/// Removes `directory` and those above it as long as they are empty, up to `top`, which stays. One that is a link
/// stays.
void removeEmptyDirectories(std::filesystem::path directory, const std::filesystem::path& top);

/// "cannot DO PATH: REASON" with the reason in errno.
std::string fileFailure(std::string_view whatToDo, const std::string& path);

}  // namespace zolvex
