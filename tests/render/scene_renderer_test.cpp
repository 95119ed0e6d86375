// The renderer base: growth of the drawing-order storage and the lookups
// that match objects against the frame's screens.
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <utility>
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
  using soSceneRenderer::FindRecordsForScreen;
};

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

TEST(DepthSort, GrowsByTheStepKeepsEntriesAndRefusesUnreachableSizes) {
  TestRegistries r;
  CountedScene scene{*r.textures, r.objects};
  TestRenderer renderer;
  const auto sort = [&](std::uint32_t n) { scene.count = n, renderer.DoDepthSort(scene, 0); };
  sort(0);
  EXPECT_EQ(scene.sorted_counts, std::vector<std::uint32_t>{0}) << "an empty scene is still asked to sort";
  EXPECT_FALSE(renderer.DepthSort_ValidIndex(0));
  sort(4);
  // Index access grows without counting and moves the inline entries.
  EXPECT_EQ(renderer.DepthSort_ConvertIndex(4), 0u);
  EXPECT_EQ(renderer.depth_sort_capacity(), 8u);
  for (std::uint32_t i = 0; i < 4; ++i) EXPECT_EQ(renderer.DepthSort_ConvertIndex(i), 3 - i);
  EXPECT_FALSE(renderer.DepthSort_ValidIndex(4));
  for (const auto& [count, capacity] : {std::pair{9u, 12u}, {20u, 24u} /* the step alone is not enough */, {5u, 24u}}) {
    sort(count);
    EXPECT_EQ(renderer.depth_sort_capacity(), capacity) << count;
  }
  EXPECT_TRUE(renderer.DepthSort_ValidIndex(4) && !renderer.DepthSort_ValidIndex(5));
  for (std::uint32_t i = 0; i < 5; ++i) EXPECT_EQ(renderer.DepthSort_ConvertIndex(i), 4 - i);
  EXPECT_EQ(renderer.DepthSort_ConvertIndex(15), 4u) << "what was kept from 20 entries is intact";

  // Sizes past a 32-bit capacity draw nothing, and the storage stays usable.
  sort(std::numeric_limits<std::uint32_t>::max());
  EXPECT_FALSE(renderer.DepthSort_ValidIndex(0));
  EXPECT_EQ(scene.sorted_counts.size(), 5u) << "the scene must not write past the storage";
  EXPECT_EQ(renderer.DepthSort_ConvertIndex(0xFFFFFFFBu), 0xFFFFFFFFu);
  EXPECT_EQ(renderer.depth_sort_capacity(), 24u);
  sort(6);
  EXPECT_EQ(renderer.DepthSort_ConvertIndex(0), 5u);
}

TEST(ScreenLookup, ExactMatchesFirstThenTheScreenAlone) {
  TestRenderer renderer;
  zRecord r1, r2, r3, unset;
  using Out = std::array<const zRecord*, 3>;
  // The count found and the out slots, which start as &unset.
  auto find = [&](const so_screen_data* screens, std::int32_t screen, std::int32_t slot, std::int32_t max) {
    Out out{&unset, &unset, &unset};
    return std::pair(renderer.FindRecordsForScreen(screens, 4, {0, 0, 0, slot, screen}, out.data(), max), out);
  };
  const so_screen_data exact[] = {{2, 1, &r1, 0}, {1, 1, &r2, 0}, {2, 1, &r3, 0}, {2, 0, nullptr, 0}};
  EXPECT_EQ(find(exact, 2, 1, 1), std::pair(1, Out{&r1, &unset, &unset})) << "never past the maximum";
  EXPECT_EQ(find(exact, 2, 1, 2), std::pair(2, Out{&r1, &r3, &unset}));
  EXPECT_EQ(find(exact, 2, 0, 2), std::pair(1, Out{nullptr, &unset, &unset})) << "a null record still matches";
  // Without an exact match: the first of the screen, whatever the maximum.
  const so_screen_data by_screen[] = {{1, 5, &r1, 0}, {2, 5, &r2, 0}, {1, 6, &r3, 0}, {0, 0, nullptr, 9}};
  EXPECT_EQ(find(by_screen, 1, 9, 2), std::pair(1, Out{&r1, &unset, &unset}));
  EXPECT_EQ(find(by_screen, 2, 9, 0), std::pair(1, Out{&r2, &unset, &unset}));
  EXPECT_EQ(find(by_screen, 4, 1, 2), std::pair(0, Out{&unset, &unset, &unset}));
  EXPECT_EQ(find(nullptr, 1, 1, 2), std::pair(0, Out{&unset, &unset, &unset}));
}

}  // namespace
