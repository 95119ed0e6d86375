#pragma once
// Geometry chunk readers and the finishing steps, shared by the readers of
// both object forms. Each chunk reader starts at the chunk's data, is given
// its size rounded to even, and returns false when the chunk is malformed or
// memory is short (the load then fails).
#include <cstdint>
#include <vector>

#include "objects/lightwave/so_lwo_file.h"
#include "objects/lightwave/so_lwo_read.h"

namespace so3d::lwo {

// Largest point count of a layer: indexes (up to 24 bits) plus the point
// offset must stay within 32 bits.
inline constexpr std::int64_t max_points = 0x7FFFFFFF - 0x00FFFFFF;
// Largest count of polygons, corners, tags or map records.
inline constexpr std::int64_t max_count = 0x7FFFFFFF;

// Makes room for a POLS chunk's polygons and corners and sets the layer's
// offsets to the totals before it. False when the counts would overflow.
bool reserve_polygons(so_lwo_layer& layer, std::size_t polygons, std::size_t corners);

// LAYR: the first one names the first layer; each later one appends a layer
// and makes it `current`.
bool read_layer(reader& r, so_lwo_file& file, so_lwo_layer*& current, std::uint32_t size);
// PNTS: appends size / 12 points.
bool read_points(reader& r, so_lwo_layer& layer, std::uint32_t size);
// POLS: appends polygons whose corner indexes count from the latest PNTS chunk.
bool read_polygons(reader& r, so_lwo_layer& layer, std::uint32_t size);
// PTAG: SURF, PART and SMGP records of the latest POLS and TAGS chunks;
// other types are skipped. A polygon index past the layer's polygons fails.
bool read_polygon_tags(reader& r, so_lwo_layer& layer, const so_lwo_tag_table& tags, std::uint32_t size);
// TAGS (and the older form's surface names): appends tag strings.
bool read_tags(reader& r, so_lwo_tag_table& tags, std::uint32_t size);
// BBOX: the layer's bounds.
bool read_bounds(reader& r, so_lwo_layer& layer, std::uint32_t size);
// VMAP (per point) and VMAD (per polygon corner).
bool read_vertex_map(reader& r, so_lwo_layer& layer, std::uint32_t size, bool per_polygon);

// Walks the chunks of a form whose 12-byte header has just been read, up to
// `form_size` bytes after the form's size field. For each chunk,
// `handle(id, size)` reads its data (size rounded to even, never more than
// the file holds) and returns false to fail the walk.
template <class Handler>
bool walk_chunks(reader& r, std::uint32_t form_size, Handler&& handle) {
  r.bytes_read = 0;
  std::uint32_t chunk = read_u4(r);
  std::uint64_t size = read_u4(r);
  if (r.failed()) return false;
  for (;;) {
    size = round_even(size);
    r.chunk = chunk;
    // A chunk that claims more than the file holds is malformed.
    if (size > r.remaining()) {
      r.fail(read_error::bad_chunk_size);
      return false;
    }
    // A reader that refuses its chunk without saying why found records that
    // do not fit the chunk's size.
    if (!handle(chunk, static_cast<std::uint32_t>(size)) || r.failed()) {
      r.fail(read_error::bad_chunk_size);
      return false;
    }
    r.chunk = 0;
    if (form_size <= r.position - 8) return true;
    r.bytes_read = 0;
    chunk = read_u4(r);
    size = read_u4(r);
    if (r.bytes_read != 8) return false;
  }
}

// Appends an envelope to the file's list, linked after the last one.
void append_envelope(so_lwo_file& file, std::unique_ptr<so_envelope> envelope);

// Tag-to-surface bindings kept across the layers of one file, so that every
// tag gets at most one surface however many layers use it.
struct surface_binding {
  std::vector<std::int32_t> tag_surface;  // surface index per tag, -1 before binding
  std::int32_t untagged = -1;             // surface of the polygons of a file without tags
  bool ready = false;
};

// Runs the finishing steps on one layer: checks every index, then bounds,
// polygon normals, point polygon lists, surface resolution, corner normals
// and map references. False fails the load.
bool finish_layer(so_lwo_file& file, so_lwo_layer& layer, surface_binding& binding);

}  // namespace so3d::lwo
