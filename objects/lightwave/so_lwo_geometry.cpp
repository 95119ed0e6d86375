// Geometry chunks: LAYR, PNTS, POLS, PTAG, TAGS, BBOX, VMAP and VMAD. Bulk
// chunks are read in one block and parsed in two passes: the first checks
// every record against the block and counts, the second fills arrays that
// were grown once.
#include <cstring>

#include "objects/lightwave/so_lwo_chunks.h"
#include "platform/foundation/z_types.h"
#include "platform/memory/large_blocks.h"

namespace so3d::lwo {

namespace {

constexpr std::uint32_t tag_surf = zFourCC("SURF");
constexpr std::uint32_t tag_part = zFourCC("PART");
constexpr std::uint32_t tag_smgp = zFourCC("SMGP");

constexpr std::uint16_t corner_mask = 0x03FF;
constexpr std::uint16_t flag_mask = 0xFC00;

// Length of the index at p (2 or 4 bytes); the caller has checked one byte.
inline std::size_t index_length(const std::uint8_t* p) { return p[0] == 0xFF ? 4 : 2; }

// Decodes an index the first pass has already bounded.
inline std::uint32_t load_index(const std::uint8_t*& p) {
  if (p[0] != 0xFF) {
    const std::uint32_t v = load_u2(p);
    p += 2;
    return v;
  }
  const std::uint32_t v = load_u4(p) & 0x00FFFFFFu;
  p += 4;
  return v;
}

// Skips one index, or returns false when it does not fit before `end`.
inline bool step_index(const std::uint8_t*& p, const std::uint8_t* end) {
  if (p == end) return false;
  const std::size_t n = index_length(p);
  if (n > static_cast<std::size_t>(end - p)) return false;
  p += n;
  return true;
}

}  // namespace

bool read_layer(reader& r, so_lwo_file& file, so_lwo_layer*& current, std::uint32_t size) {
  if (file.layer_count == std::numeric_limits<std::int32_t>::max()) return fail(r, read_error::bad_value);
  if (file.layer_count > 0) {
    file.layers.push_back(std::make_unique<so_lwo_layer>());
    current = file.layers.back().get();
  }
  ++file.layer_count;
  so_lwo_layer& layer = *current;
  r.bytes_read = 0;
  layer.number = read_u2(r);
  layer.flags = read_u2(r);
  for (float& v : layer.pivot) v = read_f4(r);
  layer.name = read_string(r);
  if (r.failed() || static_cast<std::uint32_t>(r.bytes_read) > size) return false;
  if (static_cast<std::uint32_t>(r.bytes_read) + 2 <= size) layer.parent = read_u2(r);
  if (r.failed()) return false;
  skip(r, size - static_cast<std::uint32_t>(r.bytes_read));
  return !r.failed();
}

bool read_points(reader& r, so_lwo_layer& layer, std::uint32_t size) {
  const std::size_t n = size / 12;
  const std::size_t old = layer.points.size();
  if (static_cast<std::int64_t>(old + n) > max_points) return fail(r, read_error::bad_value);
  r.bytes_read = 0;
  const block data = read_block(r, size);
  if (r.failed()) return false;
  layer.points_offset = static_cast<std::int32_t>(old);
  layer.points.reserve(old + n);
  so3d::advise_large_block(layer.points.data(), layer.points.capacity() * sizeof(so_lwo_point));
  const std::uint8_t* p = data.begin();
  for (std::size_t i = 0; i < n; ++i, p += 12) {
    so_lwo_point point;
    point.position[0] = load_f4(p);
    point.position[1] = load_f4(p + 4);
    point.position[2] = load_f4(p + 8);
    layer.points.push_back(point);
  }
  return true;
}

bool reserve_polygons(so_lwo_layer& layer, std::size_t polygons, std::size_t corners) {
  const std::size_t old_polygons = layer.polygons.size();
  const std::size_t old_corners = layer.corners.size();
  if (static_cast<std::int64_t>(old_polygons + polygons) > max_count ||
      static_cast<std::int64_t>(old_corners + corners) > max_count)
    return false;
  // Records are appended whole, so nothing is written twice.
  layer.polygons.reserve(old_polygons + polygons);
  layer.corners.reserve(old_corners + corners);
  so3d::advise_large_block(layer.polygons.data(), layer.polygons.capacity() * sizeof(so_lwo_polygon));
  so3d::advise_large_block(layer.corners.data(), layer.corners.capacity() * sizeof(so_lwo_corner));
  layer.polygons_offset = static_cast<std::int32_t>(old_polygons);
  layer.corners_offset = static_cast<std::int32_t>(old_corners);
  return true;
}

bool read_polygons(reader& r, so_lwo_layer& layer, std::uint32_t size) {
  if (size == 0) return true;
  r.bytes_read = 0;
  const std::uint32_t kind = read_u4(r);
  const block data = read_block(r, static_cast<std::int64_t>(size) - 4);
  if (r.failed() || static_cast<std::uint32_t>(r.bytes_read) != size) return false;

  // Pass 1: every record must lie wholly inside the block.
  std::size_t polygon_total = 0;
  std::size_t corner_total = 0;
  for (const std::uint8_t* p = data.begin(); p != data.end();) {
    if (data.end() - p < 2) return false;
    const std::size_t corners = load_u2(p) & corner_mask;
    p += 2;
    if (static_cast<std::size_t>(data.end() - p) >= corners * 4) {
      // Room for the longest indexes: no per-index end check needed.
      for (std::size_t k = 0; k < corners; ++k) p += index_length(p);
    } else {
      for (std::size_t k = 0; k < corners; ++k) {
        if (!step_index(p, data.end())) return false;
      }
    }
    ++polygon_total;
    corner_total += corners;
  }
  if (!reserve_polygons(layer, polygon_total, corner_total)) return false;

  // Pass 2 runs unchecked: pass 1 proved every record fits.
  const std::uint32_t point_offset = static_cast<std::uint32_t>(layer.points_offset);
  std::int32_t next_corner = layer.corners_offset;
  for (const std::uint8_t* p = data.begin(); p != data.end();) {
    const std::uint16_t word = load_u2(p);
    p += 2;
    so_lwo_polygon polygon;
    polygon.flags = word & flag_mask;
    polygon.corner_count = word & corner_mask;
    polygon.kind = kind;
    polygon.corner_first = next_corner;
    next_corner += polygon.corner_count;
    layer.polygons.push_back(polygon);
    for (std::uint16_t k = 0; k < polygon.corner_count; ++k) {
      so_lwo_corner corner;
      corner.point = static_cast<std::int32_t>(load_index(p) + point_offset);
      layer.corners.push_back(corner);
    }
  }
  return true;
}

bool read_polygon_tags(reader& r, so_lwo_layer& layer, const so_lwo_tag_table& tags, std::uint32_t size) {
  r.bytes_read = 0;
  const std::uint32_t type = read_u4(r);
  if (r.failed() || size < 4) return false;
  if (type != tag_surf && type != tag_part && type != tag_smgp) {
    skip(r, size - 4);
    return !r.failed();
  }
  if (size == 4) return true;
  const block data = read_block(r, size - 4);
  if (r.failed()) return false;
  const std::uint64_t polygon_count = layer.polygons.size();
  for (const std::uint8_t* p = data.begin(); p != data.end();) {
    const std::uint8_t* polygon_at = p;
    if (!step_index(p, data.end())) return false;
    const std::uint8_t* tag_at = p;
    if (!step_index(p, data.end())) return false;  // a record cut by the chunk end
    const std::uint64_t polygon = std::uint64_t{load_index(polygon_at)} + layer.polygons_offset;
    const std::int64_t tag = std::int64_t{load_index(tag_at)} + tags.offset;
    if (polygon >= polygon_count || tag > std::numeric_limits<std::int32_t>::max())
      return fail(r, read_error::index_out_of_range);
    so_lwo_polygon& target = layer.polygons[polygon];
    const std::int32_t value = static_cast<std::int32_t>(tag);
    if (type == tag_surf)
      target.surface = value;
    else if (type == tag_part)
      target.part = value;
    else
      target.smoothing_group = value;
  }
  return true;
}

bool read_tags(reader& r, so_lwo_tag_table& tags, std::uint32_t size) {
  if (size == 0) return true;
  r.bytes_read = 0;
  const block data = read_block(r, size);
  if (r.failed()) return false;
  std::size_t count = 0;
  for (const std::uint8_t* p = data.begin(); p != data.end(); ++count) {
    const void* zero = std::memchr(p, 0, static_cast<std::size_t>(data.end() - p));
    if (!zero) return false;
    const std::size_t length = round_even(static_cast<std::size_t>(static_cast<const std::uint8_t*>(zero) - p) + 1);
    if (length > static_cast<std::size_t>(data.end() - p)) return false;
    p += length;
  }
  const std::size_t old = tags.names.size();
  if (static_cast<std::int64_t>(old + count) > max_count) return fail(r, read_error::bad_value);
  tags.names.resize(old + count);
  tags.offset = static_cast<std::int32_t>(old);
  tags.count = static_cast<std::int32_t>(old + count);
  cursor c{data.begin(), data.end()};
  for (std::size_t i = old; i < tags.names.size(); ++i) tags.names[i] = take_string(r, c);
  return !r.failed();
}

bool read_bounds(reader& r, so_lwo_layer& layer, std::uint32_t size) {
  r.bytes_read = 0;
  for (float& v : layer.bounds) v = read_f4(r);
  if (r.failed() || static_cast<std::uint32_t>(r.bytes_read) > size) return false;
  skip(r, size - static_cast<std::uint32_t>(r.bytes_read));
  return !r.failed();
}

bool read_vertex_map(reader& r, so_lwo_layer& layer, std::uint32_t size, bool per_polygon) {
  r.bytes_read = 0;
  const block data = read_block(r, size);
  if (r.failed()) return false;
  auto map = std::make_unique<so_lwo_vertex_map>();
  map->per_polygon = per_polygon;
  cursor c{data.begin(), data.end()};
  map->kind = take_u4(r, c);
  map->dimension = take_u2(r, c);
  map->name = take_string(r, c);
  if (r.failed()) return false;
  const std::uint8_t* const records = c.pos;

  // Pass 1: count records, each wholly inside the block.
  const std::size_t value_bytes = static_cast<std::size_t>(map->dimension) * 4;
  std::size_t count = 0;
  for (const std::uint8_t* p = records; p != data.end(); ++count) {
    if (!step_index(p, data.end())) return false;
    if (per_polygon && !step_index(p, data.end())) return false;
    if (value_bytes > static_cast<std::size_t>(data.end() - p)) return false;
    p += value_bytes;
  }
  if (static_cast<std::int64_t>(count) > max_count) return fail(r, read_error::bad_value);
  map->record_count = static_cast<std::int32_t>(count);
  map->point_indexes.resize(count);
  if (per_polygon) map->polygon_indexes.resize(count);
  map->values.resize(count * static_cast<std::size_t>(map->dimension));

  // Pass 2 runs unchecked: pass 1 proved every record fits.
  const std::uint8_t* p = records;
  float* value = map->values.data();
  for (std::size_t i = 0; i < count; ++i) {
    map->point_indexes[i] = static_cast<std::int32_t>(load_index(p));
    if (per_polygon) map->polygon_indexes[i] = static_cast<std::int32_t>(load_index(p));
    for (std::int32_t d = 0; d < map->dimension; ++d, p += 4) *value++ = load_f4(p);
  }
  layer.maps.push_back(std::move(map));
  ++layer.map_count;
  return true;
}

}  // namespace so3d::lwo
