#pragma once
// A Direct3D texture manager on a recording device, with surfaces to bind.
#include <gtest/gtest.h>

#include <memory>

#include "base/so_surface.h"
#include "tests/support/recording_device.h"
#include "textures/so_d3d_texture_manager.h"

namespace so3d::test {

struct ReleaseD3DManager {
  void operator()(soD3DTextureManager* manager) const { manager->Release(); }
};
using D3DManagerPtr = std::unique_ptr<soD3DTextureManager, ReleaseD3DManager>;

class D3DTextureTest : public ::testing::Test {
 protected:
  using Alpha = soTextureManager::so_alpha_type;

  RecordingDevice device;
  D3DManagerPtr manager{new soD3DTextureManager(&device)};

  void TearDown() override {
    manager.reset();
    EXPECT_EQ(device.LiveResources(), 0);
    EXPECT_EQ(device.Misuses(), std::vector<std::string>{});
    EXPECT_EQ(device.References(), 1u) << "the manager must not count the device";
  }

  static so_surface_ptr Surface(const char* name, std::int32_t texture_id = 0) {
    so_surface_ptr surface = so_make_surface();
    so_surface_set_name(*surface, name);
    surface->texture_id = texture_id;
    return surface;
  }
  static so_object_data Object(std::int32_t slot, std::int32_t screen) { return so_object_data{0, 0, 0, slot, screen}; }
};

}  // namespace so3d::test
