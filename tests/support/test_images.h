#pragma once
// Small pictures made by the tests themselves, encoded in memory in every
// format the decoder reads, so no sample image files are needed.
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
std::string EncodeBmp(const TestImage& image);            // 32-bit with alpha, rows bottom to top
std::string EncodeBmpTopDown(const TestImage& image);     // the same, negative height
std::string EncodeTga(const TestImage& image, bool rle);  // 32-bit
std::string EncodeJpeg(const TestImage& image);           // lossy: compare with a tolerance
std::string EncodeGif(const TestImage& image);            // up to 256 colours, alpha 0 transparent
std::string EncodeTiff(const TestImage& image);           // RGBA, unassociated alpha

// Gives a PNG chunk that the test changed its right checksum again.
void FixPngChecksum(std::string& png, std::size_t chunk_at);

}  // namespace so3d::test
