#include <cstdlib>

#include "objects/so_object.h"
#include "platform/memory/large_blocks.h"

namespace {

// Asymmetric on purpose: a surface whose coordinates all lie beyond a
// sentinel keeps the sentinel as its bound, and existing effects rely on the
// resulting projection.
constexpr float kBoundsMinStart = 1000000.0f;
constexpr float kBoundsMaxStart = -100000.0f;

// Makes sure `set->uv` holds at least `count` pairs. `set->count` never
// exceeds the array's size, so a count above it means the surface grew.
bool reserve_uv(so_texcoord_set& set, std::int32_t count) {
  if (count == 0 || (set.uv != nullptr && count <= set.count)) return true;
  std::free(set.uv);
  const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(so_uv);
  set.uv = static_cast<so_uv*>(std::malloc(bytes));
  so3d::advise_large_block(set.uv, bytes);
  return set.uv != nullptr;
}

}  // namespace

void generate_texture_coordinates(so_surface& surface, float u_scale, float v_scale, std::int32_t width,
                                  std::int32_t height, float crop_left, float crop_top, float crop_right,
                                  float crop_bottom) {
  if (!so_surface_shows_screen(surface) && surface.texture_id == 0) return;
  if (surface.texcoords == nullptr) {
    surface.texcoords = static_cast<so_texcoord_set*>(std::calloc(1, sizeof(so_texcoord_set)));
    if (surface.texcoords == nullptr) return;
  }
  so_texcoord_set& set = *surface.texcoords;

  const std::int32_t count = surface.vertices != nullptr && surface.vertex_count > 0 ? surface.vertex_count : 0;
  float min_x = kBoundsMinStart;
  float min_y = kBoundsMinStart;
  float max_x = kBoundsMaxStart;
  float max_y = kBoundsMaxStart;
  for (std::int32_t i = 0; i < count; ++i) {
    const so_vector3& p = surface.vertices[i];
    if (p.x < min_x) min_x = p.x;
    if (p.x > max_x) max_x = p.x;
    if (p.y < min_y) min_y = p.y;
    if (p.y > max_y) max_y = p.y;
  }
  const float width_x = max_x - min_x;
  const float height_y = max_y - min_y;

  const bool have_uv = reserve_uv(set, count);
  set.count = 0;
  if (!have_uv) return;

  const std::int32_t interleaved_count = so_interleaved_capacity(surface);
  // Locals, so the loop keeps everything in registers: the stores through
  // `uv` could otherwise be taken to change the surface's fields.
  const so_vector3* const vertices = surface.vertices;
  so_uv* const uv = set.uv;
  so_interleaved_vertex* const interleaved = surface.interleaved;
  const float crop_u_low = crop_left / static_cast<float>(width) * u_scale;
  const float crop_u_high = crop_right / static_cast<float>(width) * u_scale;
  const float crop_v_low = crop_top / static_cast<float>(height) * v_scale;
  const float crop_v_high = crop_bottom / static_cast<float>(height) * v_scale;
  const bool cropped = crop_left != 0.0f || crop_right != 0.0f || crop_top != 0.0f || crop_bottom != 0.0f;
  for (std::int32_t i = 0; i < count; ++i) {
    const float tx = (vertices[i].x - min_x) / width_x;
    const float ty = (vertices[i].y - min_y) / height_y;
    float u = tx * u_scale;
    float v = (1.0f - ty) * v_scale;
    if (v_scale < 0.0f) v -= v_scale;

    // Each crop term moves only the vertices on its own edge.
    if (cropped) {
      const float u_edge = u;
      const float v_edge = v;
      if (crop_left != 0.0f && u_edge <= 0.0f) u += crop_u_low;
      if (crop_right != 0.0f && u_edge > 0.0f) u -= crop_u_high;
      if (crop_top != 0.0f && v_edge <= 0.0f) v += crop_v_low;
      if (crop_bottom != 0.0f && v_edge > 0.0f) v -= crop_v_high;
    }

    uv[i] = so_uv{u, v};
    if (i < interleaved_count) interleaved[i].uv0 = so_uv{u, v};
  }
  set.count = count;
}
