#include "platform/linux/BluezProperties.h"

#include <utility>

namespace zolvex {

namespace {

template <class Wire, class Value = std::int64_t>
BluezValue readAs(sd_bus_message* message, char type) {
  Wire value{};
  if (sd_bus_message_read_basic(message, type, &value) <= 0) return {};
  return Value(value);
}

/// The contents of a variant. What is of another type is not read.
BluezValue readContents(sd_bus_message* message, std::string_view type) {
  if (type == "b") return readAs<int, bool>(message, SD_BUS_TYPE_BOOLEAN);
  if (type == "s") return readAs<const char*, std::string>(message, SD_BUS_TYPE_STRING);
  if (type == "o") return readAs<const char*, std::string>(message, SD_BUS_TYPE_OBJECT_PATH);
  if (type == "n") return readAs<std::int16_t>(message, SD_BUS_TYPE_INT16);
  if (type == "i") return readAs<std::int32_t>(message, SD_BUS_TYPE_INT32);
  return {};
}

}  // namespace

BluezValue readBluezValue(sd_bus_message* message) {
  char kind = 0;
  const char* contents = nullptr;
  if (sd_bus_message_peek_type(message, &kind, &contents) <= 0 || kind != SD_BUS_TYPE_VARIANT) return {};
  const std::string type = contents;
  if (type != "b" && type != "s" && type != "o" && type != "n" && type != "i") {
    sd_bus_message_skip(message, "v");
    return {};
  }
  if (sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, type.c_str()) <= 0) return {};
  auto value = readContents(message, type);
  sd_bus_message_exit_container(message);
  return value;
}

bool BluezProperties::read(sd_bus_message* message) {
  if (sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sv}") <= 0) return false;
  while (sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv") > 0) {
    const char* name = nullptr;
    if (sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &name) <= 0) return false;
    if (auto value = readBluezValue(message); value.index() != 0) values_.insert_or_assign(name, std::move(value));
    sd_bus_message_exit_container(message);
  }
  return sd_bus_message_exit_container(message) >= 0;
}

void BluezProperties::merge(BluezProperties newer) {
  for (auto& [name, value] : newer.values_) values_.insert_or_assign(name, std::move(value));
}

}  // namespace zolvex
