// A host may destroy the object registry, the renderer and its scenes in
// any order, and keep drawing what is left: nothing reaches freed memory
// (the sanitizer build would say so).
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>

#include "backends/null/null_device.h"
#include "render/so_d3d_object_manager.h"
#include "tests/support/scene_setup.h"

namespace {

using namespace so3d::test;
using so3d::fixtures::SceneWriter;

TEST(Teardown, EveryOrderOfRegistryRendererAndScenes) {
  TempDir dir;
  dir.Write("quad.lwo", so3d::fixtures::QuadObject());
  so_screen_data screens[2] = {{0, 1, nullptr, 0}, {1, 2, nullptr, 0}};

  enum Part { registry, renderer, scene_a, scene_b, transition };
  std::array<int, 5> order = {registry, renderer, scene_a, scene_b, transition};
  do {
    auto* device = new so3d::backend::NullDevice;
    auto objects = std::make_unique<soD3DObjectManager>(device);
    auto draw = std::make_unique<soD3DSceneRenderer>(device);
    SizeRenderer(*draw, 64, 48);
    std::unique_ptr<soScene> scenes[3] = {
        LoadScene(dir, *objects, SceneWriter().Object("quad.lwo", 0).Object("quad.lwo", 1)),
        LoadScene(dir, *objects, SceneWriter().Object("quad.lwo", 1)),
        std::unique_ptr<soScene>(soScene::Factory(objects->TextureManager(), *objects))};
    scenes[2]->Interpolate(scenes[0].get(), screens, 2, 0, scenes[1].get(), screens, 2, 0);
    ASSERT_GT(scenes[2]->ObjectCount(), 0u);

    for (int part : order) {
      if (part == registry) objects.reset();
      if (part == renderer) draw.reset();
      if (part >= scene_a) scenes[part - scene_a].reset();
      for (auto& s : scenes) {
        if (s && draw) draw->Draw(s.get(), screens, 2, 1.0f, 2.0f, 0, nullptr, 0, nullptr);
        EXPECT_TRUE(!s || objects || s->ObjectCount() == 0) << "a scene lets go of a dead registry's objects";
      }
    }
    EXPECT_EQ(device->Release(), 0u);
  } while (std::next_permutation(order.begin(), order.end()));
}

}  // namespace
