// soD3DObjectManager: device loss and change, and a loaded scene drawn
// through it by the scene renderer, with the module reached through its
// umbrella header as a host reaches it.
#include <gtest/gtest.h>

#include <algorithm>

#include "module/so3d.h"
#include "tests/d3d_objects/d3d_object_fixture.h"
#include "tests/render/render_fixtures.h"
#include "tests/support/scene_writer.h"
#include "tests/support/temp_dir.h"

namespace {

using namespace so3d::test;
using Log = std::vector<std::string>;

void HandIn(soD3DObjectManager& m, RecordingDevice& device, std::int32_t screen) {
  dynamic_cast<soD3DTextureManager&>(m.TextureManager())
      .SetTexture(1, screen, device.MakeHostTexture(720, 480), soTextureManager::so_alpha_straight, 720, 480, 1, 1);
}

TEST(D3DObjectManager, DeviceLossAndChangeDropWhatLivesOnTheDevice) {
  RecordingDevice first, second;
  int deleted = 0;
  {
    soD3DObjectManager manager(&first);
    auto* source = new SurfaceObject(&deleted);
    source->AddQuads("One");
    soObject* drawable = nullptr;
    ASSERT_EQ(manager.CreateDrawable(source, &drawable), 0);
    HandIn(manager, first, 0);
    zRecord record;
    so_object_data data{0, 0, 0, 1, 0};
    so_drawing_state state{};
    state.object_data = &data;
    state.record = &record;
    state.device = &first;
    drawable->Draw(state);
    EXPECT_EQ(first.LiveResources(), 2);  // the buffer and the mask
    manager.ReleaseAllD3DResources();
    EXPECT_EQ(first.LiveResources(), 0);
    drawable->Draw(state);
    EXPECT_EQ(first.LiveResources(), 2);

    manager.ChangeD3Device(second);
    EXPECT_EQ(manager.Device(), &second);
    EXPECT_EQ(first.LiveResources(), 0);
    EXPECT_EQ(second.Log("CreateTexture"), Log{"CreateTexture(720, 480, 1, 0, 21, 1, null)"});
    state.device = &second;
    drawable->Draw(state);
    EXPECT_EQ(second.Count("CreateVertexBuffer"), 1u);
    EXPECT_EQ(second.Count("DrawPrimitive"), 0u) << "host pictures went with the old device";
  }
  EXPECT_EQ(deleted, 1);
  EXPECT_EQ(second.LiveResources(), 0);
}

TEST(D3DObjectManager, LoadedSceneReachesTheDevice) {
  TempDir dir;
  LwoWriter strip;  // three quads on a plain surface: six triangles
  strip.tags({"Side"})
      .points({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 1, 0}, {3, 1, 0}})
      .polygons({{0, 4, 5, 1}, {1, 5, 6, 2}, {2, 6, 7, 3}})
      .ptag("SURF", {{0, 0}, {1, 0}, {2, 0}})
      .surface("Side");
  dir.Write("quad.lwo", QuadObject());
  dir.Write("strip.lwo", strip.bytes());
  SceneWriter w;
  w.Object("quad.lwo", 1).Place(-1, 0, 0).Object("strip.lwo", 2).Place(1, 0, 0);

  RecordingDevice device;
  soD3DObjectManager manager(&device);
  EXPECT_EQ(manager.ObjectHandedness(), 0x6C667448);
  std::unique_ptr<soScene> scene(soScene::Factory(manager.TextureManager(), manager));
  ASSERT_EQ(scene->Load(dir.Write("fx.lws", w.Text()).c_str(), manager.ObjectHandedness()), 0);
  soD3DSceneRenderer renderer(&device);
  renderer.Initalize(720, 480);
  renderer.UpdateProjectionSize(720, 480);
  HandIn(manager, device, 1);
  const so_screen_data screens[] = {{1, 1, nullptr, 0}, {2, 2, nullptr, 0}};
  for (unsigned frame = 0; frame < 2; ++frame) {
    device.ClearLog();
    renderer.Draw(scene.get(), screens, 2, 0, 1, 0, nullptr, 0, nullptr);
    Log draws = device.Log("DrawPrimitive");
    std::sort(draws.begin(), draws.end());
    EXPECT_EQ(draws, (Log{"DrawPrimitive(4, 0, 2)", "DrawPrimitive(4, 0, 6)"}));
    EXPECT_EQ(device.Log("SetTexture"), Log{"SetTexture(0, tex1)"});
    EXPECT_EQ(device.Count("CreateVertexBuffer"), frame == 0 ? 3u : 0u);  // the screen quad's rebuilt once
  }
  scene.reset();
  EXPECT_EQ(device.Misuses(), Log{});
}

}  // namespace
