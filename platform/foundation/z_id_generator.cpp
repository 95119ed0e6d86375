#include "platform/foundation/z_id_generator.h"

#include <atomic>

std::int32_t zIDGenerator::Generate(std::uint32_t /*kind*/) {
  static std::atomic<std::uint32_t> next{0};
  // Keep ids in 1..INT32_MAX so that 0 ("no id") and negative statuses never
  // collide with a real id, even after wrapping.
  const std::uint32_t n = next.fetch_add(1, std::memory_order_relaxed);
  return static_cast<std::int32_t>(n % 0x7FFFFFFFu) + 1;
}
