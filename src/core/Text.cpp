#include "core/Text.h"

#include <algorithm>
#include <cstdint>

namespace zolvex {

namespace {

constexpr char32_t malformed = 0xFFFFFFFF;

struct CodePoint {
  char32_t value;      // or `malformed`
  std::size_t length;  // bytes taken; 1 when malformed
};

std::size_t sequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead < 0xE0) return 2;
  if (lead >= 0xE0 && lead < 0xF0) return 3;
  if (lead >= 0xF0 && lead < 0xF5) return 4;
  return 0;
}

bool isInRange(char32_t value, std::size_t length) {
  if (length == 3) return value >= 0x800 && (value < 0xD800 || value > 0xDFFF);
  if (length == 4) return value >= 0x10000 && value <= 0x10FFFF;
  return true;
}

/// Decodes the first code point of non-empty `bytes`.
CodePoint decode(std::string_view bytes) {
  const auto lead = static_cast<unsigned char>(bytes.front());
  const auto length = sequenceLength(lead);
  if (length == 0 || length > bytes.size()) return {malformed, 1};
  if (length == 1) return {lead, 1};
  char32_t value = lead & (0xFFu >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if ((byte & 0xC0) != 0x80) return {malformed, 1};
    value = (value << 6) | (byte & 0x3Fu);
  }
  return isInRange(value, length) ? CodePoint{value, length} : CodePoint{malformed, 1};
}

/// White space and line ends as Unicode has them (White_Space property).
bool isSpace(char32_t c) {
  return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

bool isControl(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029;
}

/// "\x0a". By hand: this file is part of the worker, which starts faster without a formatting library.
std::string hexadecimal(unsigned char byte) {
  constexpr std::string_view digits = "0123456789abcdef";
  return {'\\', 'x', digits[byte >> 4], digits[byte & 0x0F]};
}

std::string mapped(std::string_view text, char (*map)(char)) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), map);
  return result;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  std::size_t begin = text.size();
  std::size_t end = 0;
  for (std::size_t at = 0; at < text.size();) {
    const auto point = decode(text.substr(at));
    if (!isSpace(point.value)) {
      begin = std::min(begin, at);
      end = at + point.length;
    }
    at += point.length;
  }
  return begin < end ? text.substr(begin, end - begin) : std::string_view{};
}

std::string lowercased(std::string_view text) {
  return mapped(text, [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
}

std::string uppercased(std::string_view text) {
  return mapped(text, [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
}

bool isUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto point = decode(bytes);
    if (point.value == malformed) return false;
    bytes.remove_prefix(point.length);
  }
  return true;
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
  std::size_t at = 0;
  while (count-- > 0 && at < text.size()) at += decode(text.substr(at)).length;
  return text.substr(0, at);
}

std::string escapedForLog(std::string_view text, std::size_t longest) {
  std::string result;
  for (std::size_t count = 0; count < longest && !text.empty(); ++count) {
    const auto point = decode(text);
    for (const char byte : text.substr(0, point.length)) {
      if (point.value == malformed || isControl(point.value))
        result += hexadecimal(static_cast<unsigned char>(byte));
      else
        result += byte;
    }
    text.remove_prefix(point.length);
  }
  return result;
}

}  // namespace zolvex
