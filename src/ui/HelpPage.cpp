#include "ui/HelpPage.h"

#include "ui/AboutPresentation.h"

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace zolvex {

namespace {

bool isLetterOrDigit(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9');
}

bool mayBeInUrl(char character) {
  return isLetterOrDigit(character) || std::string_view("-._~:/?#[]@!$&'()*+,;=%").find(character) != std::string::npos;
}

/// Of the web, with a host.
bool isUrl(std::string_view text) {
  const auto scheme = text.starts_with("https://") ? 8u : text.starts_with("http://") ? 7u : 0u;
  if (scheme == 0 || text.size() == scheme) return false;
  return isLetterOrDigit(text[scheme]) && std::all_of(text.begin(), text.end(), mayBeInUrl);
}

std::string fileUrl(std::string_view path) {
  std::string url = "file://";
  for (const char character : path) {
    const bool isPlain = isLetterOrDigit(character) || std::string_view("-._~/+").find(character) != std::string::npos;
    url += isPlain ? std::string(1, character) : fmt::format("%{:02X}", static_cast<unsigned char>(character));
  }
  return url;
}

}  // namespace

HelpPage::HelpPage(std::string site, std::vector<std::string> installed)
    : site_(std::move(site)), installed_(std::move(installed)) {}

std::optional<std::string> HelpPage::address() const {
  if (!site_.empty()) return addressOnSite();
  std::error_code ignored;
  for (const std::filesystem::path page : installed_)
    if (const auto normal = page.lexically_normal(); std::filesystem::is_regular_file(normal, ignored))
      return fileUrl(normal.string());
  return std::nullopt;
}

std::optional<std::string> HelpPage::addressOnSite() const {
  const auto end = site_.find_last_not_of('/');
  auto url = site_.substr(0, end == std::string::npos ? 0 : end + 1) + std::string(helpPath);
  return isUrl(url) ? std::optional(std::move(url)) : std::nullopt;
}

}  // namespace zolvex
