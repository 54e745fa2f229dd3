#include "core/Version.h"

#include "BuildNumber.h"

namespace zolvex {

std::string_view shortVersion() {
  return ZOLVEX_VERSION;
}

std::string_view buildNumber() {
  return ZOLVEX_BUILD_NUMBER;
}

std::string versionText() {
  return std::string(shortVersion()) + " (" + std::string(buildNumber()) + ")";
}

}  // namespace zolvex
