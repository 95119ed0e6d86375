#include "tools/test_pictures.h"

#include <algorithm>
#include <array>

namespace so3d::tools {

namespace {

// 5 × 7 digits, one row a byte, bit 4 the leftmost column.
constexpr std::array<std::array<std::uint8_t, 7>, 10> digits = {{
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E},
    {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F},
    {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02},
    {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E},
    {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E},
    {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C},
}};

// 75% bars: white, yellow, cyan, green, magenta, red, blue (0xRRGGBB).
constexpr std::array<std::uint32_t, 7> bars = {0xBFBFBF, 0xBFBF00, 0x00BFBF, 0x00BF00, 0xBF00BF, 0xBF0000, 0x0000BF};
// Checker colours per odd screen: 1, 3, 5.
constexpr std::array<std::uint32_t, 3> checker_tints = {0x2060C0, 0xC06020, 0x20A060};

class Canvas {
 public:
  Canvas(unsigned w, unsigned h) : w_(w), h_(h), bytes_(std::size_t(w) * h * 4, 0xFF) {}
  void Put(unsigned x, unsigned y, std::uint32_t rgb) {
    if (x >= w_ || y >= h_) return;
    std::uint8_t* p = bytes_.data() + (std::size_t(y) * w_ + x) * 4;
    p[0] = std::uint8_t(rgb);
    p[1] = std::uint8_t(rgb >> 8);
    p[2] = std::uint8_t(rgb >> 16);
    p[3] = 0xFF;
  }
  void Fill(unsigned x0, unsigned y0, unsigned x1, unsigned y1, std::uint32_t rgb) {
    for (unsigned y = y0; y < std::min(y1, h_); ++y)
      for (unsigned x = x0; x < std::min(x1, w_); ++x) Put(x, y, rgb);
  }
  std::vector<std::uint8_t> Take() { return std::move(bytes_); }
  unsigned w_, h_;

 private:
  std::vector<std::uint8_t> bytes_;
};

void Digit(Canvas& c, int digit, unsigned x0, unsigned y0, unsigned cell, std::uint32_t rgb) {
  const auto& rows = digits[std::size_t(digit % 10)];
  for (unsigned r = 0; r < 7; ++r)
    for (unsigned col = 0; col < 5; ++col)
      if (rows[r] & (0x10 >> col))
        c.Fill(x0 + col * cell, y0 + r * cell, x0 + (col + 1) * cell, y0 + (r + 1) * cell, rgb);
}

}  // namespace

std::vector<std::uint8_t> TestPicture(int screen, unsigned width, unsigned height) {
  Canvas c(width, height);
  if (screen % 2 == 0) {
    for (unsigned x = 0; x < width; ++x) {
      const std::uint32_t bar = bars[std::min<std::size_t>(bars.size() - 1, std::size_t(x) * bars.size() / width)];
      c.Fill(x, 0, x + 1, height * 3 / 4, bar);
      // A grey ramp below the bars shows how levels survive the pipeline.
      const std::uint32_t g = std::uint32_t(x * 255 / std::max(1u, width - 1));
      c.Fill(x, height * 3 / 4, x + 1, height, g << 16 | g << 8 | g);
    }
  } else {
    const std::uint32_t tint = checker_tints[std::size_t(screen / 2) % checker_tints.size()];
    const unsigned square = std::max(1u, std::min(width, height) / 8);
    for (unsigned y = 0; y < height; ++y)
      for (unsigned x = 0; x < width; ++x) c.Put(x, y, ((x / square + y / square) % 2) ? tint : 0xF0F0F0);
  }
  // The screen number in a dark box in the middle.
  const unsigned cell = std::max(1u, std::min(width, height) / 24);
  const unsigned box_w = 9 * cell, box_h = 11 * cell;
  const unsigned bx = width > box_w ? (width - box_w) / 2 : 0, by = height > box_h ? (height - box_h) / 2 : 0;
  c.Fill(bx, by, bx + box_w, by + box_h, 0x101010);
  Digit(c, screen, bx + 2 * cell, by + 2 * cell, cell, 0xFFFFFF);
  // A corner triangle marks the picture's top left.
  const unsigned corner = std::max(2u, std::min(width, height) / 6);
  for (unsigned y = 0; y < corner; ++y) c.Fill(0, y, corner - y, y + 1, 0xFF2020);
  return c.Take();
}

}  // namespace so3d::tools
