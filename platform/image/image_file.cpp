#include "platform/image/image_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <new>

// The decoder and the resizer are compiled into this file only, with internal
// linkage, so that they can never clash with a copy that a host links itself.
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_NO_STDIO
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_ONLY_BMP
#define STBI_ONLY_GIF
#define STBI_ONLY_TGA
#define STBI_ONLY_PSD
#define STBI_ONLY_HDR
#include <stb/stb_image.h>

#define STB_IMAGE_RESIZE_STATIC
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb/stb_image_resize.h>

namespace so3d::image {
namespace {

bool within_limits(std::int32_t width, std::int32_t height) {
  return width <= max_side && height <= max_side && std::uint64_t(width) * std::uint64_t(height) <= max_pixels;
}

struct StbFree {
  void operator()(stbi_uc* p) const { stbi_image_free(p); }
};

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
  if (size == 0) return Status::not_an_image;
  if (size > std::size_t(INT_MAX)) return Status::too_large;
  const int length = int(size);

  // The header alone tells the picture size; refuse before the decoder
  // allocates for it.
  int width = 0, height = 0, channels = 0;
  if (!stbi_info_from_memory(data, length, &width, &height, &channels)) return Status::not_an_image;
  if (width <= 0 || height <= 0) return Status::not_an_image;
  if (!within_limits(width, height)) return Status::too_large;

  std::unique_ptr<stbi_uc, StbFree> rgba(stbi_load_from_memory(data, length, &width, &height, &channels, 4));
  if (!rgba) {
    const char* why = stbi_failure_reason();
    return why && std::strcmp(why, "outofmem") == 0 ? Status::no_memory : Status::not_an_image;
  }
  if (width <= 0 || height <= 0 || !within_limits(width, height)) return Status::not_an_image;

  const std::size_t count = std::size_t(width) * std::size_t(height);
  try {
    out.bgra.resize(count * 4);
  } catch (const std::bad_alloc&) { return Status::no_memory; }
  const stbi_uc* src = rgba.get();
  std::uint8_t* dst = out.bgra.data();
  for (std::size_t i = 0; i < count; ++i, src += 4, dst += 4) {
    dst[0] = src[2];
    dst[1] = src[1];
    dst[2] = src[0];
    dst[3] = src[3];
  }
  out.width = width;
  out.height = height;
  return Status::ok;
}

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
