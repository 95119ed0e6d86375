// Finishing steps run on each layer once the whole file has been read. Every
// step is linear in the layer's points, corners and map records, apart from
// the corner-normal sums (each corner visits the polygons of its point) and
// the corner lookup of per-polygon map records (at most 1023 corners each).
#include <algorithm>
#include <cmath>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <string_view>
#include <unordered_map>

#include "objects/lightwave/so_lwo_chunks.h"
#include "platform/memory/large_blocks.h"

namespace so3d::lwo {

namespace {

// Bounds start from these when no BBOX chunk set any value.
constexpr float bounds_start = 1e20f;

void normalise(float v[3]) {
  const float length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  if (length > 0.0f) {
    v[0] /= length;
    v[1] /= length;
    v[2] /= length;
  }
}

// Corner point indexes are checked where the point lists are counted.
bool map_indexes_in_range(const so_lwo_layer& layer) {
  const std::size_t points = layer.points.size();
  const std::size_t polygons = layer.polygons.size();
  for (const auto& map : layer.maps) {
    for (std::int32_t p : map->point_indexes) {
      if (static_cast<std::size_t>(p) >= points) return false;
    }
    for (std::int32_t p : map->polygon_indexes) {
      if (static_cast<std::size_t>(p) >= polygons) return false;
    }
  }
  return true;
}

void compute_bounds(so_lwo_layer& layer) {
  if (layer.points.empty()) return;
  for (float v : layer.bounds) {
    if (v != 0.0f) return;
  }
  float* lo = layer.bounds;
  float* hi = layer.bounds + 3;
  for (int a = 0; a < 3; ++a) {
    lo[a] = bounds_start;
    hi[a] = -bounds_start;
  }
  for (const so_lwo_point& p : layer.points) {
    for (int a = 0; a < 3; ++a) {
      lo[a] = p.position[a] < lo[a] ? p.position[a] : lo[a];
      hi[a] = p.position[a] > hi[a] ? p.position[a] : hi[a];
    }
  }
}

void compute_polygon_normals(so_lwo_layer& layer) {
  for (so_lwo_polygon& polygon : layer.polygons) {
    if (polygon.corner_count < 3) continue;
    const so_lwo_corner* corners = layer.corners.data() + polygon.corner_first;
    const float* p0 = layer.points[corners[0].point].position;
    const float* p1 = layer.points[corners[1].point].position;
    const float* pn = layer.points[corners[polygon.corner_count - 1].point].position;
    const float a[3] = {p1[0] - p0[0], p1[1] - p0[1], p1[2] - p0[2]};
    const float b[3] = {pn[0] - p0[0], pn[1] - p0[1], pn[2] - p0[2]};
    float* n = polygon.normal;
    n[0] = a[1] * b[2] - a[2] * b[1];
    n[1] = a[2] * b[0] - a[0] * b[2];
    n[2] = a[0] * b[1] - a[1] * b[0];
    normalise(n);
  }
}

// Also the check of every corner's point index, before any other use.
bool build_point_polygons(so_lwo_layer& layer) {
  const std::size_t points = layer.points.size();
  for (const so_lwo_corner& c : layer.corners) {
    if (static_cast<std::size_t>(c.point) >= points) return false;
    ++layer.points[static_cast<std::size_t>(c.point)].polygon_count;
  }
  std::int32_t first = 0;
  for (so_lwo_point& p : layer.points) {
    p.polygon_first = first;
    first += p.polygon_count;
    p.polygon_count = 0;  // counts again while filling below
  }
  layer.point_polygons.reserve(static_cast<std::size_t>(first));
  so3d::advise_large_block(layer.point_polygons.data(), static_cast<std::size_t>(first) * sizeof(std::int32_t));
  layer.point_polygons.resize(static_cast<std::size_t>(first));
  const std::int32_t polygon_total = static_cast<std::int32_t>(layer.polygons.size());
  for (std::int32_t j = 0; j < polygon_total; ++j) {
    const so_lwo_polygon& polygon = layer.polygons[j];
    const so_lwo_corner* corners = layer.corners.data() + polygon.corner_first;
    for (std::uint16_t k = 0; k < polygon.corner_count; ++k) {
      so_lwo_point& p = layer.points[corners[k].point];
      layer.point_polygons[p.polygon_first + p.polygon_count++] = j;
    }
  }
  return true;
}

std::int32_t add_surface(so_lwo_file& file, std::string_view name) {
  auto surface = make_default_surface();
  if (!surface) return -1;
  surface->name = name;
  file.surfaces.push_back(std::move(surface));
  file.surface_count = static_cast<std::int32_t>(file.surfaces.size());
  return file.surface_count - 1;
}

void bind_tags(const so_lwo_file& file, surface_binding& binding) {
  std::unordered_map<std::string_view, std::int32_t> first_by_name;
  for (std::size_t i = 0; i < file.surfaces.size(); ++i) {
    const std::string& name = file.surfaces[i]->name;
    if (!name.empty()) first_by_name.emplace(name, static_cast<std::int32_t>(i));
  }
  binding.tag_surface.assign(file.tags.names.size(), -1);
  for (std::size_t t = 0; t < file.tags.names.size(); ++t) {
    const std::string& tag = file.tags.names[t];
    if (tag.empty()) continue;
    const auto found = first_by_name.find(tag);
    if (found != first_by_name.end()) binding.tag_surface[t] = found->second;
  }
  binding.ready = true;
}

bool resolve_surfaces(so_lwo_file& file, so_lwo_layer& layer, surface_binding& binding) {
  if (layer.polygons.empty()) return true;
  if (file.tags.names.empty()) {
    // Without tags, every polygon shares one unnamed default surface; a tag
    // index other than the implicit 0 has nothing to refer to.
    for (const so_lwo_polygon& polygon : layer.polygons) {
      if (polygon.surface != 0) return false;
    }
    if (binding.untagged < 0) binding.untagged = add_surface(file, {});
    if (binding.untagged < 0) return false;
    for (so_lwo_polygon& polygon : layer.polygons) polygon.surface = binding.untagged;
    return true;
  }
  if (!binding.ready) bind_tags(file, binding);
  const std::size_t tag_count = binding.tag_surface.size();
  for (so_lwo_polygon& polygon : layer.polygons) {
    const std::size_t t = static_cast<std::size_t>(polygon.surface);
    if (polygon.surface < 0 || t >= tag_count) return false;
    if (binding.tag_surface[t] < 0) {
      binding.tag_surface[t] = add_surface(file, file.tags.names[t]);
      if (binding.tag_surface[t] < 0) return false;
    }
    polygon.surface = binding.tag_surface[t];
  }
  return true;
}

// Decides, without an arc cosine in the common case, whether two unit
// normals with dot product `dot` lie within a surface's smoothing angle:
// acos(dot) <= angle, where a dot outside -1 .. 1 (or NaN) has no angle and
// counts as within.
struct smoothing_limit {
  bool smooth = false;  // angle above 0
  bool always = false;  // angle at least pi: every pair is within
  float angle = 0.0f;
  double cosine = 0.0;

