#include "lab/session/SessionAct.h"

#include <array>
#include <utility>

namespace zolvex::lab {

namespace {

constexpr std::array acts{
    std::pair{"lock", SessionAct::lock},
    std::pair{"unlock", SessionAct::unlock},
    std::pair{"sleep", SessionAct::sleep},
    std::pair{"wake", SessionAct::wake},
    std::pair{"display-off", SessionAct::displayOff},
    std::pair{"display-on", SessionAct::displayOn},
};

}  // namespace

std::optional<SessionAct> sessionActOf(const QString& name) {
  for (const auto& [known, act] : acts)
    if (name == QLatin1String(known)) return act;
  return std::nullopt;
}

QStringList sessionActNames() {
  QStringList names;
  for (const auto& [name, act] : acts) names.append(QLatin1String(name));
  return names;
}

}  // namespace zolvex::lab
