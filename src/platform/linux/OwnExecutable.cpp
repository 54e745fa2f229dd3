#include "platform/linux/OwnExecutable.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace zolvex {

std::optional<std::string> ownExecutable(const std::string& link) {
  constexpr std::string_view deletedMark = " (deleted)";  // appended by the kernel
  std::error_code error;
  auto path = std::filesystem::read_symlink(link, error).string();
  if (error) return std::nullopt;
  if (std::filesystem::exists(path, error)) return path;
  if (!path.ends_with(deletedMark)) return std::nullopt;
  path.resize(path.size() - deletedMark.size());
  return std::filesystem::exists(path, error) ? std::optional(path) : std::nullopt;
}

std::optional<std::string> programToStart(const std::optional<std::string>& executable) {
  const char* image = std::getenv("APPIMAGE");
  const char* mounted = std::getenv("APPDIR");  // both are inherited by whatever an AppImage starts
  const bool isFromImage = image && mounted && executable && executable->starts_with(std::string(mounted) + "/");
  return isFromImage ? std::optional<std::string>(image) : executable;
}

}  // namespace zolvex
