#pragma once
// A video picture in planar Y'CbCr, as decoders and capture devices hand
// them over: what GlesDevice::ConvertYuv turns into a screen texture.
#include <cstddef>
#include <cstdint>

namespace so3d::gles {

enum class YuvLayout {
  i420,    // 4:2:0: Y', then Cb and Cr at half width and height
  nv12,    // 4:2:0: Y', then Cb and Cr interleaved at half width and height
  yuv444,  // 4:4:4: Y', Cb and Cr at full size
};
enum class YuvMatrix { bt601, bt709 };

struct YuvPicture {
  YuvLayout layout = YuvLayout::i420;
  YuvMatrix matrix = YuvMatrix::bt601;
  bool full_range = false;  // else video range: Y' 16-235, Cb and Cr 16-240
  unsigned width = 0, height = 0;
  // Y', Cb, Cr (NV12: the interleaved pairs in planes[1], planes[2] unused)
  // and the bytes from one row to the next of each.
  const std::uint8_t* planes[3] = {};
  std::size_t strides[3] = {};
};

}  // namespace so3d::gles
