#include "tests/support/test_images.h"

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

namespace so3d::test {
namespace {

void append(void* context, void* data, int size) {
  static_cast<std::string*>(context)->append(static_cast<const char*>(data), std::size_t(size));
}

}  // namespace

TestImage TestImage::Filled(int width, int height, Rgba colour) {
  return TestImage{width, height, std::vector<Rgba>(std::size_t(width) * std::size_t(height), colour)};
}

TestImage TestImage::Quadrants(int width, int height, Rgba tl, Rgba tr, Rgba bl, Rgba br) {
  TestImage image = Filled(width, height, tl);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const bool right = x >= width / 2, bottom = y >= height / 2;
      image.pixels[std::size_t(y) * std::size_t(width) + std::size_t(x)] =
          bottom ? (right ? br : bl) : (right ? tr : tl);
    }
  return image;
}

std::string EncodePng(const TestImage& image) {
  std::string out;
  stbi_write_png_to_func(append, &out, image.width, image.height, 4, image.pixels.data(), image.width * 4);
  return out;
}

std::string EncodeBmp(const TestImage& image) {
  std::string out;
  stbi_write_bmp_to_func(append, &out, image.width, image.height, 4, image.pixels.data());
  return out;
}

}  // namespace so3d::test
