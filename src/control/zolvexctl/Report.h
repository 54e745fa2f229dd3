#pragma once

#include <QString>
#include <QVariant>

#include <string>

namespace zolvex::control {

/// How the state of the application is printed: as lines for people, or as JSON. Texts from outside are made fit for
/// a terminal.
namespace report {

/// One text, and all of it: the reason often comes last.
std::string shown(const QString& text);

std::string status(const QVariantMap& state);
std::string statusJson(const QVariantMap& state);

/// `devices` as PairedDevices() returns them. Managed ones come first, then by name.
std::string pairedDevices(const QVariant& devices);
std::string pairedDevicesJson(const QVariant& devices);

std::string peers(const QVariantMap& state);
std::string peersJson(const QVariantMap& state);

std::string settings(const QVariantMap& settings);
std::string settingsJson(const QVariantMap& settings);

/// A single setting.
std::string settingText(const QVariant& value);
std::string settingJson(const QVariant& value);

/// One change of a property.
std::string change(const QString& name, const QVariant& value);
std::string changeJson(const QString& name, const QVariant& value);

/// One log line.
std::string logLine(const QString& category, const QString& message);
std::string logLineJson(const QString& category, const QString& message);

}  // namespace report

}  // namespace zolvex::control
