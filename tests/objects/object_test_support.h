#pragma once
// A concrete object over hand-filled surfaces, with the protected base
// operations opened up, and a check of generated coordinates.
#include <gtest/gtest.h>

#include <vector>

#include "objects/so_object.h"

namespace so3d::test {

class TestObject : public soObject {
 public:
  TestObject() : soObject("test object") { surfaces.reserve(8); }  // keeps references valid
  TestObject(const TestObject&) = delete;
  ~TestObject() override {
    for (so_surface& s : surfaces) so_surface_release_blocks(&s);
  }
  std::int32_t SurfaceCount() const override { return static_cast<std::int32_t>(surfaces.size()); }
  so_surface* SurfaceAt(std::int32_t index) override { return &surfaces.at(index); }

  // Normal i is (0, 0, -1 - i), so each vertex's normal is recognisable.
  so_surface& AddSurface(const char* surface_name, const std::vector<so_vector3>& positions) {
    so_surface& s = surfaces.emplace_back();
    so_surface_set_name(s, surface_name);
    so_surface_allocate_geometry(s, static_cast<std::int32_t>(positions.size()));
    for (const so_vector3& p : positions) {
      s.normals[s.vertex_count] = {0, 0, -1.0f - static_cast<float>(s.vertex_count)};
      s.vertices[s.vertex_count++] = p;
    }
    s.normal_count = s.vertex_count;
    return s;
  }

  using soObject::create_interleaved_surface;
  using soObject::HasManyTiles;
  using soObject::MoveToNextTile;
  using soObject::update_texture_coordinates;

  std::vector<so_surface> surfaces;
};

// The corners (-1,-1), (-1,1), (1,1), (1,-1).
inline const std::vector<so_vector3> kQuad = {{-1, -1, 0}, {-1, 1, 0}, {1, 1, 0}, {1, -1, 0}};

struct UV {
  float u;
  float v;
};

// Coordinates and, where built, interleaved uv0 equal `expected`.
inline void ExpectCoords(const so_surface& s, const std::vector<UV>& expected) {
  ASSERT_NE(s.texcoords, nullptr);
  ASSERT_EQ(s.texcoords->count, static_cast<std::int32_t>(expected.size()));
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_NEAR(s.texcoords->uv[i].u, expected[i].u, 1e-6f) << "vertex " << i;
    EXPECT_NEAR(s.texcoords->uv[i].v, expected[i].v, 1e-6f) << "vertex " << i;
    if (s.interleaved != nullptr && i < static_cast<std::size_t>(so_interleaved_capacity(s))) {
      EXPECT_EQ(s.interleaved[i].uv0.u, s.texcoords->uv[i].u) << "vertex " << i;
      EXPECT_EQ(s.interleaved[i].uv0.v, s.texcoords->uv[i].v) << "vertex " << i;
    }
  }
}

}  // namespace so3d::test
