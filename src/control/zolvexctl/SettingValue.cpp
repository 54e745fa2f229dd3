#include "control/zolvexctl/SettingValue.h"

#include "core/Text.h"

#include <array>
#include <optional>
#include <utility>

namespace zolvex::control {

namespace {

std::optional<bool> truth(const std::string& word) {
  for (const auto* yes : {"true", "on", "yes"})
    if (word == yes) return true;
  for (const auto* no : {"false", "off", "no"})
    if (word == no) return false;
  return std::nullopt;
}

std::optional<double> hoursNamed(const std::string& name) {
  constexpr std::array<std::pair<const char*, double>, 5> names{
      {{"1 min", 1.0 / 60}, {"5 min", 5.0 / 60}, {"1 hour", 1.0}, {"8 hours", 8.0}, {"when locked", -1.0}}};
  for (const auto& [known, hours] : names)
    if (name == known) return hours;
  return std::nullopt;
}

std::optional<double> number(const QString& text) {
  bool isNumber = false;
  const double value = text.toDouble(&isNumber);
  return isNumber ? std::optional(value) : std::nullopt;
}

std::optional<double> fraction(const QString& text) {
  const auto parts = text.split(QLatin1Char('/'));
  if (parts.size() == 1) return number(text);
  if (parts.size() != 2) return std::nullopt;
  const auto over = number(parts[0]);
  const auto under = number(parts[1]);
  return over && under && *under != 0 ? std::optional(*over / *under) : std::nullopt;
}

}  // namespace

QVariant settingValue(const std::string& text, const QVariant& current) {
  const auto word = lowercased(trimmed(text));
  if (current.typeId() == QMetaType::Bool)
    if (const auto value = truth(word)) return *value;
  if (current.typeId() == QMetaType::Double) {
    if (const auto hours = hoursNamed(word)) return *hours;
    if (const auto value = fraction(QString::fromStdString(word))) return *value;
  }
  return QString::fromStdString(text);
}

}  // namespace zolvex::control
