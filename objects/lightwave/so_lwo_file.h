#pragma once
// The in-memory record of one object file: layers with points, polygons,
// tags and vertex maps, plus surfaces, image clips and envelopes, with the
// geometry finished (bounds, normals, smoothed corner normals, per-point
// polygon lists, every polygon bound to a surface).
//
// Lists keep file order. Per-point and per-corner lists live in one shared
// array per layer; the accessors below return them as spans.
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/so_envelope.h"
#include "base/so_read_error.h"
#include "objects/lightwave/so_lwo_surface.h"

struct so_lwo_vertex_map;

struct so_lwo_map_ref {
  so_lwo_vertex_map* map = nullptr;
  std::int32_t record = 0;  // record index within `map`
};

struct so_lwo_point {
  float position[3] = {0, 0, 0};
  std::int32_t polygon_count = 0;  // corners of the layer that name the point
  std::int32_t polygon_first = 0;  // start of its list in the layer's point_polygons
};

struct so_lwo_corner {
  std::int32_t point = 0;       // index into the layer's points
  float normal[3] = {0, 0, 0};  // smoothed vertex normal
};

struct so_lwo_polygon {
  // The tag index while reading (0 when no PTAG record names the polygon);
  // after loading, the index of its surface in so_lwo_file::surfaces.
  std::int32_t surface = 0;
  std::int32_t part = 0;
  std::int32_t smoothing_group = 0;
  std::uint32_t kind = 0;          // form of its POLS chunk, e.g. FACE
  float normal[3] = {0, 0, 0};     // unit, or zero when degenerate or < 3 corners
  std::uint16_t flags = 0;         // top six bits of the count word, in place
  std::uint16_t corner_count = 0;  // 0 .. 1023 (LWO2), 0 .. 65535 (LWOB)
  std::int32_t corner_first = 0;   // first of its corners in the layer's corners
};

struct so_lwo_vertex_map {
  std::string name;
  std::uint32_t kind = 0;      // map type as read
  std::int32_t dimension = 0;  // values per record
  std::int32_t record_count = 0;
  bool per_polygon = false;  // VMAD
  std::vector<std::int32_t> point_indexes;
  std::vector<std::int32_t> polygon_indexes;  // per-polygon maps only
  std::vector<float> values;                  // record i at i * dimension

  std::span<const float> row(std::int32_t record) const {
    return std::span<const float>(values).subspan(static_cast<std::size_t>(record) * dimension, dimension);
  }
};

struct so_lwo_layer {
  std::string name;
  std::int32_t number = 0;
  std::int32_t parent = 0;
  std::uint32_t flags = 0;
  float pivot[3] = {0, 0, 0};
  float bounds[6] = {0, 0, 0, 0, 0, 0};  // min x, y, z, then max x, y, z

  std::vector<so_lwo_point> points;
  std::int32_t points_offset = 0;  // point count before the latest PNTS chunk
  std::vector<so_lwo_polygon> polygons;
  std::int32_t polygons_offset = 0;    // polygon count before the latest POLS chunk
  std::vector<so_lwo_corner> corners;  // all polygons' corners, polygon by polygon
  std::int32_t corners_offset = 0;     // corner total before the latest POLS chunk

  std::vector<std::unique_ptr<so_lwo_vertex_map>> maps;  // VMAP and VMAD, file order
  std::int32_t map_count = 0;

  // Polygon lists of all points, point by point, each in polygon and corner
  // order (a polygon that names a point twice is listed twice).
  std::vector<std::int32_t> point_polygons;
  // Map references of points (per-point maps) and of corners (per-polygon
  // maps): entry i spans [start[i], start[i + 1]); empty when no such map.
  std::vector<std::int32_t> point_map_ref_start;
  std::vector<so_lwo_map_ref> point_map_refs;
  std::vector<std::int32_t> corner_map_ref_start;
  std::vector<so_lwo_map_ref> corner_map_refs;
};

struct so_lwo_tag_table {
  std::int32_t count = 0;
  std::int32_t offset = 0;  // tag count before the latest TAGS chunk
  std::vector<std::string> names;
};

struct so_lwo_file {
  std::vector<std::unique_ptr<so_lwo_layer>> layers;
  std::vector<std::unique_ptr<so_envelope>> envelopes;  // also linked through next/prev
  std::vector<std::unique_ptr<so_lwo_clip>> clips;
  // SURF chunks in file order, then the surfaces made for tags that no SURF
  // chunk names (and one unnamed surface for polygons of a file without tags).
  std::vector<std::unique_ptr<so_lwo_surface>> surfaces;
  so_lwo_tag_table tags;
  std::int32_t layer_count = 0;
  std::int32_t envelope_count = 0;
  std::int32_t clip_count = 0;
  std::int32_t surface_count = 0;
};

// Reads an object file of form LWO2 (or, through the older-format reader,
// LWOB). Returns an owned record, or null when the file cannot be opened or
// is malformed; nothing is left allocated then. Never throws.
so_lwo_file* so_lwo_load(const char* path);
// The same, and on failure says why and where through `failure` (may be null).
so_lwo_file* so_lwo_load(const char* path, so3d::read_failure* failure);
namespace so3d::lwo {
// What the latest so_lwo_load on this thread found, for load reports: why it
// failed, or the points and polygons of the file it read.
struct load_note {
  std::uint64_t sequence = 0;  // counts the loads of this thread
  read_failure failure;
  std::int64_t points = 0;
  std::int64_t polygons = 0;
};
const load_note& last_load();
}  // namespace so3d::lwo

// Releases a record from so_lwo_load; null is ignored.
void so_lwo_release(so_lwo_file* file);

// The polygons that use point `point` of `layer`.
std::span<const std::int32_t> so_lwo_point_polygons(const so_lwo_layer& layer, std::int32_t point);
// Records of per-point maps that name a point, in map then record order.
std::span<const so_lwo_map_ref> so_lwo_point_map_refs(const so_lwo_layer& layer, std::int32_t point);
// Records of per-polygon maps that name a corner (index into layer.corners).
std::span<const so_lwo_map_ref> so_lwo_corner_map_refs(const so_lwo_layer& layer, std::int32_t corner);
