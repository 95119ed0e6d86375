// Every public object becomes, in either handedness, the fan of triangles
// its polygons make, counted by a walk over the file independent of the
// reader.
#include <gtest/gtest.h>

#include "objects/so_lightwave_object.h"
#include "tests/lightwave/lwo_walk.h"
#include "tests/support/temp_dir.h"
#include "tests/textures/memory_texture_manager.h"

TEST(LightWaveCorpus, EveryObjectBecomesItsFanOfTriangles) {
  SO3D_REQUIRE_LIGHTWAVE_DATA(root);
  int loaded[2] = {0, 0};  // LWO2, LWOB
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file() || entry.path().extension() != ".lwo") continue;
    SCOPED_TRACE(entry.path().string());
    const so3d::test::WalkedObject walked = so3d::test::WalkObject(so3d::test::ReadFile(entry.path()));
    auto textures = so3d::test::MakeMemoryManager();
    for (std::int32_t handedness : {so_handedness_left, so_handedness_right}) {
      soLightWaveObject object(entry.path().c_str(), textures.get());
      ASSERT_TRUE(object.LoadObject(entry.path().c_str(), handedness));
      long long triangles = 0;
      for (std::int32_t i = 0; i < object.SurfaceCount(); ++i) {
        const so_surface& s = *object.SurfaceAt(i);
        EXPECT_TRUE(s.vertex_count % 3 == 0 && s.normal_count == s.vertex_count);
        EXPECT_TRUE(s.vertex_count == 0 || s.interleaved != nullptr);
        triangles += s.vertex_count / 3;
      }
      EXPECT_EQ(triangles, walked.fan_triangles);
    }
    ++loaded[walked.older];
  }
  EXPECT_GT(loaded[0], 0);
  EXPECT_GE(loaded[1], 3);
}
