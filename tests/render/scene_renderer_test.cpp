// The renderer base: growth of the drawing-order storage and the lookups
// that match objects against the frame's screens.
#include <gtest/gtest.h>

#include <limits>
#include <type_traits>
#include <vector>

#include "platform/foundation/z_record.h"
#include "render/so_scene_renderer.h"
#include "scene/so_lightwave_scene.h"
#include "tests/support/test_registries.h"

namespace {

using namespace so3d::test;

class TestRenderer : public soSceneRenderer {
 public:
  void Initalize(std::int32_t, std::int32_t) override {}
  void UpdateProjectionSize(std::int32_t, std::int32_t) override {}
  void Draw(soScene*, const so_screen_data*, std::int32_t, float, float, std::uint32_t, soXIDrawingFunctions*,
            std::int32_t, void*) override {}

  using soSceneRenderer::depth_sort_capacity;
  using soSceneRenderer::DepthSort_ConvertIndex;
  using soSceneRenderer::DepthSort_ValidIndex;
  using soSceneRenderer::DoDepthSort;
  using soSceneRenderer::FindRecordForScreen;
  using soSceneRenderer::FindRecordsForScreen;
  using soSceneRenderer::GetScreensForTransition;
  using soSceneRenderer::MakeTileData;
};

static_assert(!std::is_copy_constructible_v<TestRenderer> && !std::is_copy_assignable_v<TestRenderer>);

// A scene that claims any number of objects and sorts them last first.
class CountedScene : public soLightWaveScene {
 public:
  using soLightWaveScene::soLightWaveScene;
  std::uint32_t count = 0;
  std::vector<std::uint32_t> sorted_counts;  // the count of every DepthSort call

  std::uint32_t ObjectCount() override { return count; }
  void DepthSort(so_depth_entry* entries, std::uint32_t n, float) override {
    sorted_counts.push_back(n);
    for (std::uint32_t i = 0; i < n; ++i) entries[i] = {static_cast<float>(i), n - 1 - i};
  }
};

class DepthSort : public ::testing::Test {
 protected:
  TestRegistries r;
  CountedScene scene{*r.textures, r.objects};
  TestRenderer renderer;

