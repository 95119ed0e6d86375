// The whole library on the GL device, as a host drives it: a scene file with
// a quad whose surface "One" shows a host picture, loaded through the
// Direct3D object registry and drawn by the Direct3D scene renderer.
#include <gtest/gtest.h>

#include <memory>

#include "platform/foundation/z_boot.h"
#include "render/so_d3d_object_manager.h"
#include "render/so_d3d_scene_renderer.h"
#include "scene/so_scene.h"
#include "tests/gles/gles_test_support.h"
#include "tests/support/lwo_writer.h"
#include "tests/support/scene_writer.h"
#include "tests/support/temp_dir.h"
#include "textures/so_d3d_texture_manager.h"

namespace {

using namespace so3d::test;

// 180 × 120 keeps the frame's 3:2 shape; the camera 10 units away sees a
// 7.2 × 4.8 plane, so a 3.6 × 2.4 quad covers the middle half each way.
constexpr unsigned frame_w = 180, frame_h = 120;
constexpr unsigned quad_x0 = 45, quad_x1 = 135, quad_y0 = 30, quad_y1 = 90;
constexpr D3DCOLOR background = 0xFF202020;
const Rgba quadrant_colours[2][2] = {{{255, 0, 0, 255}, {0, 255, 0, 255}}, {{0, 0, 255, 255}, {255, 255, 0, 255}}};

class LibraryOnGles : public ::testing::Test {
 protected:
  void SetUp() override {
    zBoot::BootAll();
    device_ = MakeDevice(frame_w, frame_h, &why_);
    if (!device_) GTEST_SKIP() << "no OpenGL ES 3 context: " << why_;
    objects_ = std::make_unique<soD3DObjectManager>(device_.get());
    textures_ = dynamic_cast<soD3DTextureManager*>(&objects_->TextureManager());
    ASSERT_NE(textures_, nullptr);
    // A host picture of four quadrants: red, green over blue, yellow.
    picture_ = Texture(*device_, 64, 64, [](unsigned x, unsigned y) {
      const Rgba& c = quadrant_colours[y / 32][x / 32];
      return 0xFF000000u | std::uint32_t(c.r) << 16 | std::uint32_t(c.g) << 8 | std::uint32_t(c.b);
    });
    ASSERT_TRUE(picture_);
    dir_.Write("quad.lwo", QuadObject(3.6f, 2.4f));
  }
  void TearDown() override {
    scene_.reset();
    objects_.reset();  // before the device: drawables release their buffers on it
    device_.reset();
  }

  void LoadScene(const SceneWriter& w) {
    scene_.reset(soScene::Factory(objects_->TextureManager(), *objects_));
    ASSERT_TRUE(scene_);
    ASSERT_EQ(scene_->Load(dir_.Write("fx.lws", w.Text()).c_str(), objects_->ObjectHandedness()), 0);
    scene_->LoadTextures();
  }

  Frame DrawFrame() {
    // Slot 1: objects of slot 0 then find the picture through the screen table.
    textures_->SetTexture(1, 0, picture_.get(), soTextureManager::so_alpha_straight, 64, 64, 1, 1);
    soD3DSceneRenderer renderer(device_.get());
    renderer.Initalize(frame_w, frame_h);
    renderer.UpdateProjectionSize(frame_w, frame_h);
    const so_screen_data screens[] = {{0, 0, nullptr, 0}};
    device_->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, background, 1, 0);
    device_->BeginScene();
    renderer.Draw(scene_.get(), screens, 1, 0, 2, 0, nullptr, 0, nullptr);
    device_->EndScene();
    return Read(*device_);
  }

