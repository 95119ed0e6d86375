#include "objects/so_overlay_object.h"

#include <new>
#include <utility>

namespace {

constexpr std::int32_t kQuadVertices = 6;

void set_rgba(so_rgba& c, float r, float g, float b, float a) { c = so_rgba{r, g, b, a}; }

}  // namespace

soOverlayObject::soOverlayObject(const char* object_name) : soObject(object_name) {}

soOverlayObject::~soOverlayObject() = default;

std::int32_t soOverlayObject::SurfaceCount() const { return static_cast<std::int32_t>(surfaces.size()); }

so_surface* soOverlayObject::SurfaceAt(std::int32_t index) {
  if (index < 0 || static_cast<std::size_t>(index) >= surfaces.size()) return nullptr;
  return surfaces[static_cast<std::size_t>(index)].get();
}

void soOverlayObject::GetBoundingBox(so_vector3& min, so_vector3& max) {
  min = so_vector3{-width / 2.0f, -height / 2.0f, 0.0f};
  max = so_vector3{width / 2.0f, height / 2.0f, 0.0f};
}

bool soOverlayObject::IsOverlayObject() const { return true; }

void soOverlayObject::CreateSurface(float width_in, float height_in, std::int32_t handedness) {
  so_surface_ptr surface = so_make_surface();
  if (!surface || !so_surface_allocate_geometry(*surface, kQuadVertices)) return;
  if (surfaces.size() == surfaces.capacity()) {
    // Reserve first so that the append below cannot fail after the object's
    // size has changed.
    try {
      surfaces.reserve(surfaces.size() + 1);
    } catch (const std::bad_alloc&) { return; }
  }

  width = width_in * 0.01f;
  height = height_in * 0.01f;
  const float w = width / 2.0f;
  const float h = height / 2.0f;

  so_surface_set_name(*surface, "One");
  set_rgba(surface->color, 1, 1, 1, 0);
  set_rgba(surface->ambient, 1, 1, 1, 0);
  set_rgba(surface->diffuse, 1, 1, 1, 0);
  surface->power = 1.0f;

  const bool right_handed = handedness == so_handedness_right;
  const so_vector3 left_quad[kQuadVertices] = {{-w, -h, 0}, {-w, h, 0}, {w, h, 0}, {-w, -h, 0}, {w, h, 0}, {w, -h, 0}};
  // Each triangle of the left-handed quad, wound the other way.
  const so_vector3 right_quad[kQuadVertices] = {{w, h, 0}, {-w, h, 0}, {-w, -h, 0}, {w, -h, 0}, {w, h, 0}, {-w, -h, 0}};
  const so_vector3* corners = right_handed ? right_quad : left_quad;
  const so_vector3 normal{0, 0, right_handed ? 1.0f : -1.0f};
  for (std::int32_t i = 0; i < kQuadVertices; ++i) {
    surface->vertices[i] = corners[i];
    surface->normals[i] = normal;
  }
  surface->vertex_count = kQuadVertices;
  surface->normal_count = kQuadVertices;

  generate_texture_coordinates(*surface, 1, 1, 0, 0, 0, 0, 0, 0);
  create_interleaved_surface(surface.get());
  surfaces.push_back(std::move(surface));
}
