#include "platform/linux/SettingsFormat.h"

#include <QJsonArray>
#include <QJsonObject>

namespace zolvex::settingsFormat {

namespace {

DefaultsValue fromArray(const QJsonArray& array) {
  StringArray texts;
  for (const auto& item : array) {
    if (!item.isString()) return std::monostate();
    texts.push_back(item.toString().toStdString());
  }
  return texts;
}

DefaultsValue fromObject(const QJsonObject& object) {
  StringDictionary texts;
  for (auto item = object.begin(); item != object.end(); ++item) {
    if (!item->isString()) return std::monostate();
    texts.emplace(item.key().toStdString(), item->toString().toStdString());
  }
  return texts;
}

struct ToJson {
  QJsonValue operator()(std::monostate) const { return QJsonValue::Null; }
  QJsonValue operator()(bool value) const { return value; }
  QJsonValue operator()(double value) const { return value; }
  QJsonValue operator()(const std::string& value) const { return QString::fromStdString(value); }
  QJsonValue operator()(const StringArray& value) const {
    QJsonArray array;
    for (const auto& text : value) array.append(QString::fromStdString(text));
    return array;
  }
  QJsonValue operator()(const StringDictionary& value) const {
    QJsonObject object;
    for (const auto& [key, text] : value) object.insert(QString::fromStdString(key), QString::fromStdString(text));
    return object;
  }
};

}  // namespace

QJsonValue toJson(const DefaultsValue& value) {
  return std::visit(ToJson(), value);
}

DefaultsValue fromJson(const QJsonValue& value) {
  switch (value.type()) {
    case QJsonValue::Bool:
      return value.toBool();
    case QJsonValue::Double:
      return value.toDouble();
    case QJsonValue::String:
      return value.toString().toStdString();
    case QJsonValue::Array:
      return fromArray(value.toArray());
    case QJsonValue::Object:
      return fromObject(value.toObject());
    case QJsonValue::Null:
    case QJsonValue::Undefined:
      break;
  }
  return std::monostate();
}

}  // namespace zolvex::settingsFormat
