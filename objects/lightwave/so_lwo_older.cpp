// The older form's top level: one layer of points and polygons, the surface
// names and the old-style surfaces, then the finishing steps.
#include "objects/lightwave/so_lwo_older.h"

#include <cstdlib>

#include "objects/lightwave/so_lwo_chunks.h"
#include "objects/lightwave/so_lwo_older_surface.h"
#include "platform/foundation/z_types.h"

namespace so3d::lwo {

namespace {

// Length of a polygon record before any detail count: corner count, the
// point indexes and the surface number, two bytes each.
inline std::size_t record_length(std::size_t corners) { return 2 * corners + 4; }

// POLS: records of a U2 corner count, that many U2 point indexes and an I2
// surface number counting from 1. A negative number is followed by a U2
// count of detail polygons, whose records follow as ordinary ones.
bool read_older_polygons(reader& r, so_lwo_layer& layer, std::uint32_t size) {
  if (size == 0) return true;
  r.bytes_read = 0;
  const block data = read_block(r, size);
  if (r.failed()) return false;

  // Pass 1: every record, detail count included, must lie inside the block.
  std::size_t polygon_total = 0;
  std::size_t corner_total = 0;
  for (const std::uint8_t* p = data.begin(); p != data.end();) {
    const std::size_t left = static_cast<std::size_t>(data.end() - p);
    if (left < 2) return false;
    const std::size_t corners = load_u2(p);
    std::size_t length = record_length(corners);
    if (length > left) return false;
    if (static_cast<std::int16_t>(load_u2(p + length - 2)) < 0) length += 2;
    if (length > left) return false;
    p += length;
    ++polygon_total;
    corner_total += corners;
  }
  if (!reserve_polygons(layer, polygon_total, corner_total)) return false;

  // Pass 2 runs unchecked: pass 1 proved every record fits. Point indexes
  // and surface numbers are checked by the finishing steps.
  const std::int32_t point_offset = layer.points_offset;
  std::int32_t next_corner = layer.corners_offset;
  for (const std::uint8_t* p = data.begin(); p != data.end();) {
    so_lwo_polygon polygon;
    polygon.corner_count = load_u2(p);
    polygon.kind = zFourCC("FACE");
    polygon.corner_first = next_corner;
    next_corner += polygon.corner_count;
    p += 2;
    for (std::uint16_t k = 0; k < polygon.corner_count; ++k, p += 2) {
      so_lwo_corner corner;
      corner.point = static_cast<std::int32_t>(load_u2(p)) + point_offset;
      layer.corners.push_back(corner);
    }
    const std::int32_t surface = static_cast<std::int16_t>(load_u2(p));
    p += surface < 0 ? 4 : 2;                 // the detail count is not needed
    polygon.surface = std::abs(surface) - 1;  // a tag index; 0 stays out of range
    layer.polygons.push_back(polygon);
  }
  return true;
}

bool read_older_chunk(reader& r, so_lwo_file& file, std::uint32_t chunk, std::uint32_t size) {
  so_lwo_layer& layer = *file.layers.front();
  switch (chunk) {
    case zFourCC("PNTS"): return read_points(r, layer, size);
    case zFourCC("POLS"): return read_older_polygons(r, layer, size);
    case zFourCC("SRFS"): return read_tags(r, file.tags, size);
    case zFourCC("SURF"): {
      auto surface = read_older_surface(r, file, size);
      if (!surface) return false;
      file.surfaces.push_back(std::move(surface));
      file.surface_count = static_cast<std::int32_t>(file.surfaces.size());
      return true;
    }
    default: skip(r, size); return !r.failed();
  }
}

}  // namespace

}  // namespace so3d::lwo

namespace so3d::lwo {

std::unique_ptr<so_lwo_file> read_older_form(reader& r, std::uint32_t form_size) {
  auto file = std::make_unique<so_lwo_file>();
  file->layers.push_back(std::make_unique<so_lwo_layer>());
  file->layer_count = 1;
  const bool read = walk_chunks(
      r, form_size, [&](std::uint32_t chunk, std::uint32_t size) { return read_older_chunk(r, *file, chunk, size); });
  if (!read) return nullptr;
  close_reader(r);
  surface_binding binding;
  if (!finish_layer(*file, *file->layers.front(), binding)) {
    r.fail(read_error::index_out_of_range);
    return nullptr;
  }
  return file;
}

}  // namespace so3d::lwo
