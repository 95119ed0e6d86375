// Picture decoding in every format, against files that are cut short or lie
// about their size.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "platform/image/image_file.h"
#include "tests/support/test_images.h"

using namespace so3d::test;
namespace image = so3d::image;

namespace {

const TestImage picture =
    TestImage::Quadrants(10, 8, {255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {0, 0, 0, 0});

std::vector<std::pair<const char*, std::string>> encodings() {
  return {{"png", EncodePng(picture)},
          {"bmp", EncodeBmp(picture)},
          {"bmp top-down", EncodeBmpTopDown(picture)},
          {"tga", EncodeTga(picture, false)},
          {"tga rle", EncodeTga(picture, true)},
          {"gif", EncodeGif(picture)},
          {"tiff", EncodeTiff(picture)},
          {"jpeg", EncodeJpeg(picture)}};
}

image::Status decode(const std::string& bytes, image::Picture& out) {
  return image::Decode(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(), out);
}

TEST(ImageDecoding, EveryFormatGivesThePictureBack) {
  for (const auto& [format, bytes] : encodings()) {
    image::Picture out;
    ASSERT_EQ(decode(bytes, out), image::Status::ok) << format;
    ASSERT_TRUE(out.width == picture.width && out.height == picture.height) << format;
    const bool jpeg = std::string(format) == "jpeg";  // lossy and without alpha
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
      const Rgba& want = picture.pixels[i];
      const std::uint8_t* got = &out.bgra[i * 4];
      const int tolerance = jpeg ? 40 : 0;
      EXPECT_LE(std::abs(got[0] - want.b) + std::abs(got[1] - want.g) + std::abs(got[2] - want.r), tolerance * 3)
          << format << " pixel " << i;
      EXPECT_EQ(got[3], jpeg ? 255 : want.a) << format << " pixel " << i;
    }
  }
}

// A cut anywhere either fails with nothing decoded, or (once the picture's
// data is complete) gives the whole picture.
TEST(ImageDecoding, EveryPrefixFailsCleanlyOrGivesTheWholePicture) {
  for (const auto& [format, bytes] : encodings()) {
    image::Picture whole, part;
    ASSERT_EQ(decode(bytes, whole), image::Status::ok) << format;
    for (std::size_t n = 0; n < bytes.size(); ++n) {
      if (decode(bytes.substr(0, n), part) == image::Status::ok)
        EXPECT_EQ(part.bgra, whole.bgra) << format << " cut at " << n;
      else
        EXPECT_TRUE(part.bgra.empty() && part.width == 0) << format << " cut at " << n;
    }
  }
}

std::string bytes_of(std::initializer_list<int> values) {
  std::string out;
  for (int v : values) out.push_back(char(v));
  return out;
}

TEST(ImageDecoding, DeclaredSizesBeyondTheLimitsOrTheDataAreRefusedBeforeDecoding) {
  std::string huge_png = EncodePng(picture);
  for (int at : {16, 20}) huge_png.replace(std::size_t(at), 4, bytes_of({0, 0, 0x40, 0}));  // 16384 × 16384
  FixPngChecksum(huge_png, 8);
  std::string tall_bmp = EncodeBmp(picture), huge_bmp = tall_bmp;
  tall_bmp[22] = 9;  // more rows than the file holds
  for (int at : {18, 22}) huge_bmp.replace(std::size_t(at), 4, bytes_of({0xA0, 0x86, 1, 0}));  // 100000 × 100000
  // Run-length Targa: 9992 × 1798 pixels declared in 30 bytes.
  const std::string tga_claim = bytes_of(
      {0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x08, 0x27, 0x06, 0x07, 32, 8, 0xFF, 1, 2, 3, 4, 0xFF, 1, 2, 3, 4, 0, 0});
  // GIF screen of 4000 × 4000 with no picture data.
  const std::string gif_claim = bytes_of({'G', 'I', 'F', '8', '9', 'a', 0xA0, 0x0F, 0xA0, 0x0F, 0, 0, 0, ';'});
  // A JPEG whose Huffman table counts more codes than it holds.
  const std::string jpeg_table = bytes_of({0xFF, 0xD8, 0xFF, 0xC4, 0x00, 0x13, 0x00, 0xFF, 0xFF});
  // A Radiance picture: not a format effects use, so not read at all.
  const std::string hdr = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 9999 +X 9999\n\x02\x02";

  const std::pair<std::string, image::Status> cases[] = {
      {huge_png, image::Status::too_large},     {huge_bmp, image::Status::too_large},
      {tall_bmp, image::Status::not_an_image},  {tga_claim, image::Status::not_an_image},
      {gif_claim, image::Status::not_an_image}, {jpeg_table, image::Status::not_an_image},
      {hdr, image::Status::not_an_image},       {"", image::Status::not_an_image}};
  for (const auto& [bytes, status] : cases) {
    image::Picture out;
    EXPECT_EQ(decode(bytes, out), status) << bytes.size() << " bytes";
    EXPECT_TRUE(out.bgra.empty());
  }
}

}  // namespace
