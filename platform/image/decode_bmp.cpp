// Windows and OS/2 bitmaps, uncompressed: 1, 4 and 8 bits through a palette,
// 16 and 32 bits with or without channel masks, and 24 bits; rows bottom to
// top or (negative height) top to bottom.
#include <bit>
#include <cstdlib>

#include "platform/image/image_formats.h"

namespace so3d::image::detail {
namespace {

constexpr std::uint32_t bi_rgb = 0, bi_bitfields = 3, bi_alphabitfields = 6;

// One channel of a masked pixel, stretched to eight bits; no mask means full.
struct Channel {
  std::uint32_t mask = 0;
  int shift = 0;
  std::uint32_t top = 0;  // the largest value the channel can hold

  explicit Channel(std::uint32_t m) : mask(m) {
    if (!m) return;
    shift = std::countr_zero(m);
    top = m >> shift;
  }
  std::uint8_t operator()(std::uint32_t pixel, std::uint8_t none) const {
    if (!mask) return none;
    return std::uint8_t((std::uint64_t((pixel & mask) >> shift) * 255 + top / 2) / top);
  }
};

}  // namespace

Status decode_bmp(const std::uint8_t* data, std::size_t size, Picture& out) {
  if (size < 26) return Status::not_an_image;
  const std::uint32_t pixels_at = le32(data + 10);
  const std::uint32_t header = le32(data + 14);
  std::int64_t width = 0, height = 0;
  std::uint32_t bits = 0, compression = bi_rgb, colours = 0, entry = 4;
  if (header == 12) {  // OS/2 1.x: 16-bit sizes, three-byte palette entries
    width = le16(data + 18);
    height = le16(data + 20);
    bits = le16(data + 24);
    entry = 3;
  } else if (header >= 40 && header <= 124 && size >= 54) {
    width = std::int32_t(le32(data + 18));
    height = std::int32_t(le32(data + 22));
    bits = le16(data + 28);
    compression = le32(data + 30);
    colours = le32(data + 46);
  } else {
    return Status::not_an_image;
  }
  if (width <= 0 || height == 0) return Status::not_an_image;
  const bool top_down = height < 0;
  const std::int64_t rows = std::llabs(height);

  std::uint32_t masks[4] = {};  // red, green, blue, alpha
  std::size_t palette_at = 14 + std::size_t(header);
  if (bits == 16) {
    masks[0] = 0x7C00, masks[1] = 0x03E0, masks[2] = 0x001F;
  } else if (bits == 32) {
    masks[0] = 0xFF0000, masks[1] = 0xFF00, masks[2] = 0xFF, masks[3] = 0xFF000000;
  }
  if (compression == bi_bitfields || compression == bi_alphabitfields) {
    // The masks sit at byte 54 whether the header holds them or they follow it.
    const bool alpha = compression == bi_alphabitfields || header >= 56;
    if ((bits != 16 && bits != 32) || size < (alpha ? 70u : 66u)) return Status::not_an_image;
    for (int i = 0; i < 3; ++i) masks[i] = le32(data + 54 + 4 * i);
    masks[3] = alpha ? le32(data + 66) : 0;
    if (header == 40) palette_at += alpha ? 16 : 12;
  } else if (compression != bi_rgb) {
    return Status::not_an_image;  // run-length and embedded JPEG or PNG bitmaps are not read
  }
  if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32) return Status::not_an_image;

  const Status sized = size_picture(out, width, rows, size, 8);
  if (sized != Status::ok) return sized;
  const std::uint64_t stride = (std::uint64_t(width) * bits + 31) / 32 * 4;
  if (pixels_at > size || stride * std::uint64_t(rows) > size - pixels_at) {
    out = Picture{};
    return Status::not_an_image;
  }

  std::size_t palette_size = 0;
  if (bits <= 8) {
    palette_size = colours && colours < (1u << bits) ? colours : (1u << bits);
    const std::size_t room = palette_at < size ? (size - palette_at) / entry : 0;
    if (palette_size > room) palette_size = room;
  }
  const Channel red(masks[0]), green(masks[1]), blue(masks[2]), alpha(masks[3]);

  for (std::int64_t r = 0; r < rows; ++r) {
    const std::uint8_t* src = data + pixels_at + std::size_t(r) * stride;
    const std::int64_t y = top_down ? r : rows - 1 - r;
    std::uint8_t* dst = out.bgra.data() + std::size_t(y) * std::size_t(width) * 4;
    for (std::int64_t x = 0; x < width; ++x, dst += 4) {
      if (bits <= 8) {
        const std::uint64_t bit = std::uint64_t(x) * bits;
        const unsigned index = (src[bit / 8] >> (8 - bits - bit % 8)) & ((1u << bits) - 1);
        if (index < palette_size) {
          const std::uint8_t* c = data + palette_at + std::size_t(index) * entry;
          dst[0] = c[0], dst[1] = c[1], dst[2] = c[2];
        }
        dst[3] = 255;
      } else if (bits == 24) {
        const std::uint8_t* c = src + x * 3;
        dst[0] = c[0], dst[1] = c[1], dst[2] = c[2], dst[3] = 255;
      } else {
        const std::uint32_t pixel = bits == 16 ? le16(src + x * 2) : le32(src + x * 4);
        dst[0] = blue(pixel, 0), dst[1] = green(pixel, 0), dst[2] = red(pixel, 0), dst[3] = alpha(pixel, 255);
      }
    }
  }
  if (bits == 32) opaque_if_alpha_unused(out);
  return Status::ok;
}

}  // namespace so3d::image::detail
