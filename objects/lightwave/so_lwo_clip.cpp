// CLIP chunks: an image source and its adjustments.
#include <exception>
#include <new>

#include "objects/lightwave/so_lwo_subchunks.h"

namespace so3d::lwo {

namespace {

// The first sub-chunk: its identifier is the kind of source.
void read_source(reader& r, std::uint32_t kind, std::uint64_t size, so_lwo_clip& c) {
  switch (kind) {
    case so_lwo_clip_still: c.file_name = read_string(r); break;
    case so_lwo_clip_sequence:
      c.digits = read_u1(r);
      c.sequence_flags = read_u1(r);
      c.frame_offset = read_i2(r);
      c.first_frame = read_i2(r);
      c.last_frame = read_i2(r);
      c.prefix = read_string(r);
      c.suffix = read_string(r);
      break;
    case so_lwo_clip_animation:
      c.file_name = read_string(r);
      c.server_name = read_string(r);
      c.server_data = read_rest(r, static_cast<std::int64_t>(size) - r.bytes_read);
      break;
    case so_lwo_clip_reference:
      c.reference_index = read_u4(r);
      c.reference_name = read_string(r);
      break;
    case so_lwo_clip_cycle:
      c.cycle_low = read_i2(r);
      c.cycle_high = read_i2(r);
      c.file_name = read_string(r);
      break;
    default: break;
  }
}

void read_adjustment(reader& r, std::uint32_t sub, std::uint64_t size, so_lwo_clip& c) {
  switch (sub) {
    case zFourCC("TIME"):
      c.start_time = read_f4(r);
      c.duration = read_f4(r);
      c.frame_rate = read_f4(r);
      break;
    case zFourCC("CONT"): c.contrast = read_value(r); break;
    case zFourCC("BRIT"): c.brightness = read_value(r); break;
    case zFourCC("SATR"): c.saturation = read_value(r); break;
    case zFourCC("HUE "): c.hue = read_value(r); break;
    case zFourCC("GAMM"): c.gamma = read_value(r); break;
    case zFourCC("IFLT"):
      c.image_filters.push_back(read_plugin(r, size));
      c.image_filter_count = static_cast<std::int32_t>(c.image_filters.size());
      break;
    case zFourCC("PFLT"):
      c.pixel_filters.push_back(read_plugin(r, size));
      c.pixel_filter_count = static_cast<std::int32_t>(c.pixel_filters.size());
      break;
    default: break;
  }
}

}  // namespace

std::unique_ptr<so_lwo_clip> read_clip(reader& r, std::uint32_t size) {
  try {
    std::unique_ptr<so_lwo_clip> c(new (std::nothrow) so_lwo_clip());
    if (!c) return nullptr;
    r.bytes_read = 0;
    const std::uint64_t start = r.position;
    c->index = static_cast<std::int32_t>(read_u4(r));
    bool first = true;
    const bool ok = walk_subchunks(r, start, size, end_rule::exact, [&](std::uint32_t sub, std::uint64_t sub_size) {
      if (first) {
        first = false;
        c->kind = sub;
        read_source(r, sub, sub_size, *c);
      } else {
        read_adjustment(r, sub, sub_size, *c);
      }
      return true;
    });
    if (!ok) return nullptr;
    return c;
  } catch (const std::exception&) {  // memory ran short
    r.fail();
    return nullptr;
  }
}

void release_clip(so_lwo_clip* clip) { delete clip; }

}  // namespace so3d::lwo
