#include "ui/SetupPresentation.h"

namespace zolvex {

SetupPresentation presentSetup(std::size_t selectedCount, bool hasPeer) {
  if (selectedCount == 0) return {"Select at least one device to finish setup.", SettingsSection::devices};
  if (!hasPeer) return {"Add your peer Mac to finish setup.", SettingsSection::peer};
  return {"", std::nullopt};
}

}  // namespace zolvex
