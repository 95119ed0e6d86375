#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "objects/so_overlay_object.h"
#include "tests/objects/object_test_support.h"

using so3d::test::ExpectCoords;
using so3d::test::UV;

TEST(soOverlayObject, MakesAFrameQuadInEitherWinding) {
  const struct {
    std::int32_t handedness;
    std::vector<UV> corners;  // x, y
    float normal_z;
    std::vector<UV> coords;
  } cases[] = {
      {so_handedness_left,
       {{-3.6f, -2.4f}, {-3.6f, 2.4f}, {3.6f, 2.4f}, {-3.6f, -2.4f}, {3.6f, 2.4f}, {3.6f, -2.4f}},
       -1.0f,
       {{0, 1}, {0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}}},
      {so_handedness_right,
       {{3.6f, 2.4f}, {-3.6f, 2.4f}, {-3.6f, -2.4f}, {3.6f, -2.4f}, {3.6f, 2.4f}, {-3.6f, -2.4f}},
       1.0f,
       {{1, 0}, {0, 0}, {0, 1}, {1, 1}, {1, 0}, {0, 1}}},
  };
  for (const auto& c : cases) {
    soOverlayObject overlay("overlay");
    overlay.CreateSurface(720, 480, c.handedness);
    ASSERT_EQ(overlay.SurfaceCount(), 1);
    const so_surface& s = *overlay.SurfaceAt(0);
    EXPECT_TRUE(so_surface_has_name(s, "One"));
    ASSERT_EQ(s.vertex_count, 6);
    for (int i = 0; i < 6; ++i) {
      EXPECT_FLOAT_EQ(s.vertices[i].x, c.corners[i].u) << "vertex " << i;
      EXPECT_FLOAT_EQ(s.vertices[i].y, c.corners[i].v) << "vertex " << i;
      EXPECT_EQ(s.interleaved[i].normal.z, c.normal_z);
    }
    ExpectCoords(s, c.coords);
  }
}

TEST(soOverlayObject, SurfacesAccumulateAndTheBoxFollowsTheLast) {
  // Destroyed through the base, as the registry does; AddressSanitizer
  // checks that every block goes with it.
  std::unique_ptr<soObject> overlay = std::make_unique<soOverlayObject>("overlay");
  auto& concrete = static_cast<soOverlayObject&>(*overlay);
  concrete.CreateSurface(720, 480, so_handedness_left);
  concrete.CreateSurface(200, 100, 0);  // any code but right-handed is left-handed
  ASSERT_EQ(overlay->SurfaceCount(), 2);
  EXPECT_FLOAT_EQ(overlay->SurfaceAt(1)->vertices[0].x, -1.0f);
  EXPECT_EQ(overlay->SurfaceAt(2), nullptr);
  so_vector3 min{}, max{};
  overlay->GetBoundingBox(min, max);
  EXPECT_FLOAT_EQ(min.x, -1.0f);
  EXPECT_FLOAT_EQ(max.y, 0.5f);
  // A crop rebuild reaches the interleaved vertices too.
  overlay->RebuildTextureCoords(*overlay->SurfaceAt(0), 1, 1, 720, 480, 72, 0, 72, 0);
  ExpectCoords(*overlay->SurfaceAt(0), {{0.1f, 1}, {0.1f, 0}, {0.9f, 0}, {0.1f, 1}, {0.9f, 0}, {0.9f, 1}});
}
