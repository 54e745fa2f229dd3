#include "platform/linux/SettingsFormat.h"

#include <QIODevice>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace zolvex::settingsFormat {

namespace {

bool read(QIODevice& device, QSettings::SettingsMap& map) {
  auto parsed = parse(device.readAll());
  if (parsed) map = std::move(*parsed);
  return parsed.has_value();
}

bool write(QIODevice& device, const QSettings::SettingsMap& map) {
  const auto json = QJsonDocument(QJsonObject::fromVariantMap(map)).toJson(QJsonDocument::Indented);
  return device.write(json) == json.size();
}

bool isText(const QVariant& value) {
  return value.typeId() == QMetaType::QString;
}

DefaultsValue fromList(const QVariantList& list) {
  if (!std::all_of(list.begin(), list.end(), isText)) return std::monostate();
  StringArray texts;
  for (const auto& item : list) texts.push_back(item.toString().toStdString());
  return texts;
}

DefaultsValue fromMap(const QVariantMap& map) {
  if (!std::all_of(map.begin(), map.end(), isText)) return std::monostate();
  StringDictionary texts;
  for (auto item = map.begin(); item != map.end(); ++item)
    texts.emplace(item.key().toStdString(), item.value().toString().toStdString());
  return texts;
}

struct ToVariant {
  QVariant operator()(std::monostate) const { return QVariant::fromValue(nullptr); }
  QVariant operator()(bool value) const { return value; }
  QVariant operator()(double value) const { return value; }
  QVariant operator()(const std::string& value) const { return QString::fromStdString(value); }
  QVariant operator()(const StringArray& value) const {
    QVariantList list;
    for (const auto& text : value) list.append(QString::fromStdString(text));
    return list;
  }
  QVariant operator()(const StringDictionary& value) const {
    QVariantMap map;
    for (const auto& [key, text] : value) map.insert(QString::fromStdString(key), QString::fromStdString(text));
    return map;
  }
};

}  // namespace

QSettings::Format jsonFormat() {
  static const auto format = QSettings::registerFormat(QStringLiteral("json"), read, write);
  return format;
}

std::optional<QSettings::SettingsMap> parse(const QByteArray& bytes) {
  if (bytes.trimmed().isEmpty()) return QSettings::SettingsMap();
  const auto document = QJsonDocument::fromJson(bytes);
  if (!document.isObject()) return std::nullopt;
  return document.object().toVariantMap();
}

QVariant toVariant(const DefaultsValue& value) {
  return std::visit(ToVariant(), value);
}

DefaultsValue fromVariant(const QVariant& value) {
  switch (value.typeId()) {
    case QMetaType::Bool:
      return value.toBool();
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Double:
      return value.toDouble();
    case QMetaType::QString:
      return value.toString().toStdString();
    case QMetaType::QVariantList:
      return fromList(value.toList());
    case QMetaType::QVariantMap:
      return fromMap(value.toMap());
    default:
      return std::monostate();
  }
}

}  // namespace zolvex::settingsFormat
