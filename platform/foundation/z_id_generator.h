#pragma once
#include "platform/foundation/z_export.h"
// zIDGenerator: process-wide unique, non-zero 32-bit ids. Thread-safe.
#include <cstdint>

class Z_API zIDGenerator {
 public:
  // `kind` tags the caller's use (the module passes 'x'); ids are unique
  // across all kinds. Never returns 0 and never a negative value.
  static std::int32_t Generate(std::uint32_t kind);
};
