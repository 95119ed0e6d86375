// The Direct3D renderer against the recording device: fixed state,
// projection, camera, world matrices and what each drawable receives, up to
// scene files loaded, turned into transitions and nested, then drawn.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <string>
#include <vector>

#include "platform/foundation/z_record.h"
#include "render/so_d3d_scene_renderer.h"
#include "render/so_d3d_utils.h"
#include "scene/so_lightwave_scene.h"
#include "scene/so_object_settings.h"
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

void ExpectRow(const D3DMATRIX& m, so_vector3 expected) { ExpectPointNear(TransformPoint(m, {0, 0, 0}), expected); }

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
  std::unique_ptr<Scene> Load(const SceneWriter& w, const std::string& file = "s.lws") {
    auto scene = std::make_unique<Scene>(*r.textures, r.objects);
    EXPECT_EQ(scene->Load(dir.Write(file, w.Text()).c_str(), so_handedness_left), 0);
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
  std::vector<std::string> DrawnNames() const {
    std::vector<std::string> names;
    for (const DrawnObject& d : r.log.draws) names.push_back(d.name);
    return names;
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

class EndToEnd : public Renderer {
 protected:
  void SetUp() override {
    Renderer::SetUp();
    for (const char* name : {"carrier.lwo", "plain.lwo", "a.lwo", "b.lwo"}) dir.Write(name, QuadObject());
    renderer.Initalize(720, 480);
    renderer.UpdateProjectionSize(720, 480);
  }
  void Draw(soScene* scene, const so_screen_data* frame, std::int32_t count, float time, std::uint32_t flags) {
    r.log.draws.clear();
    device.ClearLog();
    renderer.Draw(scene, frame, count, time, 2, flags, nullptr, 0, nullptr);
  }
};

TEST_F(EndToEnd, InterpolatedTransitionAtStartMiddleAndEnd) {
  SceneWriter wa, wb;
  wa.Object("quad.lwo", 1).Place(-1, 0, 0).Object("quad.lwo", 2).Place(0, 1, 0);
  wb.Object("quad.lwo", 1).Place(1, 0, 0).Object("quad.lwo", 2).Place(0, -1, 0);
  auto a = Load(wa, "a.lws");
  auto b = Load(wb, "b.lws");
  zRecord moved, first, second;
  moved.SetFloatPoint(so_id_pos, {0.5f, 0});  // applied once, into the keys
  so_screen_data table[] = {{1, 1, &moved, 0}, {2, 2, nullptr, 0}};
  auto t = r.NewScene();
  ASSERT_EQ(t->Interpolate(a.get(), table, 2, 0, b.get(), table, 2, 0), 0);
  ASSERT_EQ(t->ObjectCount(), 2u);

  const D3DMATRIX projection = device.Transform(D3DTS_PROJECTION);
  const so_screen_data frame[] = {{1, 1, &moved, 0}, {2, 2, &first, 0}, {2, 2, &second, 0}};
  for (int step = 0; step < 3; ++step) {
    const float time = float(step);
    // An interpolated scene carries its settings in the keys: the flag
    // changes nothing here.
    for (std::uint32_t flags : {0u, 0x10u}) {
      SCOPED_TRACE("time " + std::to_string(step) + " flags " + std::to_string(flags));
      Draw(t.get(), frame, 3, time, flags);
      EXPECT_EQ(device.Log(), (std::vector<std::string>{"SetTransform(2)", "SetTransform(256)", "SetTransform(256)"}));
      const std::vector<DeviceCall> sets = device.Calls("SetTransform");
      ExpectRow(*sets[0].matrix, {0, 0, 10});
      ASSERT_EQ(r.log.draws.size(), 2u);
      // Last object first: the screen-2 pair, then the screen-1 pair.
      const DrawnObject& upper = r.log.draws[0];
      const DrawnObject& lower = r.log.draws[1];
      EXPECT_EQ(upper.data.screen, 2);
      EXPECT_EQ(upper.state.record, &second);
      EXPECT_EQ(upper.state.other_record, &first);
      EXPECT_NEAR(upper.world.m[3][1], 1 - time, 1e-5f);
      EXPECT_EQ(lower.data.screen, 1);
      EXPECT_EQ(lower.state.record, &moved);
      EXPECT_EQ(lower.state.other_record, nullptr);
      EXPECT_NEAR(lower.world.m[3][0], time - 0.5f, 1e-5f);
      EXPECT_EQ(std::memcmp(&lower.world, &*sets[2].matrix, sizeof(D3DMATRIX)), 0);
      for (const DrawnObject& d : r.log.draws) {
        EXPECT_EQ(d.state.time, time);
        EXPECT_EQ(d.state.device, &device);
        ExpectRow(d.view, {0, 0, 10});
      }
    }
  }
  const D3DMATRIX after = device.Transform(D3DTS_PROJECTION);
  EXPECT_EQ(std::memcmp(&projection, &after, sizeof projection), 0) << "Draw leaves the projection alone";
}

TEST_F(EndToEnd, RecordsMoveLoadedScenesUnlessFlagged) {
  auto scene = Load(SceneWriter().Object("quad.lwo", 3).Place(0, 0, 0));
  zRecord turned;
  turned.SetFloatPoint(so_id_pos, {1, 2});
  turned.SetFloatPoint(so_id_scale, {2, 2});
  turned.SetFloat(so_id_trans, 0.5f);
  const so_screen_data frame[] = {{3, 7, &turned, 0}};  // no slot match: the screen decides
  Draw(scene.get(), frame, 1, 0, 0);
  ASSERT_EQ(r.log.draws.size(), 1u);
  ExpectRow(r.log.draws[0].world, {1, 2, 0});
  EXPECT_FLOAT_EQ(r.log.draws[0].world.m[0][0], 2);
  EXPECT_FLOAT_EQ(r.log.draws[0].state.opacity, 0.5f);
  Draw(scene.get(), frame, 1, 0, 0x10);
  ASSERT_EQ(r.log.draws.size(), 1u);
  ExpectRow(r.log.draws[0].world, {0, 0, 0});
  EXPECT_FLOAT_EQ(r.log.draws[0].world.m[0][0], 1);
  EXPECT_FLOAT_EQ(r.log.draws[0].state.opacity, 1);
  EXPECT_EQ(r.log.draws[0].state.record, &turned);
}

class Nested : public EndToEnd {
 protected:
  std::unique_ptr<soLightWaveScene> a, b, t;
  zRecord record_a, record_b;
  so_screen_data frame[2] = {{3, 0, &record_a, 0}, {4, 0, &record_b, 0}};

  void SetUp() override {
    EndToEnd::SetUp();
    SceneWriter wt;
    wt.Object("carrier.lwo", 0).Place(-2, 0, 0).Object("carrier.lwo", 1).Place(2, 0, 0);
    wt.Object("plain.lwo", 5).Place(0, 1, 0);
    a = Load(SceneWriter().Object("a.lwo", 3).Channel(0, {{0, 0}, {2, 2}}), "a.lws");  // x follows its own time
    b = Load(SceneWriter().Object("b.lwo", 4).Place(0, -1, 0), "b.lws");
    t = Load(wt, "t.lws");
    record_a.SetFloatPoint(so_id_pos, {5, 5});  // nested draws never apply records
  }
};

TEST_F(Nested, CarriersShowSceneAOnScreenZeroAndSceneBOnScreenOne) {
  t->AddSubScene(a.get(), nullptr, 0, 0.25f, b.get(), nullptr, 0, 0.5f);
  for (int step = 0; step < 3; ++step) {
    const float time = float(step);
    SCOPED_TRACE("time " + std::to_string(step));
    Draw(t.get(), frame, 2, time, 0x6);
    ASSERT_EQ(DrawnNames(), (std::vector<std::string>{"a.lwo", "b.lwo", "plain.lwo"}));
    const DrawnObject& da = r.log.draws[0];
    const DrawnObject& db = r.log.draws[1];
    const DrawnObject& plain = r.log.draws[2];

    const float time_a = std::fmod(time / 2 + 0.25f, 2.0f);  // each keeps its own position
    EXPECT_FLOAT_EQ(da.state.time, time_a);
    EXPECT_FLOAT_EQ(db.state.time, std::fmod(time / 2 + 0.5f, 2.0f));
    EXPECT_NEAR(da.world.m[3][0], time_a, 1e-5f);
    // The carrier's frame (its world times the scene's view) is the view.
    ExpectRow(da.view, {-2, 0, 10});
    ExpectRow(db.view, {2, 0, 10});
    ExpectRow(db.world, {0, -1, 0});
    EXPECT_EQ(da.state.record, &record_a);
    EXPECT_EQ(db.state.record, &record_b);
    EXPECT_FALSE(da.state.both_scenes);

    EXPECT_TRUE(plain.state.both_scenes);
    EXPECT_EQ(plain.state.record, nullptr);
    EXPECT_EQ(plain.state.time, time);
    ExpectRow(plain.world, {0, 1, 0});
    ExpectRow(plain.view, {2, 0, 10});  // the last nested view stays
    // Per frame: the scene's view, then per nested scene its view and world.
    EXPECT_EQ(device.Count("GetTransform"), 1u);
    EXPECT_EQ(device.Count("SetTransform"), 6u);
  }
  Draw(t.get(), frame, 2, 0, 0x2);
  ASSERT_EQ(r.log.draws.size(), 3u);
  EXPECT_FALSE(r.log.draws[2].state.both_scenes) << "both bits are needed";
}

TEST_F(Nested, EverySubSceneDrawnSceneBNeedsScreensAndNestingStops) {
  t->AddSubScene(a.get(), nullptr, 0, 0.25f, b.get(), nullptr, 0, 0.5f);
  t->AddSubScene(b.get(), nullptr, 0, 1.0f, a.get(), nullptr, 0, 1.75f);
  Draw(t.get(), frame, 2, 1, 0);
  ASSERT_EQ(DrawnNames(), (std::vector<std::string>{"a.lwo", "b.lwo", "plain.lwo", "b.lwo", "a.lwo", "plain.lwo"}));
  EXPECT_FLOAT_EQ(r.log.draws[3].state.time, 1.5f);
  EXPECT_FLOAT_EQ(r.log.draws[4].state.time, 0.25f);  // fmod(0.5 + 1.75, 2)
  Draw(t.get(), nullptr, 0, 0, 0);
  EXPECT_EQ(DrawnNames(), (std::vector<std::string>{"a.lwo", "plain.lwo", "b.lwo", "plain.lwo"}));

  // A scene inside itself stops at the depth limit, and the count unwinds.
  auto self = Load(SceneWriter().Object("carrier.lwo", 0).Object("plain.lwo", 5), "self.lws");
  self->AddSubScene(self.get(), nullptr, 0, 0, nullptr, nullptr, 0, 0);
  for (int frame_number = 0; frame_number < 2; ++frame_number) {
    Draw(self.get(), frame, 2, 0, 0);
    EXPECT_EQ(r.log.draws.size(), soD3DSceneRenderer::max_nesting);  // one plain object per level
  }
}

}  // namespace
