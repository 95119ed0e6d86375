#pragma once
// A hint for big arrays that are about to be filled: asking the kernel for
// huge pages makes first touches fault a fraction as often. Blocks under
// 4 MiB, and platforms without the hint, are left alone.
#include <cstddef>

namespace so3d {
void advise_large_block(const void* data, std::size_t bytes);
}  // namespace so3d