  explicit smoothing_limit(float a) : smooth(a > 0.0f), angle(a) {
    always = static_cast<double>(a) >= std::acos(-1.0);
    if (smooth && !always) cosine = std::cos(static_cast<double>(a));
  }

  bool within(float dot) const {
    if (!(dot >= -1.0f && dot <= 1.0f) || always) return true;
    // acos falls monotonically, so only a dot next to cos(angle) needs the
    // exact test; the margin dwarfs the rounding of cos and acos.
    constexpr double margin = 1e-12;
    const double d = dot;
    if (d > cosine + margin) return true;
    if (d < cosine - margin) return false;
    return !(std::acos(d) > static_cast<double>(angle));
  }
};

// Divides each (x[i], y[i], z[i]) by its length where that is above 0,
// four at a time where the processor allows. Square root and division are
// correctly rounded in both forms, so the results equal one-at-a-time
// normalise() exactly.
void normalise_all(float* x, float* y, float* z, std::size_t n) {
  std::size_t i = 0;
#if defined(__SSE2__)
  const __m128 zero = _mm_setzero_ps();
  const __m128 one = _mm_set1_ps(1.0f);
  for (; i + 4 <= n; i += 4) {
    const __m128 vx = _mm_loadu_ps(x + i);
    const __m128 vy = _mm_loadu_ps(y + i);
    const __m128 vz = _mm_loadu_ps(z + i);
    const __m128 sum = _mm_add_ps(_mm_add_ps(_mm_mul_ps(vx, vx), _mm_mul_ps(vy, vy)), _mm_mul_ps(vz, vz));
    const __m128 length = _mm_sqrt_ps(sum);
    const __m128 positive = _mm_cmpgt_ps(length, zero);
    const __m128 d = _mm_or_ps(_mm_and_ps(positive, length), _mm_andnot_ps(positive, one));
    _mm_storeu_ps(x + i, _mm_div_ps(vx, d));
    _mm_storeu_ps(y + i, _mm_div_ps(vy, d));
    _mm_storeu_ps(z + i, _mm_div_ps(vz, d));
  }
#endif
  for (; i < n; ++i) {
    float v[3] = {x[i], y[i], z[i]};
    normalise(v);
    x[i] = v[0];
    y[i] = v[1];
    z[i] = v[2];
  }
}

void smooth_corner_normals(const so_lwo_file& file, so_lwo_layer& layer) {
  std::vector<smoothing_limit> limits;
  limits.reserve(file.surfaces.size());
  for (const auto& s : file.surfaces) limits.emplace_back(s->smoothing_angle);

  // Corner sums, normalised together a batch at a time (older-form polygons
  // may have up to 65535 corners).
  constexpr std::size_t batch = 1024;
  float sx[batch], sy[batch], sz[batch];
  const std::int32_t polygon_total = static_cast<std::int32_t>(layer.polygons.size());
  for (std::int32_t j = 0; j < polygon_total; ++j) {
    const so_lwo_polygon& polygon = layer.polygons[j];
    so_lwo_corner* corners = layer.corners.data() + polygon.corner_first;
    const smoothing_limit& limit = limits[static_cast<std::size_t>(polygon.surface)];
    const float* n = polygon.normal;
    const std::uint16_t count = polygon.corner_count;
    if (!limit.smooth) {
      for (std::uint16_t k = 0; k < count; ++k) {
        corners[k].normal[0] = n[0];
        corners[k].normal[1] = n[1];
        corners[k].normal[2] = n[2];
      }
      continue;
    }
    for (std::size_t first = 0; first < count; first += batch) {
      so_lwo_corner* run = corners + first;
      const std::size_t run_count = std::min<std::size_t>(batch, count - first);
      for (std::size_t k = 0; k < run_count; ++k) {
        float x = n[0], y = n[1], z = n[2];
        for (std::int32_t h : so_lwo_point_polygons(layer, run[k].point)) {
          if (h == j) continue;
          const so_lwo_polygon& other = layer.polygons[h];
          if (other.smoothing_group != polygon.smoothing_group) continue;
          const float* m = other.normal;
          if (!limit.within(n[0] * m[0] + n[1] * m[1] + n[2] * m[2])) continue;
          x += m[0];
          y += m[1];
          z += m[2];
        }
        sx[k] = x;
        sy[k] = y;
        sz[k] = z;
      }
      normalise_all(sx, sy, sz, run_count);
      for (std::size_t k = 0; k < run_count; ++k) {
        run[k].normal[0] = sx[k];
        run[k].normal[1] = sy[k];
        run[k].normal[2] = sz[k];
      }
    }
  }
}

// Turns list sizes stored at start[i + 1] into list bounds: list i spans
// start[i] .. start[i + 1].
void prefix_sums(std::vector<std::int32_t>& start) {
  for (std::size_t i = 1; i < start.size(); ++i) start[i] += start[i - 1];
}

void build_point_map_refs(so_lwo_layer& layer) {
  bool any = false;
  for (const auto& map : layer.maps) any |= !map->per_polygon;
  if (!any) return;
  auto& start = layer.point_map_ref_start;
  start.assign(layer.points.size() + 1, 0);
  for (const auto& map : layer.maps) {
    if (map->per_polygon) continue;
    for (std::int32_t p : map->point_indexes) ++start[static_cast<std::size_t>(p) + 1];
  }
  prefix_sums(start);
  layer.point_map_refs.resize(static_cast<std::size_t>(start.back()));
  std::vector<std::int32_t> next(start.begin(), start.end() - 1);
  for (const auto& map : layer.maps) {
    if (map->per_polygon) continue;
    for (std::int32_t i = 0; i < map->record_count; ++i) {
      const std::size_t p = static_cast<std::size_t>(map->point_indexes[i]);
      layer.point_map_refs[static_cast<std::size_t>(next[p]++)] = {map.get(), i};
    }
  }
}

// The corner (index into layer.corners) of record i's polygon that names
// record i's point, or -1.
std::int32_t matching_corner(const so_lwo_layer& layer, const so_lwo_vertex_map& map, std::int32_t i) {
  const so_lwo_polygon& polygon = layer.polygons[static_cast<std::size_t>(map.polygon_indexes[i])];
  const std::int32_t point = map.point_indexes[i];
  for (std::int32_t k = 0; k < polygon.corner_count; ++k) {
    if (layer.corners[static_cast<std::size_t>(polygon.corner_first + k)].point == point)
      return polygon.corner_first + k;
  }
  return -1;
}

void build_corner_map_refs(so_lwo_layer& layer) {
  bool any = false;
  for (const auto& map : layer.maps) any |= map->per_polygon;
  if (!any) return;
  auto& start = layer.corner_map_ref_start;
  start.assign(layer.corners.size() + 1, 0);
  for (const auto& map : layer.maps) {
    if (!map->per_polygon) continue;
    for (std::int32_t i = 0; i < map->record_count; ++i) {
      const std::int32_t c = matching_corner(layer, *map, i);
      if (c >= 0) ++start[static_cast<std::size_t>(c) + 1];
    }
  }
  prefix_sums(start);
  layer.corner_map_refs.resize(static_cast<std::size_t>(start.back()));
  std::vector<std::int32_t> next(start.begin(), start.end() - 1);
  for (const auto& map : layer.maps) {
    if (!map->per_polygon) continue;
    for (std::int32_t i = 0; i < map->record_count; ++i) {
      const std::int32_t c = matching_corner(layer, *map, i);
      if (c >= 0) layer.corner_map_refs[static_cast<std::size_t>(next[static_cast<std::size_t>(c)]++)] = {map.get(), i};
    }
  }
}

}  // namespace

bool finish_layer(so_lwo_file& file, so_lwo_layer& layer, surface_binding& binding) {
  if (!map_indexes_in_range(layer) || !build_point_polygons(layer)) return false;
  compute_bounds(layer);
  compute_polygon_normals(layer);
  if (!resolve_surfaces(file, layer, binding)) return false;
  smooth_corner_normals(file, layer);
  build_point_map_refs(layer);
  build_corner_map_refs(layer);
  return true;
}

}  // namespace so3d::lwo

