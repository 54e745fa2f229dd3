// The helpers that touch text from outside keep their promises for any bytes.
#include "core/Text.h"

#include "FuzzCheck.h"

#include <algorithm>
#include <string>

namespace {

using namespace zolvex;

void checkTrimmed(std::string_view text) {
  const auto inner = trimmed(text);
  fuzzCheck(text.find(inner) != std::string_view::npos, "trimming only takes away");
  fuzzCheck(trimmed(inner) == inner, "trimmed text has nothing more to trim");
  fuzzCheck(trimmed(" \r\n\t" + std::string(text) + "\n ") == inner, "more white space around changes nothing");
  if (isUtf8(text)) fuzzCheck(isUtf8(inner), "trimming cuts no character in two");
}

void checkFirstCharacters(std::string_view text) {
  if (!isUtf8(text)) return;
  for (const std::size_t count : {0u, 1u, 6u, 30u}) {
    const auto first = firstCharacters(text, count);
    fuzzCheck(text.starts_with(first) && isUtf8(first), "first characters are whole ones from the start");
    fuzzCheck(first.size() >= std::min(count, text.size()) && first.size() <= 4 * count, "as many as asked for");
  }
}

void checkEscapedForLog(std::string_view text) {
  const auto escaped = escapedForLog(text);
  fuzzCheck(isUtf8(escaped), "a log line is UTF-8");
  fuzzCheck(std::none_of(escaped.begin(), escaped.end(), [](char c) { return (c >= 0 && c < 0x20) || c == 0x7F; }),
            "without control characters");
  fuzzCheck(escaped.size() <= 64 * 12, "of bounded length");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = fuzzText(data, size);
  checkTrimmed(text);
  checkFirstCharacters(text);
  checkEscapedForLog(text);
  fuzzCheck(isUtf8(std::string(text) + "\xC3\xA9") == isUtf8(text), "text stays text when text is added");
  fuzzCheck(lowercased(uppercased(text)) == lowercased(text), "case is only case");
  return 0;
}
