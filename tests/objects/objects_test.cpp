// The object base over hand-filled surfaces: interleaved blocks, generated
// texture coordinates and tiling, and the frame-sized overlay object.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "objects/so_object.h"
#include "objects/so_overlay_object.h"

namespace {

class TestObject : public soObject {
 public:
  TestObject() : soObject("test object") { surfaces.reserve(8); }  // keeps references valid
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

const std::vector<so_vector3> kQuad = {{-1, -1, 0}, {-1, 1, 0}, {1, 1, 0}, {1, -1, 0}};

struct UV {
  float u, v;
};

// Coordinates and, where built, interleaved uv0 equal `expected`.
void ExpectCoords(const so_surface& s, const std::vector<UV>& expected) {
  ASSERT_NE(s.texcoords, nullptr);
  ASSERT_EQ(s.texcoords->count, static_cast<std::int32_t>(expected.size()));
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const so_uv& uv = s.texcoords->uv[i];
    EXPECT_TRUE(std::fabs(uv.u - expected[i].u) < 1e-6f && std::fabs(uv.v - expected[i].v) < 1e-6f) << "vertex " << i;
    if (s.interleaved != nullptr && i < static_cast<std::size_t>(so_interleaved_capacity(s))) {
      EXPECT_TRUE(s.interleaved[i].uv0.u == uv.u && s.interleaved[i].uv0.v == uv.v);
    }
  }
}

so_vectors at(float x, float y) {
  so_vectors v = so_default_vectors();
  v.pos = {x, y, 0};
  return v;
}

TEST(soObject, InterleavedBlocksAreAlignedRebuiltWithoutLeakingAndNeverOverrun) {
  TestObject object;
  so_surface& s = object.AddSurface("One", kQuad);
  s.normal_count = 3;  // the fourth vertex gets a zero normal
  object.CreateInterleavedSurfaces();
  ASSERT_NE(s.interleaved, nullptr);
  EXPECT_TRUE(s.interleaved[1].position.y == 1 && s.interleaved[2].normal.z == -3 && s.interleaved[3].normal.z == 0);
  s.vertices[0].x = -5;
  object.create_interleaved_surface(&s);  // the first block must be freed
  EXPECT_TRUE(reinterpret_cast<std::uintptr_t>(s.interleaved) % 32 == 0u && s.interleaved[0].position.x == -5.0f);
  object.create_interleaved_surface(nullptr);

  generate_texture_coordinates(s, 1, 1, 0, 0, 0, 0, 0, 0);
  const so_uv* first = s.texcoords->uv;
  generate_texture_coordinates(s, 1, -1, 0, 0, 0, 0, 0, 0);
  EXPECT_EQ(s.texcoords->uv, first);  // same size: reused
  // Eight vertices where the coordinate array and the block hold four;
  // AddressSanitizer reports any write past either.
  ASSERT_TRUE(so_surface_allocate_geometry(s, 8));
  for (int i = 0; i < 8; ++i) s.vertices[i] = {float(i), float(i), 0};
  s.vertex_count = 8;
  generate_texture_coordinates(s, 1, 1, 0, 0, 0, 0, 0, 0);
  EXPECT_EQ(so_interleaved_capacity(s), 4);
  EXPECT_TRUE(std::fabs(s.texcoords->uv[7].u - 1) < 1e-6f && std::fabs(s.interleaved[3].uv0.u - 3.0f / 7) < 1e-6f);
}

TEST(soObject, UpdatesCoordinatesOnlyWhenCropOrScaleChanges) {
  TestObject object;
  so_surface& s = object.AddSurface("One", kQuad);
  so_vectors vectors = so_default_vectors();
  so_drawing_state state{};
  state.vectors = &vectors;
  EXPECT_TRUE(object.update_texture_coordinates(state, s, 0, 720, 480, 1, 1, true));
  EXPECT_FALSE(object.update_texture_coordinates(state, s, 0, 720, 480, 1, 1, true));
  vectors.crop = {36, 0, 0, 0};  // scaled by the u extent before use
  EXPECT_TRUE(object.update_texture_coordinates(state, s, 0, 720, 480, 2, 1, true));
  ExpectCoords(s, {{0.1f, 1}, {0.1f, 0}, {1, 0}, {1, 1}});
  EXPECT_TRUE(object.update_texture_coordinates(state, s, 0, 720, 480, 2, 1, false));
}

TEST(soObject, TilesStepAlongRowsThenDownAndAreManyFromEight) {
  TestObject object;
  const struct {
    float x, y, to_x, to_y;
    bool more;
  } steps[] = {{0, 0, 1, 0, true}, {3.7f, 0, -3.1f, -1, true}, {3.7f, -2.5f, -3.1f, -3.5f, false}};
  for (const auto& step : steps) {
    so_tile_data tile{at(step.x, step.y), 100, 100, 7.2f, 4.8f};
    EXPECT_EQ(object.MoveToNextTile(tile), step.more) << step.x << ", " << step.y;
    EXPECT_FLOAT_EQ(tile.vectors.pos.x, step.to_x);
    EXPECT_FLOAT_EQ(tile.vectors.pos.y, step.to_y);
  }
  so_tile_data tile{at(0, 0), 50, 50, 7.2f, 4.8f};
  tile.vectors.scale = {4, 2, 1};  // steps are percentages of the scale
  object.MoveToNextTile(tile);
  EXPECT_FLOAT_EQ(tile.vectors.pos.x, 2.0f);
  tile = {at(0, 0), 100, 100, 8, 1};  // many: at least eight unscaled tiles in the area
  tile.vectors.scale = {10, 10, 1};
  EXPECT_TRUE(object.HasManyTiles(tile));
  tile.area_width = 7.99f;
  EXPECT_FALSE(object.HasManyTiles(tile));
}

TEST(GenerateTextureCoordinates, OnlyScreenAndImageSurfacesFlippedAndCroppedPerEdge) {
  TestObject object;
  so_surface& plain = object.AddSurface("Body", kQuad);
  so_surface& image = object.AddSurface("Body", kQuad);
  image.texture_id = 7;
  so_surface& four = object.AddSurface("Four", {{0, 0, 0}, {2, 4, 0}});
  // Every x lies above the minimum's start (1e6) and every y below the
  // maximum's (-1e5), so those bounds keep their start values.
  so_surface& far = object.AddSurface("One", {{2e6f, -2e5f, 0}, {3e6f, -3e5f, 0}});
  for (so_surface& s : object.surfaces) generate_texture_coordinates(s, 1, 1, 0, 0, 0, 0, 0, 0);
  EXPECT_EQ(plain.texcoords, nullptr);
  ExpectCoords(image, {{0, 1}, {0, 0}, {1, 0}, {1, 1}});
  ExpectCoords(four, {{0, 1}, {1, 0}});
  ExpectCoords(far, {{0.5f, 0.5f}, {1, 1}});

  generate_texture_coordinates(image, 1, -1, 0, 0, 0, 0, 0, 0);
  ExpectCoords(image, {{0, 0}, {0, 1}, {1, 1}, {1, 0}});  // v runs bottom-up
  generate_texture_coordinates(image, 1, 1, 720, 480, 72, 0, 72, 0);
  ExpectCoords(image, {{0.1f, 1}, {0.1f, 0}, {0.9f, 0}, {0.9f, 1}});
  generate_texture_coordinates(image, 1, 1, 720, 480, 0, 48, 0, 96);
  ExpectCoords(image, {{0, 0.8f}, {0, 0.1f}, {1, 0.1f}, {1, 0.8f}});
}

TEST(soOverlayObject, MakesAFrameQuadInEitherWinding) {
  soOverlayObject left("left"), right("right");
  left.CreateSurface(720, 480, so_handedness_left);
  right.CreateSurface(720, 480, so_handedness_right);
  ASSERT_TRUE(left.SurfaceCount() == 1 && right.SurfaceCount() == 1);
  const so_surface &s = *left.SurfaceAt(0), &r = *right.SurfaceAt(0);
  ASSERT_TRUE(so_surface_has_name(s, "One") && s.vertex_count == 6 && r.vertex_count == 6);
  const UV corners[] = {{-3.6f, -2.4f}, {-3.6f, 2.4f}, {3.6f, 2.4f}, {-3.6f, -2.4f}, {3.6f, 2.4f}, {3.6f, -2.4f}};
  ExpectCoords(s, {{0, 1}, {0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}});
  for (int i = 0; i < 6; ++i) {
    EXPECT_FLOAT_EQ(s.vertices[i].x, corners[i].u) << "vertex " << i;
    EXPECT_FLOAT_EQ(s.vertices[i].y, corners[i].v) << "vertex " << i;
    // Right-handed, each triangle runs the other way and faces +z.
    const int j = i / 3 * 3 + 2 - i % 3;
    EXPECT_TRUE(r.vertices[j].x == s.vertices[i].x && r.vertices[j].y == s.vertices[i].y &&
                r.texcoords->uv[j].u == s.texcoords->uv[i].u && r.texcoords->uv[j].v == s.texcoords->uv[i].v)
        << "vertex " << i;
    EXPECT_TRUE(s.interleaved[i].normal.z == -1 && r.interleaved[j].normal.z == 1) << "vertex " << i;
  }

  // Surfaces accumulate and the box follows the last. Destroyed through the
  // base, as the registry does; AddressSanitizer checks every block goes.
  std::unique_ptr<soObject> overlay = std::make_unique<soOverlayObject>("overlay");
  auto& concrete = static_cast<soOverlayObject&>(*overlay);
  concrete.CreateSurface(720, 480, so_handedness_left);
  concrete.CreateSurface(200, 100, 0);  // any code but right-handed is left-handed
  ASSERT_EQ(overlay->SurfaceCount(), 2);
  EXPECT_FLOAT_EQ(overlay->SurfaceAt(1)->vertices[0].x, -1.0f);
  EXPECT_EQ(overlay->SurfaceAt(2), nullptr);
  so_vector3 min{}, max{};
  overlay->GetBoundingBox(min, max);
  EXPECT_TRUE(min.x == -1.0f && max.y == 0.5f);
  // A crop rebuild reaches the interleaved vertices too.
  overlay->RebuildTextureCoords(*overlay->SurfaceAt(0), 1, 1, 720, 480, 72, 0, 72, 0);
  ExpectCoords(*overlay->SurfaceAt(0), {{0.1f, 1}, {0.1f, 0}, {0.9f, 0}, {0.1f, 1}, {0.9f, 0}, {0.9f, 1}});
}

}  // namespace
