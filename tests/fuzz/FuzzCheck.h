#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

/// Ends the run with the broken property's text; libFuzzer keeps the input that broke it.
inline void fuzzCheck(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", property);
  std::abort();
}

/// libFuzzer's input as text; any bytes.
inline std::string_view fuzzText(const std::uint8_t* data, std::size_t size) {
  return size == 0 ? std::string_view() : std::string_view(reinterpret_cast<const char*>(data), size);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
