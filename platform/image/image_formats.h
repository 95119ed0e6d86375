#pragma once
// The decoders behind image::Decode, one per file format, and the check they
// all make before allocating. Internal to platform/image.
#include <cstddef>
#include <cstdint>

#include "platform/image/image_file.h"

namespace so3d::image::detail {

// Sizes `out` for width × height pixels (zeroed), after checking the size
// limits and that `bytes` of encoded data could describe that many pixels
// when each byte carries at most `pixels_per_byte` (the format's best case).
// A small file that declares a vast picture is refused before it costs
// memory or time.
Status size_picture(Picture& out, std::int64_t width, std::int64_t height, std::size_t bytes,
                    std::uint64_t pixels_per_byte);

Status decode_png(const std::uint8_t* data, std::size_t size, Picture& out);
Status decode_jpeg(const std::uint8_t* data, std::size_t size, Picture& out);
Status decode_gif(const std::uint8_t* data, std::size_t size, Picture& out);
Status decode_tiff(const std::uint8_t* data, std::size_t size, Picture& out);
Status decode_bmp(const std::uint8_t* data, std::size_t size, Picture& out);
Status decode_tga(const std::uint8_t* data, std::size_t size, Picture& out);

// Little-endian reads; the caller has checked the bounds.
inline std::uint32_t le16(const std::uint8_t* p) { return std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8; }
inline std::uint32_t le32(const std::uint8_t* p) { return le16(p) | le16(p + 2) << 16; }

// Pictures whose alpha channel is all zero were written by programs that
// leave the fourth byte unused: show them opaque.
void opaque_if_alpha_unused(Picture& picture);

}  // namespace so3d::image::detail
