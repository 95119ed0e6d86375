// Targa pictures: colour-mapped, true-colour and grey, plain or run-length
// encoded, in any of the four corner orders.
#include "platform/image/image_formats.h"

namespace so3d::image::detail {
namespace {

struct Layout {
  bool mapped = false, grey = false, rle = false;
  unsigned pixel_bytes = 0;
  unsigned bits = 0;
  // Colour map: its first index, its length and the size of one entry.
  unsigned map_first = 0, map_length = 0, map_bits = 0;
  const std::uint8_t* map = nullptr;
  bool alpha_bit = false;  // 16-bit pixels carry a one-bit alpha
};

void put_true_colour(const std::uint8_t* p, unsigned bits, bool alpha_bit, std::uint8_t* out) {
  if (bits == 15 || bits == 16) {
    const std::uint32_t v = le16(p);
    const auto five = [](std::uint32_t c) { return std::uint8_t((c << 3) | (c >> 2)); };
    out[0] = five(v & 31), out[1] = five((v >> 5) & 31), out[2] = five((v >> 10) & 31);
    out[3] = alpha_bit && bits == 16 && !(v & 0x8000) ? 0 : 255;
    return;
  }
  out[0] = p[0], out[1] = p[1], out[2] = p[2];
  out[3] = bits == 32 ? p[3] : 255;
}

void put_pixel(const Layout& l, const std::uint8_t* p, std::uint8_t* out) {
  if (l.grey) {
    out[0] = out[1] = out[2] = p[0];
    out[3] = l.bits == 16 ? p[1] : 255;
  } else if (l.mapped) {
    const unsigned index = l.bits == 8 ? p[0] : le16(p);
    if (index < l.map_first || index - l.map_first >= l.map_length) {
      out[0] = out[1] = out[2] = 0, out[3] = 255;
      return;
    }
    put_true_colour(l.map + (index - l.map_first) * ((l.map_bits + 7) / 8), l.map_bits, l.alpha_bit, out);
  } else {
    put_true_colour(p, l.bits, l.alpha_bit, out);
  }
}

bool valid_colour_bits(unsigned bits) { return bits == 15 || bits == 16 || bits == 24 || bits == 32; }

}  // namespace

Status decode_tga(const std::uint8_t* data, std::size_t size, Picture& out) {
  if (size < 18) return Status::not_an_image;
  const unsigned id_length = data[0], map_type = data[1], type = data[2], descriptor = data[17];
  Layout l;
  l.map_first = le16(data + 3), l.map_length = le16(data + 5), l.map_bits = data[7];
  const std::uint32_t width = le16(data + 12), height = le16(data + 14);
  l.bits = data[16];
  l.rle = type >= 9;
  l.mapped = (type & 7) == 1, l.grey = (type & 7) == 3;
  l.alpha_bit = (descriptor & 15) != 0;
  const bool known = type == 1 || type == 2 || type == 3 || type == 9 || type == 10 || type == 11;
  if (!known || map_type > 1 || width == 0 || height == 0) return Status::not_an_image;
  if (l.mapped ? map_type != 1 || (l.bits != 8 && l.bits != 16) || !valid_colour_bits(l.map_bits)
      : l.grey ? l.bits != 8 && l.bits != 16
               : !valid_colour_bits(l.bits))
    return Status::not_an_image;
  l.pixel_bytes = (l.bits + 7) / 8;

  const std::size_t map_at = 18 + id_length;
  const std::size_t map_bytes = map_type ? std::size_t(l.map_length) * ((l.map_bits + 7) / 8) : 0;
  if (map_at + map_bytes > size) return Status::not_an_image;
  l.map = data + map_at;
  if (!l.mapped) l.map_length = 0;
  const std::uint8_t* at = data + map_at + map_bytes;
  const std::uint8_t* const end = data + size;

  // A run packet repeats one pixel up to 128 times for a header byte and the pixel.
  const Status sized = size_picture(out, width, height, size, l.rle ? 64 : 1);
  if (sized != Status::ok) return sized;

  const bool top_first = descriptor & 0x20, right_first = descriptor & 0x10;
  const std::size_t count = std::size_t(width) * height;
  const auto place = [&](std::size_t i) {
    const std::size_t row = i / width, column = i % width;
    const std::size_t y = top_first ? row : height - 1 - row, x = right_first ? width - 1 - column : column;
    return out.bgra.data() + (y * width + x) * 4;
  };
  for (std::size_t i = 0; i < count;) {
    std::size_t run = 1;
    bool repeat = false;
    if (l.rle) {
      if (at == end) break;
      repeat = *at & 0x80;
      run = std::size_t(*at++ & 0x7F) + 1;
    }
    if (run > count - i) run = count - i;
    const std::size_t needed = repeat ? l.pixel_bytes : run * l.pixel_bytes;
    if (std::size_t(end - at) < needed) break;
    for (std::size_t k = 0; k < run; ++k, ++i) put_pixel(l, repeat ? at : at + k * l.pixel_bytes, place(i));
    at += needed;
    if (i == count) {
      opaque_if_alpha_unused(out);
      return Status::ok;
    }
  }
  out = Picture{};
  return Status::not_an_image;
}

}  // namespace so3d::image::detail
