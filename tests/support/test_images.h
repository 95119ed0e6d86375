#pragma once
// Small pictures made by the tests themselves, encoded in memory as PNG or
// BMP, so no sample image files are needed.
#include <cstdint>
#include <string>
#include <vector>

namespace so3d::test {

struct Rgba {
  std::uint8_t r, g, b, a;
};

struct TestImage {
  int width = 0;
  int height = 0;
  std::vector<Rgba> pixels;  // rows top to bottom

  static TestImage Filled(int width, int height, Rgba colour);
  // Four quadrants: top-left, top-right, bottom-left, bottom-right.
  static TestImage Quadrants(int width, int height, Rgba tl, Rgba tr, Rgba bl, Rgba br);
};

std::string EncodePng(const TestImage& image);
std::string EncodeBmp(const TestImage& image);  // 32-bit with alpha

}  // namespace so3d::test
