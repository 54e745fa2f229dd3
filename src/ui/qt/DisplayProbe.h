#pragma once

#include <QString>

#include <chrono>

namespace zolvex {

/// What was found of displays. `platform` is that of Qt on which windows can be opened, by its name; empty when there
/// is none. `isSilent`: there is a display, which takes connections and says no more.
struct FoundDisplay {
  QString platform;
  bool isSilent = false;
};

/// How long a display may take to speak before it counts as hung.
inline constexpr std::chrono::milliseconds displayProbeLimit{2'000};

/// Looks for a display which answers and which the installed Qt can talk to, of the kinds that QT_QPA_PLATFORM names,
/// or of any. Qt would end the process where there is none, and wait for ever for one that hangs. Blocks for at most
/// the limit for each kind.
FoundDisplay findDisplay();

}  // namespace zolvex
