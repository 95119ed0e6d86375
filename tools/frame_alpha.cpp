#include "tools/frame_alpha.h"

namespace so3d::tools {

std::uint32_t Premultiplied(std::uint32_t argb) {
  const std::uint32_t a = argb >> 24;
  std::uint32_t out = a << 24;
  for (int shift : {0, 8, 16}) out |= (((argb >> shift) & 0xFF) * a + 127) / 255 << shift;
  return out;
}

void StraightenAlpha(std::vector<std::uint8_t>& rgba, bool keep) {
  if (!keep) {
    for (std::size_t p = 3; p < rgba.size(); p += 4) rgba[p] = 0xFF;
    return;
  }
  for (std::size_t p = 0; p + 3 < rgba.size(); p += 4) {
    const unsigned a = rgba[p + 3];
    if (a == 0xFF) continue;
    for (int c = 0; c < 3; ++c) {
      const unsigned v = a ? (rgba[p + c] * 255u + a / 2) / a : 0;
      rgba[p + c] = std::uint8_t(v > 255 ? 255 : v);
    }
  }
}

}  // namespace so3d::tools