std::span<const std::int32_t> so_lwo_point_polygons(const so_lwo_layer& layer, std::int32_t point) {
  const so_lwo_point& p = layer.points[static_cast<std::size_t>(point)];
  return std::span<const std::int32_t>(layer.point_polygons)
      .subspan(static_cast<std::size_t>(p.polygon_first), static_cast<std::size_t>(p.polygon_count));
}

namespace {

std::span<const so_lwo_map_ref> refs_of(const std::vector<std::int32_t>& start, const std::vector<so_lwo_map_ref>& refs,
                                        std::int32_t i) {
  const std::size_t n = static_cast<std::size_t>(i);
  if (n + 1 >= start.size()) return {};
  return std::span<const so_lwo_map_ref>(refs).subspan(static_cast<std::size_t>(start[n]),
                                                       static_cast<std::size_t>(start[n + 1] - start[n]));
}

}  // namespace

std::span<const so_lwo_map_ref> so_lwo_point_map_refs(const so_lwo_layer& layer, std::int32_t point) {
  return refs_of(layer.point_map_ref_start, layer.point_map_refs, point);
}

std::span<const so_lwo_map_ref> so_lwo_corner_map_refs(const so_lwo_layer& layer, std::int32_t corner) {
  return refs_of(layer.corner_map_ref_start, layer.corner_map_refs, corner);
}
