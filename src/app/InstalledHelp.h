#pragma once

#include "ui/HelpPage.h"

#include <optional>
#include <string>

namespace zolvex {

/// The help page as this program was built and installed: of its site, or the copy beside `executable`, or at the place
/// that the build was configured for.
HelpPage installedHelp(const std::optional<std::string>& executable);

}  // namespace zolvex
