// Video pictures converted to screen textures on the device.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "tests/gles/gles_test_support.h"

namespace {

using namespace so3d::test;
using namespace so3d::gles;

// Quadrants of red, green, blue and white as Y'CbCr planes (video range,
// BT.601, or BT.709 full range), converted on the device and drawn.
TEST(GlesDevice, VideoPicturesConvertOnTheDeviceInEveryLayout) {
  SO3D_REQUIRE_DEVICE(device, 16, 16);
  const Rgba colours[4] = {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {255, 255, 255, 255}};
  for (const auto& [layout, matrix, full] : {std::tuple{YuvLayout::i420, YuvMatrix::bt601, false},
                                             {YuvLayout::nv12, YuvMatrix::bt601, false},
                                             {YuvLayout::yuv444, YuvMatrix::bt709, true}}) {
    const bool hd = matrix == YuvMatrix::bt709, half = layout != YuvLayout::yuv444;
    const double kr = hd ? 0.2126 : 0.299, kb = hd ? 0.0722 : 0.114;
    const double ys = full ? 255 : 219, cs = full ? 255 : 224, y0 = full ? 0 : 16;
    std::vector<std::uint8_t> planes[3];
    const unsigned cw = half ? 8 : 16;
    for (auto& plane : planes) plane.assign(16 * 16, 0);
    for (unsigned y = 0; y < 16; ++y)
      for (unsigned x = 0; x < 16; ++x) {
        const Rgba& c = colours[(y / 8) * 2 + x / 8];
        const double r = c[0] / 255.0, g = c[1] / 255.0, b = c[2] / 255.0, luma = kr * r + (1 - kr - kb) * g + kb * b;
        const auto byte = [](double v) { return std::uint8_t(std::clamp(v + 0.5, 0.0, 255.0)); };
        planes[0][y * 16 + x] = byte(y0 + ys * luma);
        const unsigned at = half ? (y / 2) * cw + x / 2 : y * 16 + x;
        const auto cb = byte(128 + cs * (b - luma) / (2 * (1 - kb)));
        const auto cr = byte(128 + cs * (r - luma) / (2 * (1 - kr)));
        if (layout == YuvLayout::nv12) {
          planes[1][2 * at] = cb, planes[1][2 * at + 1] = cr;
        } else {
          planes[1][at] = cb, planes[2][at] = cr;
        }
      }
    YuvPicture picture{layout,
                       matrix,
                       full,
                       16,
                       16,
                       {planes[0].data(), planes[1].data(), planes[2].data()},
                       {16, layout == YuvLayout::nv12 ? 16u : cw, cw}};
    auto texture = Texture(*device, 16, 16, [](unsigned, unsigned) { return 0u; });
    ASSERT_EQ(device->ConvertYuv(picture, texture.get()), D3D_OK) << device->LastError();
    ModuleState(*device, texture.get());
    ASSERT_EQ(DrawQuad(*device), D3D_OK);
    const Frame f = Read(*device);
    for (unsigned q = 0; q < 4; ++q) {
      const Rgba got = f.At(4 + (q % 2) * 8, 4 + (q / 2) * 8);
      for (int i = 0; i < 4; ++i) EXPECT_NEAR(got[i], colours[q][i], 3) << int(layout) << " quadrant " << q;
    }
    picture.width = 8;  // no longer the texture's size
    EXPECT_EQ(device->ConvertYuv(picture, texture.get()), D3DERR_INVALIDCALL);
  }
}

}  // namespace
