// Devices that fail and devices that are lost: a surface whose buffer or
// texture cannot be made is not drawn and the next frame recovers; a
// thousand release / device-change cycles leave no resource behind and
// draw the same frame each time.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/foundation/z_record.h"
#include "render/so_d3d_object_manager.h"
#include "tests/support/recording_device.h"
#include "tests/support/scene_setup.h"
#include "textures/so_d3d_texture_manager.h"
#ifdef SO3D_HAVE_GLES
#include "backends/gles/gles_device.h"
#endif

namespace {

using namespace so3d::test;

// Two screens, each a full-frame quad, over one registry and renderer.
struct Rig {
  TempDir dir;
  IDirect3DDevice9* device;
  soD3DObjectManager objects;
  soD3DSceneRenderer renderer;
  std::unique_ptr<soScene> scene;
  zRecord record;  // a screen with a record is drawn with the antialiasing mask
  so_screen_data screens[2] = {{0, 1, &record, 0}, {1, 2, nullptr, 0}};

  explicit Rig(IDirect3DDevice9* d) : device(d), objects(d), renderer(d) {
    dir.Write("quad.lwo", so3d::fixtures::QuadObject(7.2f, 4.8f));
    scene = LoadScene(dir, objects, so3d::fixtures::SceneWriter().Object("quad.lwo", 0).Object("quad.lwo", 1));
    SizeRenderer(renderer, 64, 48);
  }
  void Draw(IDirect3DTexture9* picture) {
    for (int n = 0; n < 2; ++n)
      objects.D3DTextureManager().SetTexture(n + 1, n, picture, soTextureManager::so_alpha_opaque, 64, 48, 1, 1);
    DrawFrame(*device, renderer, scene.get(), screens, 2);
    objects.D3DTextureManager().UnbindAll();
  }
};

// Nothing crashes, nothing is misused, nothing leaks. A buffer that could not
// be made stays absent, its surface undrawn, until the host's next reset; a
// buffer whose lock failed is drawn without contents; a surface whose mask
// could not be made is drawn without it.
TEST(DeviceFailure, WhatCannotBeMadeIsSkippedUntilTheNextReset) {
  RecordingDevice device;
  Rig rig(&device);
  RecordingTexture* picture = device.MakeHostTexture(64, 48);
  const struct {
    const char* method;
    std::size_t drawn;  // in the frame that fails and the one after it
  } cases[] = {{"CreateVertexBuffer", 0}, {"Lock", 2}, {"CreateTexture", 2}, {"LockRect", 2}};
  for (const auto& c : cases) {
    device.Fail(c.method);  // every call, for one frame
    device.ClearLog();
    rig.Draw(picture);
    EXPECT_EQ(device.Count("DrawPrimitive"), c.drawn) << c.method;
    device.Succeed(c.method);
    for (std::size_t drawn : {c.drawn, std::size_t(2)}) {  // the frame after, then after a reset
      device.ClearLog();
      rig.Draw(picture);
      EXPECT_EQ(device.Count("DrawPrimitive"), drawn) << c.method;
      rig.objects.ReleaseAllD3DResources();
    }
    EXPECT_TRUE(device.Misuses().empty()) << c.method;
  }
  EXPECT_EQ(device.LiveResources(), 0);
  picture->Release();
}

TEST(DeviceLoss, AThousandResetsLeaveNothingBehind) {
  RecordingDevice first, second;
  Rig rig(&first);
  rig.screens[0].record = nullptr;  // no mask each cycle: these devices keep what they made
  RecordingTexture* pictures[2] = {first.MakeHostTexture(64, 48), second.MakeHostTexture(64, 48)};
  // The same device again on most cycles, the other one every hundredth: each
  // change of device makes a new 720 x 480 mask, which these devices keep.
  auto device_of = [&](int cycle) -> RecordingDevice& { return (cycle / 100) % 2 ? second : first; };
  for (int cycle = 0; cycle < 1000; ++cycle) {
    RecordingDevice& now = device_of(cycle);
    now.ClearLog();
    rig.Draw(pictures[&now == &second]);
    ASSERT_EQ(now.Count("DrawPrimitive"), 2u) << "cycle " << cycle;
    rig.objects.ReleaseAllD3DResources();
    ASSERT_EQ(now.LiveResources(), 0) << "cycle " << cycle;
    RecordingDevice& next = device_of(cycle + 1);
    rig.objects.ChangeD3Device(next);
    rig.renderer.UpdateDirect3DDevice(next);
    rig.device = &next;
    SizeRenderer(rig.renderer, 64, 48);
  }
  EXPECT_TRUE(first.Misuses().empty() && second.Misuses().empty());
  for (RecordingTexture* p : pictures) p->Release();
}

#ifdef SO3D_HAVE_GLES
TEST(DeviceLoss, GlesFramesAfterEveryResetMatchTheFirst) {
  so3d::gles::GlesDevice* device = nullptr;
  std::string why;
  if (FAILED(so3d::gles::GlesDevice::Create({64, 48}, &device, &why))) GTEST_SKIP() << "no OpenGL ES 3: " << why;
  {
    Rig rig(device);
    IDirect3DTexture9* picture = nullptr;
    ASSERT_EQ(device->CreateTexture(64, 48, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &picture, nullptr), D3D_OK);
    D3DLOCKED_RECT locked{};
    ASSERT_EQ(picture->LockRect(0, &locked, nullptr, 0), D3D_OK);
    for (int i = 0; i < 64 * 48; ++i)
      static_cast<std::uint32_t*>(locked.pBits)[i] = 0xFF000000u | std::uint32_t(i * 97);
    picture->UnlockRect(0);
    rig.Draw(picture);
    const std::vector<std::uint8_t> first = device->ReadPixels(so3d::gles::PixelOrder::rgba);
    for (int cycle = 0; cycle < 1000; ++cycle) {
      rig.objects.ReleaseAllD3DResources();
      if (cycle % 2) rig.objects.ChangeD3Device(*device);
      rig.Draw(picture);
      ASSERT_EQ(device->ReadPixels(so3d::gles::PixelOrder::rgba), first) << "cycle " << cycle;
    }
    picture->Release();
  }
  device->Release();
}
#endif

}  // namespace