  // The picture the quad should make at opacity `alpha` over the background;
  // pixels within two of an edge or a quadrant boundary are left out
  // (alpha 0), as filtering decides them.
  static Frame Expected(float alpha) {
    Frame f{frame_w, frame_h, std::vector<std::uint8_t>(frame_w * frame_h * 4)};
    const unsigned mid_x = (quad_x0 + quad_x1) / 2, mid_y = (quad_y0 + quad_y1) / 2;
    auto near_line = [](unsigned v, std::initializer_list<unsigned> lines) {
      for (unsigned l : lines)
        if (v + 2 >= l && v <= l + 2) return true;
      return false;
    };
    for (unsigned y = 0; y < frame_h; ++y)
      for (unsigned x = 0; x < frame_w; ++x) {
        std::uint8_t* p = f.rgba.data() + (std::size_t(y) * frame_w + x) * 4;
        if (near_line(x, {quad_x0, mid_x, quad_x1}) || near_line(y, {quad_y0, mid_y, quad_y1})) continue;
        const bool inside = x >= quad_x0 && x < quad_x1 && y >= quad_y0 && y < quad_y1;
        const Rgba c = inside ? quadrant_colours[y >= mid_y][x >= mid_x] : Rgba{32, 32, 32, 255};
        const float a = inside ? alpha : 0.0f;
        p[0] = std::uint8_t(c.r * a + 32 * (1 - a) + 0.5f);
        p[1] = std::uint8_t(c.g * a + 32 * (1 - a) + 0.5f);
        p[2] = std::uint8_t(c.b * a + 32 * (1 - a) + 0.5f);
        p[3] = std::uint8_t(255 * (a * a + (1 - a)) + 0.5f);  // alpha blends too
      }
    return f;
  }

  static std::size_t CompareCared(Frame actual, const Frame& expected, const std::string& name) {
    for (std::size_t i = 0; i < actual.rgba.size(); i += 4)
      if (expected.rgba[i + 3] == 0) std::fill_n(actual.rgba.begin() + std::ptrdiff_t(i), 4, 0);
    return ComparePictures(actual, expected, 3, name);
  }

  std::string why_;
  ComPtr<so3d::gles::GlesDevice> device_;
  std::unique_ptr<soD3DObjectManager> objects_;
  soD3DTextureManager* textures_ = nullptr;
  ComPtr<IDirect3DTexture9> picture_;
  std::unique_ptr<soScene> scene_;
  TempDir dir_;
};

TEST_F(LibraryOnGles, ScreenQuadShowsTheHostPictureUprightInTheMiddle) {
  SceneWriter w;
  w.Object("quad.lwo", 0).Place(0, 0, 0);
  LoadScene(w);
  const Frame frame = DrawFrame();
  EXPECT_EQ(frame.At(60, 45), quadrant_colours[0][0]);
  EXPECT_EQ(frame.At(120, 45), quadrant_colours[0][1]);
  EXPECT_EQ(frame.At(60, 80), quadrant_colours[1][0]);
  EXPECT_EQ(frame.At(120, 80), quadrant_colours[1][1]);
  EXPECT_EQ(CompareCared(frame, Expected(1.0f), "screen-quad"), 0u)
      << "pictures written to " << SO3D_GLES_FAILURE_DIR;
}

TEST_F(LibraryOnGles, HalfTransparentQuadBlendsOverTheBackground) {
  SceneWriter w;
  w.Object("quad.lwo", 0).Place(0, 0, 0).Channel(9, {{0.5f, 0}});
  LoadScene(w);
  const Frame frame = DrawFrame();
  EXPECT_TRUE(Near(frame.At(60, 45), {144, 16, 16, 191}, 2)) << frame.At(60, 45);
  EXPECT_EQ(CompareCared(frame, Expected(0.5f), "half-transparent-quad"), 0u)
      << "pictures written to " << SO3D_GLES_FAILURE_DIR;
}

TEST_F(LibraryOnGles, ScreenWithoutAPictureDrawsNothing) {
  SceneWriter w;
  w.Object("quad.lwo", 3).Place(0, 0, 0);  // screen 3 was never handed a texture
  LoadScene(w);
  const Frame frame = DrawFrame();
  EXPECT_EQ(frame.At(90, 60), (Rgba{32, 32, 32, 255}));
}

}  // namespace
