#pragma once
// Fixed widths of the foundation's integer types: its "long" is 32 bits on
// every platform the module targets.
#include <cstdint>

using zInt32 = std::int32_t;
using zUInt32 = std::uint32_t;

// A four-character code, first character in the most significant byte.
constexpr std::uint32_t zFourCC(const char (&s)[5]) {
  return (std::uint32_t(std::uint8_t(s[0])) << 24) | (std::uint32_t(std::uint8_t(s[1])) << 16) |
         (std::uint32_t(std::uint8_t(s[2])) << 8) | std::uint32_t(std::uint8_t(s[3]));
}
