#pragma once
// Image files for the texture loader: decodes PNG, JPEG, GIF (first frame),
// TIFF, BMP and TGA into 32-bit pixels and scales them with a bilinear filter.
// PNG, JPEG, GIF and TIFF go through the maintained system libraries; BMP and
// TGA through small bounded readers of our own. Pixels are four bytes each in the order B, G, R, A, straight (not
// premultiplied) alpha, rows top to bottom with no padding between rows.
//
// Every input is untrusted: before anything is allocated, the declared size
// is held to the limits below and to what the file's bytes could describe at
// the format's best compression. No call throws.
#include <cstddef>
#include <cstdint>
#include <vector>

namespace so3d::image {

enum class Status {
  ok,
  cannot_open,   // missing, not a regular file, or unreadable
  too_large,     // file or declared picture beyond the limits below
  not_an_image,  // unknown format, truncated or corrupt data
  no_memory,
  bad_argument,  // null data, or a target size outside 1..max_side
};

// Limits that keep a hostile header from making us allocate without bound.
inline constexpr std::uint64_t max_file_bytes = std::uint64_t(256) << 20;
inline constexpr std::int32_t max_side = 16384;
inline constexpr std::uint64_t max_pixels = std::uint64_t(1) << 26;  // 256 MiB of pixels

struct Picture {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::vector<std::uint8_t> bgra;  // width * height * 4 bytes
};

// Decodes the image held in `data`. On failure `out` is left empty.
Status Decode(const std::uint8_t* data, std::size_t size, Picture& out);

// Reads the file at `path` (UTF-8) and decodes it.
Status DecodeFile(const char* path, Picture& out);

// Stretches `in` to width × height with a bilinear filter, whatever the aspect
// ratio; colour is weighted by alpha so that transparent pixels do not bleed.
Status Scale(const Picture& in, std::int32_t width, std::int32_t height, Picture& out);

}  // namespace so3d::image
