#include "objects/so_object.h"

soObject::soObject(const char* object_name) : name(object_name) {}

soObject::~soObject() = default;

void soObject::Draw(const so_drawing_state& /*state*/) {}

bool soObject::LoadObject(const char* /*path*/, std::int32_t /*handedness*/) { return false; }

void soObject::RebuildTextureCoords(so_surface& surface, float u_scale, float v_scale, std::int32_t width,
                                    std::int32_t height, float crop_left, float crop_top, float crop_right,
                                    float crop_bottom) {
  surface.tc_scale_u = u_scale;
  surface.tc_scale_v = v_scale;
  surface.tc_crop_left = crop_left;
  surface.tc_crop_top = crop_top;
  surface.tc_crop_right = crop_right;
  surface.tc_crop_bottom = crop_bottom;
  generate_texture_coordinates(surface, u_scale, v_scale, width, height, crop_left, crop_top, crop_right, crop_bottom);
}

void soObject::GetBoundingBox(so_vector3& /*min*/, so_vector3& /*max*/) {}

void soObject::ReleaseDeviceDependentResources() {}

void soObject::CreateInterleavedSurfaces() {
  const std::int32_t count = SurfaceCount();
  for (std::int32_t i = 0; i < count; ++i) create_interleaved_surface(SurfaceAt(i));
}

void soObject::create_interleaved_surface(so_surface* surface) {
  if (surface != nullptr) so_surface_build_interleaved(*surface);
}

bool soObject::update_texture_coordinates(const so_drawing_state& state, so_surface& surface, std::int32_t /*index*/,
                                          std::int32_t width, std::int32_t height, float u_extent, float v_extent,
                                          bool normalized) {
  const so_crop crop = state.vectors != nullptr ? state.vectors->crop : so_crop{0, 0, 0, 0};
  const float crop_left = u_extent * crop.left;
  const float crop_top = v_extent * crop.top;
  const float crop_right = u_extent * crop.right;
  const float crop_bottom = v_extent * crop.bottom;
  const float u_scale = normalized ? 1.0f : static_cast<float>(width);
  const float v_scale = normalized ? 1.0f : static_cast<float>(height);

  if (surface.tc_scale_u == u_scale && surface.tc_scale_v == v_scale && surface.tc_crop_left == crop_left &&
      surface.tc_crop_top == crop_top && surface.tc_crop_right == crop_right && surface.tc_crop_bottom == crop_bottom) {
    return false;
  }
  RebuildTextureCoords(surface, u_scale, v_scale, width, height, crop_left, crop_top, crop_right, crop_bottom);
  return true;
}

bool soObject::MoveToNextTile(so_tile_data& tile) {
  so_vector3& pos = tile.vectors.pos;
  const float tile_w = tile.tile_x * 0.01f * tile.vectors.scale.x;
  const float tile_h = tile.tile_y * 0.01f * tile.vectors.scale.y;
  const float half_width = tile.area_width * 0.5f;
  if (pos.x > half_width) {
    // The row ends with one tile past the right edge; the next row starts
    // with its left side on the left edge.
    pos.y -= tile_h;
    pos.x = tile_w * 0.5f - half_width;
  } else {
    pos.x += tile_w;
  }
  return pos.y >= -(tile.area_height * 0.5f + tile_h * 0.5f);
}

bool soObject::HasManyTiles(const so_tile_data& tile) const {
  const float tiles = tile.area_width / (tile.tile_x * 0.01f) / (tile.tile_y * 0.01f) * tile.area_height;
  return tiles >= 8.0f;
}
