// The whole library on the GL device, as a host drives it: a scene file with
// a quad whose surface shows a host picture, loaded through the Direct3D
// object registry and drawn by the Direct3D scene renderer.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "platform/foundation/z_boot.h"
#include "render/so_d3d_object_manager.h"
#include "tests/gles/gles_test_support.h"
#include "tests/support/scene_setup.h"
#include "textures/so_d3d_texture_manager.h"

namespace {

using namespace so3d::test;
using namespace so3d::fixtures;

// 180 × 120 keeps the frame's 3:2 shape; the camera 10 units away sees a
// 7.2 × 4.8 plane, so a 3.6 × 2.4 quad covers the middle half each way.
constexpr unsigned frame_w = 180, frame_h = 120;
constexpr unsigned quad_x0 = 45, quad_x1 = 135, quad_y0 = 30, quad_y1 = 90, mid_x = 90, mid_y = 60;
const Rgba quadrant_colours[2][2] = {{{255, 0, 0, 255}, {0, 255, 0, 255}}, {{0, 0, 255, 255}, {255, 255, 0, 255}}};

// The picture over the 0x20 grey background, with or without the quad;
// pixels within two of an edge or a quadrant boundary are left out (alpha 0),
// as filtering decides them.
Frame Expected(bool quad) {
  Frame f{frame_w, frame_h, std::vector<std::uint8_t>(frame_w * frame_h * 4)};
  auto near_line = [](unsigned v, std::initializer_list<unsigned> lines) {
    return std::any_of(lines.begin(), lines.end(), [v](unsigned l) { return v + 2 >= l && v <= l + 2; });
  };
  for (unsigned y = 0; y < frame_h; ++y)
    for (unsigned x = 0; x < frame_w; ++x) {
      if (near_line(x, {quad_x0, mid_x, quad_x1}) || near_line(y, {quad_y0, mid_y, quad_y1})) continue;
      const bool inside = quad && x >= quad_x0 && x < quad_x1 && y >= quad_y0 && y < quad_y1;
      const Rgba c = inside ? quadrant_colours[y >= mid_y][x >= mid_x] : Rgba{32, 32, 32, 255};
      std::copy(c.begin(), c.end(), f.rgba.begin() + (std::ptrdiff_t(y) * frame_w + x) * 4);
    }
  return f;
}

TEST(LibraryOnGles, ScreenQuadShowsTheHostPictureUpright) {
  zBoot::BootAll();
  SO3D_REQUIRE_DEVICE(device, frame_w, frame_h);
  // A host picture of four quadrants: red, green over blue, yellow.
  auto picture = Texture(*device, 64, 64, [](unsigned x, unsigned y) {
    const Rgba& c = quadrant_colours[y / 32][x / 32];
    return 0xFF000000u | std::uint32_t(c[0]) << 16 | std::uint32_t(c[1]) << 8 | std::uint32_t(c[2]);
  });
  soD3DObjectManager objects(device.get());  // gone before the device: drawables release their buffers on it
  auto* textures = dynamic_cast<soD3DTextureManager*>(&objects.TextureManager());
  ASSERT_NE(textures, nullptr);
  TempDir dir;
  dir.Write("quad.lwo", QuadObject(3.6f, 2.4f));
  // Screen 3 is never handed a picture, so its quad draws nothing.
  for (const auto& [name, screen] : {std::pair{"screen-quad", 0}, {"screen-without-picture", 3}}) {
    auto scene = LoadScene(dir, objects, SceneWriter().Object("quad.lwo", screen).Place(0, 0, 0));
    scene->LoadTextures();
    // Slot 1: objects of slot 0 then find the picture through the screen table.
    textures->SetTexture(1, 0, picture.get(), soTextureManager::so_alpha_straight, 64, 64, 1, 1);
    soD3DSceneRenderer renderer(device.get());
    SizeRenderer(renderer, frame_w, frame_h);
    const so_screen_data screens[] = {{0, 0, nullptr, 0}};
    DrawFrame(*device, renderer, scene.get(), screens, 1, 0xFF202020);
    EXPECT_EQ(ComparePictures(Read(*device), Expected(screen == 0), 3, name), 0u)
        << name << ": pictures written to " << SO3D_GLES_FAILURE_DIR;
  }
}

}  // namespace
