#include "tests/support/test_images.h"

#include <gif_lib.h>
#include <tiffio.h>
#include <zlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

#include "tests/support/temp_dir.h"

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

std::string EncodeBmpTopDown(const TestImage& image) {
  TestImage flipped = image;
  const std::size_t row = std::size_t(image.width);
  for (int y = 0; y < image.height; ++y)
    std::copy_n(&image.pixels[std::size_t(image.height - 1 - y) * row], row, &flipped.pixels[std::size_t(y) * row]);
  std::string bmp = EncodeBmp(flipped);
  const std::int32_t height = -image.height;
  bmp.replace(22, 4, reinterpret_cast<const char*>(&height), 4);  // little-endian machine
  return bmp;
}

std::string EncodeTga(const TestImage& image, bool rle) {
  std::string out;
  stbi_write_tga_with_rle = rle ? 1 : 0;
  stbi_write_tga_to_func(append, &out, image.width, image.height, 4, image.pixels.data());
  return out;
}

std::string EncodeJpeg(const TestImage& image) {
  std::string out;
  stbi_write_jpg_to_func(append, &out, image.width, image.height, 4, image.pixels.data(), 95);
  return out;
}

std::string EncodeGif(const TestImage& image) {
  std::vector<GifColorType> colours{{0, 0, 0}};  // index 0: transparent
  std::map<std::uint32_t, GifPixelType> index;
  std::vector<GifPixelType> pixels;
  for (const Rgba& p : image.pixels) {
    if (p.a == 0) {
      pixels.push_back(0);
      continue;
    }
    const std::uint32_t key = std::uint32_t(p.r) << 16 | std::uint32_t(p.g) << 8 | p.b;
    auto [at, added] = index.emplace(key, GifPixelType(colours.size()));
    if (added) colours.push_back({p.r, p.g, p.b});
    pixels.push_back(at->second);
  }
  colours.resize(256);
  std::string out;
  int error = 0;
  GifFileType* gif = EGifOpen(
      &out,
      [](GifFileType* g, const GifByteType* data, int n) {
        static_cast<std::string*>(g->UserData)->append(reinterpret_cast<const char*>(data), std::size_t(n));
        return n;
      },
      &error);
  ColorMapObject* map = GifMakeMapObject(256, colours.data());
  const GifByteType control[4] = {1, 0, 0, 0};  // transparent index 0
  EGifSetGifVersion(gif, true);
  EGifPutScreenDesc(gif, image.width, image.height, 8, 0, map);
  EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, 4, control);
  EGifPutImageDesc(gif, 0, 0, image.width, image.height, false, nullptr);
  for (int y = 0; y < image.height; ++y)
    EGifPutLine(gif, &pixels[std::size_t(y) * std::size_t(image.width)], image.width);
  EGifCloseFile(gif, &error);
  GifFreeMapObject(map);
  return out;
}

std::string EncodeTiff(const TestImage& image) {
  const TempDir dir;
  const std::string path = dir.Write("picture.tif", "");
  TIFF* tiff = TIFFOpen(path.c_str(), "w");
  const std::uint16_t extra = EXTRASAMPLE_UNASSALPHA;
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, std::uint32_t(image.width));
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, std::uint32_t(image.height));
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 4);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &extra);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
  for (int y = 0; y < image.height; ++y)
    TIFFWriteScanline(tiff, const_cast<Rgba*>(&image.pixels[std::size_t(y) * std::size_t(image.width)]),
                      std::uint32_t(y));
  TIFFClose(tiff);
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void FixPngChecksum(std::string& png, std::size_t chunk_at) {
  const auto* p = reinterpret_cast<const unsigned char*>(png.data()) + chunk_at;
  const std::uint32_t length = std::uint32_t(p[0]) << 24 | std::uint32_t(p[1]) << 16 | std::uint32_t(p[2]) << 8 | p[3];
  const std::uint32_t crc = std::uint32_t(crc32(0, p + 4, length + 4));
  const char be[4] = {char(crc >> 24), char(crc >> 16), char(crc >> 8), char(crc)};
  png.replace(chunk_at + 8 + length, 4, be, 4);
}

}  // namespace so3d::test
