// JPEG through libjpeg-turbo's TurboJPEG interface, which keeps the library's
// error jumps inside itself.
#include <turbojpeg.h>

#include <memory>

#include "platform/image/image_formats.h"

namespace so3d::image::detail {
namespace {

struct TjDestroy {
  void operator()(void* handle) const { tjDestroy(handle); }
};

}  // namespace

Status decode_jpeg(const std::uint8_t* data, std::size_t size, Picture& out) {
  if (size > 0xFFFFFFFFu) return Status::too_large;
  const std::unique_ptr<void, TjDestroy> tj(tjInitDecompress());
  if (!tj) return Status::no_memory;
  int width = 0, height = 0, subsampling = 0, colourspace = 0;
  if (tjDecompressHeader3(tj.get(), data, static_cast<unsigned long>(size), &width, &height, &subsampling,
                          &colourspace) != 0)
    return Status::not_an_image;
  // Every 8 × 8 block of every component costs at least one bit (its DC
  // code), so a byte describes at most 512 grey pixels.
  const Status sized = size_picture(out, width, height, size, 512);
  if (sized != Status::ok) return sized;
  // Truncated or damaged data is refused rather than padded out with grey,
  // and progressive files may not repeat scans without end.
  const int flags = TJFLAG_STOPONWARNING | TJFLAG_LIMITSCANS;
  if (tjDecompress2(tj.get(), data, static_cast<unsigned long>(size), out.bgra.data(), width, 0, height, TJPF_BGRA,
                    flags) != 0) {
    out = Picture{};
    return Status::not_an_image;
  }
  return Status::ok;
}

}  // namespace so3d::image::detail
