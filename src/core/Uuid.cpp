#include "core/Uuid.h"

#include <fmt/core.h>

#include <array>
#include <cstdint>
#include <random>

namespace zolvex {

std::string randomUuid() {
  std::random_device entropy;
  std::array<std::uint32_t, 4> words{};
  for (auto& word : words) word = entropy();
  words[1] = (words[1] & 0xFFFF0FFFu) | 0x00004000u;  // version 4
  words[2] = (words[2] & 0x3FFFFFFFu) | 0x80000000u;  // variant 10
  return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:04X}{:08X}", words[0], words[1] >> 16, words[1] & 0xFFFFu,
                     words[2] >> 16, words[2] & 0xFFFFu, words[3]);
}

}  // namespace zolvex
