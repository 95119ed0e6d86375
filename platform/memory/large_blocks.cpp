#include "platform/memory/large_blocks.h"

#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace so3d {

void advise_large_block(const void* data, std::size_t bytes) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  constexpr std::uintptr_t page = std::uintptr_t{2} << 20;
  if (!data || bytes < 2 * page) return;
  // Only whole huge pages inside the block: the hint must not reach memory
  // that belongs to someone else.
  const std::uintptr_t begin = (reinterpret_cast<std::uintptr_t>(data) + page - 1) & ~(page - 1);
  const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(data) + bytes) & ~(page - 1);
  if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
  (void)data;
  (void)bytes;
#endif
}

}  // namespace so3d
