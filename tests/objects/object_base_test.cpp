#include <gtest/gtest.h>

#include <cstdint>

#include "objects/so_object.h"
#include "tests/objects/object_test_support.h"

using so3d::test::kQuad;
using so3d::test::TestObject;

namespace {

so_vectors at(float x, float y) {
  so_vectors v = so_default_vectors();
  v.pos = {x, y, 0};
  return v;
}

}  // namespace

TEST(soObject, BuildsAlignedInterleavedVerticesAndRebuildsWithoutLeaking) {
  TestObject object;
  so_surface& s = object.AddSurface("One", kQuad);
  s.normal_count = 3;  // the fourth vertex gets a zero normal
  object.CreateInterleavedSurfaces();
  ASSERT_NE(s.interleaved, nullptr);
  EXPECT_EQ(s.interleaved[1].position.y, 1.0f);
  EXPECT_EQ(s.interleaved[2].normal.z, -3.0f);
  EXPECT_EQ(s.interleaved[3].normal.z, 0.0f);
  s.vertices[0].x = -5;
  object.create_interleaved_surface(&s);  // the first block must be freed
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(s.interleaved) % 32, 0u);
  EXPECT_EQ(s.interleaved[0].position.x, -5.0f);
  object.create_interleaved_surface(nullptr);
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
  so3d::test::ExpectCoords(s, {{0.1f, 1}, {0.1f, 0}, {1, 0}, {1, 1}});
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

  // Many tiles: at least eight unscaled ones in the area.
  tile = {at(0, 0), 100, 100, 8, 1};
  tile.vectors.scale = {10, 10, 1};  // not applied
  EXPECT_TRUE(object.HasManyTiles(tile));
  tile.area_width = 7.99f;
  EXPECT_FALSE(object.HasManyTiles(tile));
}
