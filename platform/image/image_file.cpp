#include "platform/image/image_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include "platform/image/image_formats.h"

// The resizer is compiled into this file only, with internal linkage, so
// that it can never clash with a copy that a host links itself.
#define STB_IMAGE_RESIZE_STATIC
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb/stb_image_resize.h>

namespace so3d::image {
namespace {

bool within_limits(std::int32_t width, std::int32_t height) {
  return width <= max_side && height <= max_side && std::uint64_t(width) * std::uint64_t(height) <= max_pixels;
}

class FileHandle {
 public:
  explicit FileHandle(int fd) : fd_(fd) {}
  ~FileHandle() {
    if (fd_ >= 0) ::close(fd_);
  }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

Status read_whole_file(const char* path, std::vector<std::uint8_t>& bytes) {
  const FileHandle file(::open(path, O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return Status::cannot_open;
  struct stat st {};
  if (::fstat(file.get(), &st) != 0 || !S_ISREG(st.st_mode) || st.st_size < 0) return Status::cannot_open;
  if (std::uint64_t(st.st_size) > max_file_bytes) return Status::too_large;
  try {
    bytes.resize(std::size_t(st.st_size));
  } catch (const std::bad_alloc&) { return Status::no_memory; }
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t got = ::read(file.get(), bytes.data() + done, bytes.size() - done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return Status::cannot_open;  // error, or the file shrank meanwhile
    done += std::size_t(got);
  }
  return Status::ok;
}

}  // namespace

Status Decode(const std::uint8_t* data, std::size_t size, Picture& out) {
  out = Picture{};
  if (!data) return Status::bad_argument;
  if (size > max_file_bytes) return Status::too_large;
  const auto starts_with = [&](const char* magic, std::size_t n) {
    return size >= n && std::memcmp(data, magic, n) == 0;
  };
  try {
    if (starts_with("\x89PNG\r\n\x1a\n", 8)) return detail::decode_png(data, size, out);
    if (starts_with("\xFF\xD8\xFF", 3)) return detail::decode_jpeg(data, size, out);
    if (starts_with("GIF87a", 6) || starts_with("GIF89a", 6)) return detail::decode_gif(data, size, out);
    if (starts_with("II*\0", 4) || starts_with("MM\0*", 4)) return detail::decode_tiff(data, size, out);
    if (starts_with("BM", 2)) return detail::decode_bmp(data, size, out);
    // Targa files have no signature; their header is checked field by field.
    return detail::decode_tga(data, size, out);
  } catch (const std::bad_alloc&) {
    out = Picture{};
    return Status::no_memory;
  }
}

namespace detail {

Status size_picture(Picture& out, std::int64_t width, std::int64_t height, std::size_t bytes,
                    std::uint64_t pixels_per_byte) {
  out = Picture{};
  if (width <= 0 || height <= 0) return Status::not_an_image;
  if (width > max_side || height > max_side) return Status::too_large;
  const std::uint64_t pixels = std::uint64_t(width) * std::uint64_t(height);
  if (pixels > max_pixels) return Status::too_large;
  if (pixels / pixels_per_byte > bytes) return Status::not_an_image;  // more than the bytes can hold
  try {
    out.bgra.assign(pixels * 4, 0);
  } catch (const std::bad_alloc&) { return Status::no_memory; }
  out.width = std::int32_t(width);
  out.height = std::int32_t(height);
  return Status::ok;
}

void opaque_if_alpha_unused(Picture& picture) {
  const std::size_t n = picture.bgra.size();
  for (std::size_t i = 3; i < n; i += 4)
    if (picture.bgra[i]) return;
  for (std::size_t i = 3; i < n; i += 4) picture.bgra[i] = 255;
}

}  // namespace detail

Status DecodeFile(const char* path, Picture& out) {
  out = Picture{};
  if (!path || !*path) return Status::cannot_open;
  std::vector<std::uint8_t> bytes;
  const Status read = read_whole_file(path, bytes);
  if (read != Status::ok) return read;
  return Decode(bytes.data(), bytes.size(), out);
}

Status Scale(const Picture& in, std::int32_t width, std::int32_t height, Picture& out) {
  if (&in == &out) return Status::bad_argument;
  out = Picture{};
  if (in.width <= 0 || in.height <= 0 || !within_limits(in.width, in.height) ||
      in.bgra.size() != std::size_t(in.width) * std::size_t(in.height) * 4)
    return Status::bad_argument;
  if (width <= 0 || height <= 0 || !within_limits(width, height)) return Status::bad_argument;
  try {
    out.bgra.resize(std::size_t(width) * std::size_t(height) * 4);
  } catch (const std::bad_alloc&) { return Status::no_memory; }
  // The triangle filter is plain bilinear interpolation when enlarging and
  // averages proportionally when reducing. Byte 3 is alpha in BGRA as in RGBA.
  if (!stbir_resize_uint8_generic(in.bgra.data(), in.width, in.height, 0, out.bgra.data(), width, height, 0, 4, 3, 0,
                                  STBIR_EDGE_CLAMP, STBIR_FILTER_TRIANGLE, STBIR_COLORSPACE_LINEAR, nullptr)) {
    out = Picture{};
    return Status::no_memory;
  }
  out.width = width;
  out.height = height;
  return Status::ok;
}

}  // namespace so3d::image
