// TIFF through libtiff, reading from memory, with its messages kept off the
// host's standard error and its allocations capped.
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "platform/image/image_formats.h"

namespace so3d::image::detail {
namespace {

struct Source {
  const std::uint8_t* data;
  std::size_t size;
  std::size_t at;
};

Source& source_of(thandle_t handle) { return *static_cast<Source*>(static_cast<void*>(handle)); }

tmsize_t read_source(thandle_t handle, void* into, tmsize_t wanted) {
  Source& s = source_of(handle);
  if (wanted <= 0 || s.at >= s.size) return 0;
  const std::size_t n = std::min(s.size - s.at, std::size_t(wanted));
  std::memcpy(into, s.data + s.at, n);
  s.at += n;
  return tmsize_t(n);
}

tmsize_t refuse_write(thandle_t, void*, tmsize_t) { return -1; }

toff_t seek_source(thandle_t handle, toff_t offset, int whence) {
  Source& s = source_of(handle);
  const std::uint64_t base = whence == SEEK_CUR ? s.at : whence == SEEK_END ? s.size : 0;
  // Offsets arrive unsigned; a step back from the current place wraps.
  const std::uint64_t to = base + offset;
  if (to > s.size) return toff_t(-1);
  s.at = std::size_t(to);
  return to;
}

int close_source(thandle_t) { return 0; }
toff_t size_of_source(thandle_t handle) { return source_of(handle).size; }
int no_map(thandle_t, void**, toff_t*) { return 0; }
void no_unmap(thandle_t, void*, toff_t) {}
int keep_quiet(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct TiffClose {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
struct OptionsFree {
  void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

}  // namespace

Status decode_tiff(const std::uint8_t* data, std::size_t size, Picture& out) {
  const std::unique_ptr<TIFFOpenOptions, OptionsFree> options(TIFFOpenOptionsAlloc());
  if (!options) return Status::no_memory;
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keep_quiet, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), keep_quiet, nullptr);
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), tmsize_t(max_pixels * 4));
  Source source{data, size, 0};
  const std::unique_ptr<TIFF, TiffClose> tiff(TIFFClientOpenExt("image", "rm", static_cast<thandle_t>(&source),
                                                                read_source, refuse_write, seek_source, close_source,
                                                                size_of_source, no_map, no_unmap, options.get()));
  if (!tiff) return Status::not_an_image;
  std::uint32_t width = 0, height = 0;
  if (TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width) != 1 ||
      TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height) != 1)
    return Status::not_an_image;
  // Deflate's best, at one bit per pixel.
  const Status sized = size_picture(out, width, height, size, 1032 * 8);
  if (sized != Status::ok) return sized;
  try {
    std::vector<std::uint32_t> abgr(std::size_t(width) * height);
    if (TIFFReadRGBAImageOriented(tiff.get(), width, height, abgr.data(), ORIENTATION_TOPLEFT, 0) != 1) {
      out = Picture{};
      return Status::not_an_image;
    }
    // The RGBA reader premultiplies by alpha; pictures here are straight.
    std::uint8_t* p = out.bgra.data();
    for (const std::uint32_t v : abgr) {
      const std::uint32_t a = TIFFGetA(v);
      const auto straight = [a](std::uint32_t c) {
        return std::uint8_t(a == 0 ? 0 : std::min(255u, (c * 255 + a / 2) / a));
      };
      p[0] = straight(TIFFGetB(v));
      p[1] = straight(TIFFGetG(v));
      p[2] = straight(TIFFGetR(v));
      p[3] = std::uint8_t(a);
      p += 4;
    }
  } catch (const std::bad_alloc&) {
    out = Picture{};
    return Status::no_memory;
  }
  return Status::ok;
}

}  // namespace so3d::image::detail