  void Sort(std::uint32_t n) {
    scene.count = n;
    renderer.DoDepthSort(scene, 0);
  }
};

TEST_F(DepthSort, GrowsByTheStepAndNeverShrinks) {
  EXPECT_FALSE(renderer.DepthSort_ValidIndex(0));
  EXPECT_EQ(renderer.depth_sort_capacity(), 4u);
  Sort(4);
  EXPECT_EQ(renderer.depth_sort_capacity(), 4u);
  Sort(5);
  EXPECT_EQ(renderer.depth_sort_capacity(), 8u);
  Sort(20);  // the step alone is not enough: 20 + 4
  EXPECT_EQ(renderer.depth_sort_capacity(), 24u);
  Sort(5);
  EXPECT_EQ(renderer.depth_sort_capacity(), 24u);
  EXPECT_TRUE(renderer.DepthSort_ValidIndex(4));
  EXPECT_FALSE(renderer.DepthSort_ValidIndex(5));
  // The scene's order comes back, and what was kept from 20 entries is intact.
  for (std::uint32_t i = 0; i < 5; ++i) EXPECT_EQ(renderer.DepthSort_ConvertIndex(i), 4 - i);
  EXPECT_EQ(renderer.DepthSort_ConvertIndex(15), 4u);
}

TEST_F(DepthSort, IndexAccessGrowsWithoutCounting) {
  Sort(4);
  EXPECT_EQ(renderer.DepthSort_ConvertIndex(4), 0u);  // new entries read 0
  EXPECT_EQ(renderer.depth_sort_capacity(), 8u);
  for (std::uint32_t i = 0; i < 4; ++i) EXPECT_EQ(renderer.DepthSort_ConvertIndex(i), 3 - i) << "inline entries moved";
  EXPECT_FALSE(renderer.DepthSort_ValidIndex(4));
  renderer.DepthSort_ConvertIndex(30);
  EXPECT_EQ(renderer.depth_sort_capacity(), 35u);
}

TEST_F(DepthSort, EmptySceneIsStillAskedToSort) {
  Sort(0);
  EXPECT_EQ(scene.sorted_counts, std::vector<std::uint32_t>{0});
  EXPECT_FALSE(renderer.DepthSort_ValidIndex(0));
}

TEST_F(DepthSort, UnreachableSizesDrawNothingAndLeaveTheStorage) {
  Sort(6);
  Sort(std::numeric_limits<std::uint32_t>::max());
  EXPECT_FALSE(renderer.DepthSort_ValidIndex(0));
  EXPECT_EQ(scene.sorted_counts.size(), 1u) << "the scene must not write past the storage";
  EXPECT_EQ(renderer.depth_sort_capacity(), 8u);
  EXPECT_EQ(renderer.DepthSort_ConvertIndex(0xFFFFFFFBu), 0xFFFFFFFFu);
  EXPECT_EQ(renderer.DepthSort_ConvertIndex(0xFFFFFFFFu), 0xFFFFFFFFu);
  Sort(6);
  EXPECT_TRUE(renderer.DepthSort_ValidIndex(5));
  EXPECT_EQ(renderer.DepthSort_ConvertIndex(0), 5u);
}

class ScreenLookup : public ::testing::Test {
 protected:
  TestRenderer renderer;
  zRecord r1, r2, r3;
  const zRecord* out[3] = {nullptr, nullptr, nullptr};
  static so_object_data Object(std::int32_t screen, std::int32_t slot) { return {0, 0, 0, slot, screen}; }
};

TEST_F(ScreenLookup, ExactMatchesComeInScreenOrderUpToTheMaximum) {
  const so_screen_data screens[] = {{2, 1, &r1, 0}, {1, 1, &r2, 0}, {2, 1, &r3, 0}, {2, 0, nullptr, 0}};
  EXPECT_EQ(renderer.FindRecordsForScreen(screens, 4, Object(2, 1), out, 2), 2);
  EXPECT_EQ(out[0], &r1);
  EXPECT_EQ(out[1], &r3);
  out[1] = nullptr;
  EXPECT_EQ(renderer.FindRecordsForScreen(screens, 4, Object(2, 1), out, 1), 1);
  EXPECT_EQ(out[1], nullptr) << "wrote past the maximum";
  EXPECT_EQ(renderer.FindRecordForScreen(screens, 4, Object(2, 1)), &r3);
  // A null record is still a match.
  EXPECT_EQ(renderer.FindRecordsForScreen(screens, 4, Object(2, 0), out, 2), 1);
  EXPECT_EQ(out[0], nullptr);
}

TEST_F(ScreenLookup, WithoutAnExactMatchTheScreenAloneDecides) {
  const so_screen_data screens[] = {{1, 5, &r1, 0}, {2, 5, &r2, 0}, {1, 6, &r3, 0}};
  EXPECT_EQ(renderer.FindRecordsForScreen(screens, 3, Object(1, 9), out, 2), 1);
  EXPECT_EQ(out[0], &r1);
  EXPECT_EQ(renderer.FindRecordForScreen(screens, 3, Object(1, 9)), &r3);
  // The screen pass writes its one record whatever the maximum.
  out[0] = nullptr;
  EXPECT_EQ(renderer.FindRecordsForScreen(screens, 3, Object(2, 9), out, 0), 1);
  EXPECT_EQ(out[0], &r2);
}

TEST_F(ScreenLookup, NothingMatchesNothingIsWritten) {
  const so_screen_data screens[] = {{1, 1, &r1, 0}};
  out[0] = &r3;
  EXPECT_EQ(renderer.FindRecordsForScreen(screens, 1, Object(4, 1), out, 2), 0);
  EXPECT_EQ(renderer.FindRecordsForScreen(screens, 0, Object(1, 1), out, 2), 0);
  EXPECT_EQ(renderer.FindRecordsForScreen(screens, -3, Object(1, 1), out, 2), 0);
  EXPECT_EQ(renderer.FindRecordsForScreen(nullptr, 4, Object(1, 1), out, 2), 0);
  EXPECT_EQ(out[0], &r3);
  EXPECT_EQ(renderer.FindRecordForScreen(screens, 1, Object(4, 1)), nullptr);
  EXPECT_EQ(renderer.FindRecordForScreen(screens, 0, Object(1, 1)), nullptr);
  EXPECT_EQ(renderer.FindRecordForScreen(nullptr, 5, Object(1, 1)), nullptr);
}

TEST_F(ScreenLookup, ScreensOfATransition) {
  const so_screen_data screens[] = {{0, 0, nullptr, 1}, {1, 0, nullptr, 2}, {2, 0, nullptr, 1}, {3, 0, nullptr, 2}};
  const so_screen_data* first = nullptr;
  EXPECT_EQ(renderer.GetScreensForTransition(screens, 4, 2, &first), 2);
  EXPECT_EQ(first, &screens[1]);
  EXPECT_EQ(renderer.GetScreensForTransition(screens, 4, 7, &first), 0);
  EXPECT_EQ(first, screens);
  first = nullptr;
  EXPECT_EQ(renderer.GetScreensForTransition(screens, 0, 1, &first), 0);
  EXPECT_EQ(first, screens);
}

TEST(MakeTileData, TakesTheVectorsTheStepsAndTheScenesFrame) {
  TestRegistries r;
  CountedScene scene(*r.textures, r.objects);
  TestRenderer renderer;
  so_vectors v = so_default_vectors();
  v.pos = {1, 2, 3};
  v.crop = {4, 5, 6, 7};
  const so_object_data data{so_object_flag_tiled, 25, 50, 0, 1};
  so_tile_data tile{};
  renderer.MakeTileData(tile, v, data, scene);
  EXPECT_EQ(tile.vectors.pos.y, 2);
  EXPECT_EQ(tile.vectors.crop.bottom, 7);
  EXPECT_EQ(tile.tile_x, 25);
  EXPECT_EQ(tile.tile_y, 50);
  EXPECT_FLOAT_EQ(tile.area_width, 7.2f);
  EXPECT_FLOAT_EQ(tile.area_height, 4.8f);
}

}  // namespace
