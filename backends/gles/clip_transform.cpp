#include "backends/gles/clip_transform.h"

namespace so3d::gles {

D3DMATRIX Multiply(const D3DMATRIX& a, const D3DMATRIX& b) {
  D3DMATRIX out{};
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) {
      float sum = 0;
      for (int k = 0; k < 4; ++k) sum += a.m[r][k] * b.m[k][c];
      out.m[r][c] = sum;
    }
  return out;
}

std::array<float, 16> ClipMatrix(const D3DMATRIX& world, const D3DMATRIX& view, const D3DMATRIX& projection,
                                 unsigned width, unsigned height) {
  const D3DMATRIX m = Multiply(Multiply(world, view), projection);
  // A shade under half a pixel (63/128), so that a pixel centre lying on an
  // edge goes to the triangle Direct3D's top-left rule gives it to, whatever
  // GL's own tie rule is. 2/size is one pixel in normalised units.
  constexpr float shift = 63.0f / 128.0f;
  const float dx = width ? 2.0f * shift / float(width) : 0.0f;
  const float dy = height ? 2.0f * shift / float(height) : 0.0f;
  std::array<float, 16> out{};
  for (int r = 0; r < 4; ++r) {
    const float w = m.m[r][3];
    out[std::size_t(r * 4 + 0)] = m.m[r][0] + w * dx;
    out[std::size_t(r * 4 + 1)] = m.m[r][1] - w * dy;
    out[std::size_t(r * 4 + 2)] = 2.0f * m.m[r][2] - w;
    out[std::size_t(r * 4 + 3)] = w;
  }
  return out;
}

}  // namespace so3d::gles
