#include <gtest/gtest.h>

#include "objects/so_object.h"
#include "tests/objects/object_test_support.h"

using so3d::test::ExpectCoords;
using so3d::test::kQuad;
using so3d::test::TestObject;

TEST(GenerateTextureCoordinates, OnlyScreenAndImageSurfacesGetCoordinates) {
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
}

TEST(GenerateTextureCoordinates, FlipsVAndCropsEachEdgeOnItsOwn) {
  TestObject object;
  so_surface& s = object.AddSurface("One", kQuad);
  generate_texture_coordinates(s, 1, -1, 0, 0, 0, 0, 0, 0);
  ExpectCoords(s, {{0, 0}, {0, 1}, {1, 1}, {1, 0}});  // v runs bottom-up
  generate_texture_coordinates(s, 1, 1, 720, 480, 72, 0, 72, 0);
  ExpectCoords(s, {{0.1f, 1}, {0.1f, 0}, {0.9f, 0}, {0.9f, 1}});
  generate_texture_coordinates(s, 1, 1, 720, 480, 0, 48, 0, 96);
  ExpectCoords(s, {{0, 0.8f}, {0, 0.1f}, {1, 0.1f}, {1, 0.8f}});
}

TEST(GenerateTextureCoordinates, GrowsTheArrayButNeverWritesPastTheInterleavedBlock) {
  TestObject object;
  so_surface& s = object.AddSurface("One", kQuad);
  object.create_interleaved_surface(&s);
  generate_texture_coordinates(s, 1, 1, 0, 0, 0, 0, 0, 0);
  const so_uv* first = s.texcoords->uv;
  generate_texture_coordinates(s, 1, -1, 0, 0, 0, 0, 0, 0);
  EXPECT_EQ(s.texcoords->uv, first);  // same size: reused

  // Eight vertices where the array and the block hold four; AddressSanitizer
  // reports any write past either.
  ASSERT_TRUE(so_surface_allocate_geometry(s, 8));
  for (int i = 0; i < 8; ++i) s.vertices[i] = {float(i), float(i), 0};
  s.vertex_count = 8;
  generate_texture_coordinates(s, 1, 1, 0, 0, 0, 0, 0, 0);
  EXPECT_EQ(so_interleaved_capacity(s), 4);
  EXPECT_NEAR(s.texcoords->uv[7].u, 1.0f, 1e-6f);
  EXPECT_NEAR(s.interleaved[3].uv0.u, 3.0f / 7.0f, 1e-6f);
}
