// Every public object loads, and what it holds agrees with counts taken by a
// separate, deliberately plain walk over the file's chunks; as a drawable
// object, in either handedness, it becomes the fan of triangles its polygons make.
#include <gtest/gtest.h>

#include "objects/so_lightwave_object.h"
#include "tests/lightwave/lwo_test_util.h"
#include "tests/lightwave/lwo_walk.h"
#include "tests/textures/memory_texture_manager.h"

namespace so3d::test {
namespace {

TEST(LightWaveCorpus, EveryObjectLoadsWithTheCountsItDeclaresAndBecomesItsFanOfTriangles) {
  SO3D_REQUIRE_LIGHTWAVE_DATA(root);
  int checked[2] = {0, 0};  // LWO2, LWOB
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file() || entry.path().extension() != ".lwo") continue;
    const std::string bytes = ReadFile(entry.path());
    if (bytes.size() < 12 || (bytes.compare(8, 4, "LWO2") != 0 && bytes.compare(8, 4, "LWOB") != 0)) {
      so_lwo_release(so_lwo_load(entry.path().c_str()));  // other forms fail, but cleanly
      continue;
    }
    SCOPED_TRACE(entry.path().string());
    const WalkedObject e = WalkObject(bytes);
    ++checked[e.older];
    LwoFilePtr file(so_lwo_load(entry.path().c_str()));
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(file->layers.size(), e.points.size());
    EXPECT_EQ(file->layer_count, static_cast<std::int32_t>(std::max<std::size_t>(1, e.layr_chunks)));
    for (std::size_t l = 0; l < e.points.size(); ++l) {
      const so_lwo_layer& layer = *file->layers[l];
      EXPECT_EQ(layer.points.size(), e.points[l]) << "layer " << l;
      EXPECT_EQ(layer.polygons.size(), e.polygons[l]) << "layer " << l;
      for (const so_lwo_polygon& p : layer.polygons)
        ASSERT_LT(static_cast<std::size_t>(p.surface), file->surfaces.size());
      EXPECT_EQ(layer.point_polygons.size(), layer.corners.size());
    }

    auto textures = MakeMemoryManager();
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
      EXPECT_EQ(triangles, e.fan_triangles);
    }
  }
  EXPECT_GT(checked[0], 20);
  EXPECT_GE(checked[1], 3);
}

}  // namespace
}  // namespace so3d::test
