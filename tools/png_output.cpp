#include "tools/png_output.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include <zlib.h>

#include <array>

#include "platform/image/image_file.h"

namespace so3d::tools {

namespace {
constexpr unsigned gap = 4;
constexpr std::uint8_t ground = 0x30;
}  // namespace

namespace {

void put_u32(std::uint8_t* at, std::uint32_t v) {
  at[0] = std::uint8_t(v >> 24), at[1] = std::uint8_t(v >> 16), at[2] = std::uint8_t(v >> 8), at[3] = std::uint8_t(v);
}

bool write_chunk(std::FILE* file, const char* type, const std::uint8_t* data, std::size_t size) {
  std::uint8_t head[8], tail[4];
  put_u32(head, std::uint32_t(size));
  std::copy(type, type + 4, head + 4);
  uLong crc = crc32(0, head + 4, 4);
  if (size) crc = crc32(crc, data, uInt(size));
  put_u32(tail, std::uint32_t(crc));
  return std::fwrite(head, 1, 8, file) == 8 && (!size || std::fwrite(data, 1, size, file) == size) &&
         std::fwrite(tail, 1, 4, file) == 4;
}

struct Deflater {
  z_stream z{};
  bool ready = deflateInit(&z, 1) == Z_OK;
  ~Deflater() {
    if (ready) deflateEnd(&z);
  }
};

// Eight-bit R, G, B, A with no row filter, through zlib's fastest level:
// rendered frames are mostly flat colour, which that packs nearly as small
// as the slow settings, many times faster.
bool encode(std::FILE* file, unsigned width, unsigned height, const std::uint8_t* rgba) {
  static constexpr std::uint8_t signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  std::uint8_t header[13] = {};
  put_u32(header, width);
  put_u32(header + 4, height);
  header[8] = 8, header[9] = 6;  // depth, colour type R, G, B, A
  if (std::fwrite(signature, 1, 8, file) != 8 || !write_chunk(file, "IHDR", header, sizeof header)) return false;
  Deflater d;
  if (!d.ready) return false;
  std::array<std::uint8_t, 1 << 16> out;
  const auto drain = [&](int flush) {
    do {
      d.z.next_out = out.data();
      d.z.avail_out = uInt(out.size());
      if (deflate(&d.z, flush) == Z_STREAM_ERROR) return false;
      const std::size_t n = out.size() - d.z.avail_out;
      if (n && !write_chunk(file, "IDAT", out.data(), n)) return false;
    } while (d.z.avail_out == 0);
    return true;
  };
  std::uint8_t filter = 0;
  for (unsigned y = 0; y < height; ++y) {
    d.z.next_in = &filter;
    d.z.avail_in = 1;
    if (!drain(Z_NO_FLUSH)) return false;
    d.z.next_in = const_cast<std::uint8_t*>(rgba + std::size_t(y) * width * 4);
    d.z.avail_in = uInt(std::size_t(width) * 4);
    if (!drain(Z_NO_FLUSH)) return false;
  }
  return drain(Z_FINISH) && write_chunk(file, "IEND", nullptr, 0);
}

}  // namespace

bool WritePng(const std::string& path, unsigned width, unsigned height, const std::uint8_t* rgba) {
  if (!rgba || !width || !height) return false;
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  const bool written = encode(file, width, height, rgba);
  return std::fclose(file) == 0 && written;
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
