#pragma once

#include "core/UserDefaults.h"

#include <QSettings>
#include <QVariant>

#include <optional>

namespace zolvex::settingsFormat {

/// The registered QSettings format: one JSON object, its members the settings, with their real JSON types.
QSettings::Format jsonFormat();

/// The members of the JSON object in `bytes`; an empty text is an empty object. None when it is anything else.
std::optional<QSettings::SettingsMap> parse(const QByteArray& bytes);

QVariant toVariant(const DefaultsValue& value);

/// std::monostate for whatever no setting can be.
DefaultsValue fromVariant(const QVariant& value);

}  // namespace zolvex::settingsFormat
