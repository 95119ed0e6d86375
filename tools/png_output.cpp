#include "tools/png_output.h"

#include <algorithm>
#include <cstdio>
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

// Rendered frames are mostly flat colour: the fastest deflate level costs a
// few percent of size and saves most of the encoding time. Set once, before
// any encoding thread starts.
const bool fast_deflate = (stbi_write_png_compression_level = 1, true);

bool WritePng(const std::string& path, unsigned width, unsigned height, const std::uint8_t* rgba) {
  return rgba && stbi_write_png(path.c_str(), int(width), int(height), 4, rgba, int(width * 4)) != 0;
}

bool WritePngAtomically(const std::string& path, unsigned width, unsigned height, const std::uint8_t* rgba) {
  const std::string partial = path + ".partial";
  if (!WritePng(partial, width, height, rgba)) {
    std::remove(partial.c_str());
    return false;
  }
  return std::rename(partial.c_str(), path.c_str()) == 0;
}

bool ContactSheet::Shows(int index, int count) {
  if (count <= max_cells) return true;
  // The first frame of each of max_cells even stretches of the run.
  return index == 0 || std::int64_t(index) * max_cells / count != std::int64_t(index - 1) * max_cells / count;
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
  return WritePngAtomically(path, w, h, sheet.data());
}

}  // namespace so3d::tools
