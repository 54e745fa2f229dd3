#pragma once

#include <QVariant>

#include <string>

namespace zolvex::control {

/// `text` as a value of the type of `current`: "true", "on", "yes" and their opposites, a number or a fraction
/// ("1/60"), or the names of the settings page ("5 min", "when locked"). As it stands where it is none of these.
QVariant settingValue(const std::string& text, const QVariant& current);

}  // namespace zolvex::control
