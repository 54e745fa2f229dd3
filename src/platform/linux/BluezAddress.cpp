#include "platform/linux/BluezAddress.h"

#include <QStringList>

#include <algorithm>

namespace zolvex {

namespace {

constexpr qsizetype groupCount = 6;

bool isHexadecimal(QChar c) {
  return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'F');
}

bool isGroup(const QString& text) {
  return text.size() == 2 && std::all_of(text.begin(), text.end(), isHexadecimal);
}

}  // namespace

std::optional<QString> bluezAddress(const QString& text) {
  const auto groups = text.toUpper().split(text.contains(u'-') ? u'-' : u':');
  if (groups.size() != groupCount || !std::all_of(groups.begin(), groups.end(), isGroup)) return std::nullopt;
  return groups.join(u':');
}

std::optional<QString> bluezAddress(const std::string& text) {
  return bluezAddress(QString::fromStdString(text));
}

std::string printedAddress(QString bluezAddress) {
  return bluezAddress.replace(u':', u'-').toStdString();
}

}  // namespace zolvex
