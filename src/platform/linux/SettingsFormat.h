#pragma once

#include "core/UserDefaults.h"

#include <QJsonValue>

/// Settings as the members of a JSON object, with their real JSON types.
namespace zolvex::settingsFormat {

QJsonValue toJson(const DefaultsValue& value);

/// std::monostate for whatever no setting can be.
DefaultsValue fromJson(const QJsonValue& value);

}  // namespace zolvex::settingsFormat
