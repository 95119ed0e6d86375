#include "tools/png_output.h"

#include <algorithm>
#include <new>

#include "platform/image/image_file.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb/stb_image_write.h>

namespace so3d::tools {

namespace {
constexpr unsigned gap = 4;
constexpr std::uint8_t ground = 0x30;
}  // namespace

bool WritePng(const std::string& path, unsigned width, unsigned height, const std::vector<std::uint8_t>& rgba) {
  if (rgba.size() < std::size_t(width) * height * 4) return false;
  return stbi_write_png(path.c_str(), int(width), int(height), 4, rgba.data(), int(width * 4)) != 0;
}

ContactSheet::ContactSheet(unsigned width, unsigned height, int columns, unsigned thumb_width)
    : width_(width), height_(height), columns_(std::max(1, columns)) {
  thumb_w_ = std::min(width, thumb_width);
  thumb_h_ = std::max(1u, unsigned(std::uint64_t(height) * thumb_w_ / std::max(1u, width)));
}

bool ContactSheet::Add(const std::vector<std::uint8_t>& rgba) {
  // The scaler keeps byte order, so R, G, B, A goes through as it came.
  so3d::image::Picture frame, thumb;
  frame.width = std::int32_t(width_);
  frame.height = std::int32_t(height_);
  try {
    frame.bgra = rgba;
  } catch (const std::bad_alloc&) { return false; }
  if (so3d::image::Scale(frame, std::int32_t(thumb_w_), std::int32_t(thumb_h_), thumb) != so3d::image::Status::ok)
    return false;
  try {
    thumbs_.push_back(std::move(thumb.bgra));
  } catch (const std::bad_alloc&) { return false; }
  return true;
}

bool ContactSheet::Write(const std::string& path) const {
  if (thumbs_.empty()) return false;
  const unsigned columns = std::min<unsigned>(unsigned(columns_), unsigned(thumbs_.size()));
  const unsigned rows = unsigned((thumbs_.size() + columns - 1) / columns);
  const unsigned w = gap + columns * (thumb_w_ + gap), h = gap + rows * (thumb_h_ + gap);
  std::vector<std::uint8_t> sheet(std::size_t(w) * h * 4, ground);
  for (std::size_t i = 3; i < sheet.size(); i += 4) sheet[i] = 0xFF;
  for (std::size_t n = 0; n < thumbs_.size(); ++n) {
    const unsigned x0 = gap + unsigned(n % columns) * (thumb_w_ + gap);
    const unsigned y0 = gap + unsigned(n / columns) * (thumb_h_ + gap);
    for (unsigned y = 0; y < thumb_h_; ++y)
      std::copy_n(thumbs_[n].data() + std::size_t(y) * thumb_w_ * 4, std::size_t(thumb_w_) * 4,
                  sheet.data() + (std::size_t(y0 + y) * w + x0) * 4);
  }
  return WritePng(path, w, h, sheet);
}

}  // namespace so3d::tools
