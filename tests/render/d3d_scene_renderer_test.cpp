// The Direct3D renderer against the recording device: fixed state,
// projection, camera, world matrices and what each drawable receives.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <string>
#include <vector>

#include "render/so_d3d_scene_renderer.h"
#include "render/so_d3d_utils.h"
#include "scene/so_lightwave_scene.h"
#include "tests/render/render_fixtures.h"
#include "fixtures/scene_writer.h"
#include "tests/support/temp_dir.h"

namespace {

using namespace so3d::test;
using namespace so3d::fixtures;

void ExpectPointNear(so_vector3 actual, so_vector3 expected, float tolerance = 1e-5f) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

D3DXMATRIX World(const so_vectors& v) {
  D3DXMATRIX m;
  soD3DUtils::TransformToD3DMatrix(v, m);
  return m;
}

TEST(TransformToD3DMatrix, ScalesThenOffsetsThenTurnsThenMoves) {
  constexpr float pi = std::numbers::pi_v<float>;
  so_vectors v = so_default_vectors();
  v.scale = {2, 3, 4};
  v.rot_off = {0, 1, 0};
  v.rot = {pi / 2, pi / 2, pi / 2};  // pitch, heading, bank
  v.pos = {10, 20, 30};
  v.trans = 0.25f;  // opacity and crop play no part
  v.crop = {1, 2, 3, 4};
  // (1, 0, 0) → (2, 0, 0) → (2, 1, 0) → bank (−1, 2, 0) → pitch (−1, 0, 2)
  // → heading (2, 0, 1) → (12, 20, 31).
  ExpectPointNear(TransformPoint(World(v), {1, 0, 0}), {12, 20, 31});
  EXPECT_EQ(World(v).m[3][3], 1);
}

class Renderer : public RenderingTest {
 protected:
  template <class Scene = soLightWaveScene>
  std::unique_ptr<Scene> Load(const SceneWriter& w) {
    auto scene = std::make_unique<Scene>(*r.textures, r.objects);
    EXPECT_EQ(scene->Load(dir.Write("s.lws", w.Text()).c_str(), so_handedness_left), 0);
    return scene;
  }
  // Objects on screen 1 at x = 0, 1, 2, ….
  static SceneWriter Row(int count) {
    SceneWriter w;
    for (int i = 0; i < count; ++i) w.Object("quad.lwo", 1).Place(float(i), 0, 0);
    return w;
  }
  void DrawAt(soScene* scene, void* view = nullptr, soXIDrawingFunctions* functions = nullptr) {
    renderer.Draw(scene, nullptr, 0, 1.5f, 2, 0, functions, 0, view);
  }
  std::vector<float> DrawnX() const {
    std::vector<float> x;
    for (const DrawnObject& d : r.log.draws) x.push_back(d.world.m[3][0]);
    return x;
  }
};

TEST_F(Renderer, InitalizeSetsTheFixedPipelineInOrder) {
  renderer.Initalize(720, 480);
  EXPECT_EQ(device.Log(),
            (std::vector<std::string>{
                "SetRenderState(137, 1)", "SetRenderState(22, 1)", "SetRenderState(26, 0)", "SetRenderState(29, 1)",
                "SetRenderState(27, 0)", "SetVertexShader(null)", "SetSamplerState(0, 6, 2)",
                "SetSamplerState(0, 5, 2)", "SetSamplerState(0, 1, 3)", "SetSamplerState(0, 2, 3)",
                "SetRenderState(145, 0)", "SetTextureStageState(0, 1, 4)", "SetTextureStageState(0, 2, 2)",
                "SetTextureStageState(0, 3, 0)", "SetTextureStageState(0, 4, 4)", "SetTextureStageState(1, 1, 4)",
                "SetTextureStageState(1, 2, 2)", "SetTextureStageState(1, 3, 1)", "SetTextureStageState(1, 4, 4)",
                "SetTextureStageState(1, 5, 2)", "SetTextureStageState(1, 6, 1)"}));
}

TEST_F(Renderer, ProjectionShowsTheFramePlaneAtDistanceTen) {
  renderer.UpdateProjectionSize(720, 480);
  ASSERT_EQ(device.Log(), std::vector<std::string>{"SetTransform(3)"});
  const D3DMATRIX p = device.Transform(D3DTS_PROJECTION);
  EXPECT_NEAR(p.m[2][2], 100 / 99.9f, 1e-6f);  // near 0.1, far 100
  EXPECT_NEAR(p.m[3][2], -10 / 99.9f, 1e-6f);
  // A corner of the 7.2 × 4.8 frame at depth 10 lands on the corner of the
  // output (27 degrees is rounded: 4.7998 units show).
  const so_vector3 corner = TransformPoint(p, {3.6f, 2.4f, 10});
  EXPECT_NEAR(corner.x / 10, 1, 1e-3f);
  EXPECT_NEAR(corner.y / 10, 1, 1e-3f);

  device.ClearLog();
  renderer.UpdateProjectionSize(720, 0);
  renderer.UpdateProjectionSize(-1, 480);
  EXPECT_TRUE(device.Log().empty());
}

TEST_F(Renderer, NothingToDrawWithoutSceneOrDevice) {
  DrawAt(nullptr);
  EXPECT_TRUE(device.Log().empty());
  auto scene = Load(Row(1));
  soD3DSceneRenderer detached(nullptr);
  detached.Initalize(720, 480);
  detached.UpdateProjectionSize(720, 480);
  detached.Draw(scene.get(), nullptr, 0, 0, 2, 0, nullptr, 0, nullptr);
  EXPECT_TRUE(r.log.draws.empty());
  detached.UpdateDirect3DDevice(device);
  EXPECT_TRUE(device.Log().empty()) << "a new device gets no state until Initalize";
  detached.Draw(scene.get(), nullptr, 0, 0, 2, 0, nullptr, 0, nullptr);
  EXPECT_EQ(r.log.draws.size(), 1u);
}

TEST_F(Renderer, ViewUndoesTheCameraPlacement) {
  auto scene = r.NewScene();
  DrawAt(scene.get());
  ASSERT_EQ(device.Log(), std::vector<std::string>{"SetTransform(2)"});
  ExpectPointNear(TransformPoint(device.Transform(D3DTS_VIEW), {0, 0, 0}), {0, 0, 10});

  so_vectors camera = so_default_vectors();
  camera.pos = {1, -2, -9};
  camera.rot = {0.2f, 0.7f, -0.4f};
  camera.scale = {3, 3, 3};  // scale and offset do not reach the view
  camera.rot_off = {5, 0, 0};
  ASSERT_EQ(scene->CameraVectors(0, true, &camera), 0);
  DrawAt(scene.get());
  camera.scale = {1, 1, 1};
  camera.rot_off = {0, 0, 0};
  const D3DMATRIX view = device.Transform(D3DTS_VIEW);
  for (so_vector3 p : {so_vector3{0, 0, 0}, so_vector3{1, 2, 3}})
    ExpectPointNear(TransformPoint(view, TransformPoint(World(camera), p)), p);
}

TEST_F(Renderer, CameraWithTargetLooksAtObjectZero) {
  auto scene = Load(SceneWriter().Object("quad.lwo", 1).Place(3, 1, 2).Camera().Place(0, 0, -10).Line("TargetItem 1"));
  ASSERT_TRUE(scene->CameraHasTarget());
  DrawAt(scene.get());
  const D3DMATRIX view = device.Transform(D3DTS_VIEW);
  ExpectPointNear(TransformPoint(view, {0, 0, -10}), {0, 0, 0});
  ExpectPointNear(TransformPoint(view, {3, 1, 2}), {0, 0, std::sqrt(9.0f + 1 + 144)}, 1e-4f);
}

// A scene whose camera, objects or evaluations can be made to fail.
class FaultyScene : public soLightWaveScene {
 public:
  using soLightWaveScene::soLightWaveScene;
  bool camera = true;
  int camera_queries = 0;
  std::int32_t failing_index = -1;
  std::uint32_t missing_object = 0xFFFFFFFF;

