// A host may destroy the object registry, the renderer and its scenes in
// any order, and keep drawing what is left: nothing reaches freed memory
// (the sanitizer build would say so).
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>

#include "backends/null/null_device.h"
#include "fixtures/lwo_writer.h"
#include "fixtures/scene_writer.h"
#include "render/so_d3d_object_manager.h"
#include "render/so_d3d_scene_renderer.h"
#include "scene/so_scene.h"
#include "tests/support/temp_dir.h"

namespace {

using so3d::fixtures::SceneWriter;

TEST(Teardown, EveryOrderOfRegistryRendererAndScenes) {
  so3d::test::TempDir dir;
  dir.Write("quad.lwo", so3d::fixtures::QuadObject());
  const std::string a_path = dir.Write("a.lws", SceneWriter().Object("quad.lwo", 0).Object("quad.lwo", 1).Text());
  const std::string b_path = dir.Write("b.lws", SceneWriter().Object("quad.lwo", 1).Text());
  so_screen_data screens[2] = {{0, 1, nullptr, 0}, {1, 2, nullptr, 0}};

  enum Part { registry, renderer, scene_a, scene_b, transition };
  std::array<int, 5> order = {registry, renderer, scene_a, scene_b, transition};
  do {
    auto* device = new so3d::backend::NullDevice;
    auto objects = std::make_unique<soD3DObjectManager>(device);
    auto draw = std::make_unique<soD3DSceneRenderer>(device);
    draw->Initalize(64, 48);
    draw->UpdateProjectionSize(64, 48);
    std::unique_ptr<soScene> scenes[3];
    for (auto& s : scenes) s.reset(soScene::Factory(objects->TextureManager(), *objects));
    ASSERT_EQ(scenes[0]->Load(a_path.c_str(), so_handedness_left), 0);
    ASSERT_EQ(scenes[1]->Load(b_path.c_str(), so_handedness_left), 0);
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
