#pragma once
// The rendered frame's alpha: the device composes it as coverage, with the
// colour premultiplied by it. Outputs carry straight alpha, or none.
#include <cstdint>
#include <vector>

namespace so3d::tools {

// A8R8G8B8 with its colour multiplied by its alpha.
std::uint32_t Premultiplied(std::uint32_t argb);

// R, G, B, A pixels from premultiplied to straight colour when `keep` (a
// pixel of alpha 0 becomes all zero); otherwise every alpha becomes opaque
// and the colour stays as composed over the clear colour.
void StraightenAlpha(std::vector<std::uint8_t>& rgba, bool keep);

}  // namespace so3d::tools