  std::int32_t CameraVectors(float time, bool set, so_vectors* v) override {
    ++camera_queries;
    return camera ? soLightWaveScene::CameraVectors(time, set, v) : -1;
  }
  std::int32_t EvaluateObject(std::int32_t index, float time, bool set, so_vectors* v, so_object_data* d,
                              const zRecord* rec) override {
    return index == failing_index ? -1 : soLightWaveScene::EvaluateObject(index, time, set, v, d, rec);
  }
  soObject* ObjectAt(std::uint32_t index) override {
    return index == missing_object ? nullptr : soLightWaveScene::ObjectAt(index);
  }
};

TEST_F(Renderer, FailuresEndOrSkip) {
  auto scene = Load<FaultyScene>(Row(3));
  scene->failing_index = 1;  // a failed evaluation ends the frame
  DrawAt(scene.get());
  EXPECT_EQ(DrawnX(), std::vector<float>{2});
  r.log.draws.clear();
  scene->failing_index = -1;
  scene->missing_object = 1;  // an index without an object is skipped
  DrawAt(scene.get());
  EXPECT_EQ(DrawnX(), (std::vector<float>{2, 0}));

  // Without a camera nothing is drawn, unless a view is given.
  r.log.draws.clear();
  device.ClearLog();
  scene->camera = false;
  DrawAt(scene.get());
  EXPECT_TRUE(device.Log().empty());
  EXPECT_TRUE(r.log.draws.empty());
  scene->camera_queries = 0;
  D3DMATRIX view{};
  for (int i = 0; i < 16; ++i) view.m[i / 4][i % 4] = float(i + 1);
  DrawAt(scene.get(), &view);
  EXPECT_EQ(scene->camera_queries, 0);
  EXPECT_EQ(std::memcmp(&device.Calls("SetTransform")[0].matrix.value(), &view, sizeof view), 0);
  EXPECT_EQ(r.log.draws.size(), 2u);
}

TEST_F(Renderer, TiledObjectsGetTileDataOthersNone) {
  auto scene = Load(Row(2));
  so_object_data data{so_object_flag_tiled, 40, 60, 0, 1};
  so_vectors v{};
  ASSERT_EQ(scene->EvaluateObject(0, 0, false, &v, nullptr, nullptr), 0);
  ASSERT_EQ(scene->EvaluateObject(0, 0, true, &v, &data, nullptr), 0);

  auto* functions = reinterpret_cast<soXIDrawingFunctions*>(&data);  // only carried, never called
  DrawAt(scene.get(), nullptr, functions);
  ASSERT_EQ(r.log.draws.size(), 2u);
  EXPECT_EQ(r.log.draws[0].state.tile_data, nullptr);
  const DrawnObject& tiled = r.log.draws[1];
  ASSERT_NE(tiled.state.tile_data, nullptr);
  EXPECT_EQ(tiled.tile.tile_x, 40);
  EXPECT_EQ(tiled.tile.tile_y, 60);
  EXPECT_FLOAT_EQ(tiled.tile.area_width, 7.2f);
  EXPECT_EQ(tiled.state.drawing_functions, functions);
  EXPECT_FALSE(tiled.state.both_scenes);
}

}  // namespace
