// soD3DObjectManager: a loaded scene drawn through it by the scene renderer,
// with the module reached through its umbrella header as a host reaches it,
// and device loss and change dropping what lives on the device.
#include <gtest/gtest.h>

#include <algorithm>

#include "module/so3d.h"
#include "tests/render/render_fixtures.h"
#include "tests/support/recording_device.h"
#include "tests/support/scene_setup.h"

namespace {

using namespace so3d::test;
using namespace so3d::fixtures;
using Log = std::vector<std::string>;

TEST(D3DObjectManager, LoadedSceneReachesTheDeviceAndLeavesWithIt) {
  TempDir dir;
  LwoWriter strip;  // three quads on a plain surface: six triangles
  strip.tags({"Side"})
      .points({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 1, 0}, {3, 1, 0}})
      .polygons({{0, 4, 5, 1}, {1, 5, 6, 2}, {2, 6, 7, 3}})
      .surface("Side");
  dir.Write("quad.lwo", QuadObject());
  dir.Write("strip.lwo", strip.bytes());

  RecordingDevice device, second;
  {
    soD3DObjectManager manager(&device);
    auto scene = LoadScene(dir, manager,
                           SceneWriter().Object("quad.lwo", 1).Place(-1, 0, 0).Object("strip.lwo", 2).Place(1, 0, 0));
    soD3DSceneRenderer renderer(&device);
    SizeRenderer(renderer, 720, 480);
    dynamic_cast<soD3DTextureManager&>(manager.TextureManager())
        .SetTexture(1, 1, device.MakeHostTexture(720, 480), soTextureManager::so_alpha_straight, 720, 480, 1, 1);
    const so_screen_data screens[] = {{1, 1, nullptr, 0}, {2, 2, nullptr, 0}};
    device.ClearLog();
    renderer.Draw(scene.get(), screens, 2, 0, 1, 0, nullptr, 0, nullptr);
    Log draws = device.Log("DrawPrimitive");
    std::sort(draws.begin(), draws.end());
    EXPECT_EQ(draws, (Log{"DrawPrimitive(4, 0, 2)", "DrawPrimitive(4, 0, 6)"}));
    EXPECT_EQ(device.Log("SetTexture"), Log{"SetTexture(0, tex1)"});
    // Device loss and a device change drop both buffers; host pictures are the host's.
    EXPECT_EQ(device.LiveResources(), 2);
    manager.ReleaseAllD3DResources();
    EXPECT_EQ(device.LiveResources(), 0);
    renderer.Draw(scene.get(), screens, 2, 0, 1, 0, nullptr, 0, nullptr);  // remade, for the change to drop
    manager.ChangeD3Device(second);
    EXPECT_EQ(std::tuple(manager.Device(), device.LiveResources()), std::tuple(&second, 0));
    scene.reset();
  }
  EXPECT_EQ(device.Misuses(), Log{});
}

}  // namespace
