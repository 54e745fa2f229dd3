#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zolvex {

/// `text` without white space and line ends (the Unicode ones included) at both ends. Bytes that are not UTF-8 count
/// as neither.
std::string_view trimmed(std::string_view text);

/// ASCII letters changed, everything else kept.
std::string lowercased(std::string_view text);
std::string uppercased(std::string_view text);

/// Whether the bytes are well-formed UTF-8 (RFC 3629: no overlong forms, no surrogates, nothing above U+10FFFF).
bool isUtf8(std::string_view bytes);

/// The first `count` characters (code points) of well-formed UTF-8, or all when there are fewer.
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// Text from outside, made fit for a log line: control characters and malformed bytes as "\xNN", cut to `longest`
/// characters.
std::string escapedForLog(std::string_view text, std::size_t longest = 64);

}  // namespace zolvex
