// PNG through libpng's simplified reader, which reports failures by result
// instead of jumping out of our frames.
#include <png.h>

#include "platform/image/image_formats.h"

namespace so3d::image::detail {

Status decode_png(const std::uint8_t* data, std::size_t size, Picture& out) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&png, data, size)) return Status::not_an_image;
  // Deflate packs at most 1032 bytes into one, and a byte holds eight 1-bit
  // pixels.
  const Status sized = size_picture(out, png.width, png.height, size, 1032 * 8);
  if (sized != Status::ok) {
    png_image_free(&png);
    return sized;
  }
  png.format = PNG_FORMAT_BGRA;
  if (!png_image_finish_read(&png, nullptr, out.bgra.data(), 0, nullptr)) {
    png_image_free(&png);
    out = Picture{};
    return Status::not_an_image;
  }
  return Status::ok;
}

}  // namespace so3d::image::detail
