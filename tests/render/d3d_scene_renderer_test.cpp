// The Direct3D renderer against the recording device: projection, camera, world matrices and what each drawable
// receives, up to scene files loaded, turned into transitions and nested, then drawn.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <span>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "fixtures/scene_writer.h"
#include "platform/foundation/z_record.h"
#include "render/so_d3d_scene_renderer.h"
#include "render/so_d3d_utils.h"
#include "scene/so_lightwave_scene.h"
#include "scene/so_object_settings.h"
#include "tests/render/render_fixtures.h"
#include "tests/support/scene_setup.h"

namespace {

using namespace so3d::test;
using namespace so3d::fixtures;

// Numbers to four decimals, so whole draws compare as text.
float Round(float v) { return std::round(v * 1e4f) / 1e4f + 0.0f; }  // + 0 turns -0 into 0
std::string Text(so_vector3 p) {
  std::ostringstream s;
  s << '(' << Round(p.x) << ' ' << Round(p.y) << ' ' << Round(p.z) << ')';
  return s.str();
}
std::string Origin(const D3DMATRIX& m) { return Text(TransformPoint(m, {0, 0, 0})); }
std::string Text(const DrawnObject& d) {
  std::ostringstream s;
  s << d.name << " s" << d.data.screen << " t=" << Round(d.state.time) << " w=" << Origin(d.world)
    << " v=" << Origin(d.view) << (d.state.both_scenes ? " both" : "");
  return s.str();
}

D3DXMATRIX World(const so_vectors& v) {
  D3DXMATRIX m;
  soD3DUtils::TransformToD3DMatrix(v, m);
  return m;
}

TEST(TransformToD3DMatrix, ScalesThenOffsetsThenTurnsThenMoves) {
  constexpr float pi = std::numbers::pi_v<float>;
  // Position, pitch-heading-bank, scale, opacity and crop (no part), offset.
  const so_vectors v{{10, 20, 30}, {pi / 2, pi / 2, pi / 2}, {2, 3, 4}, 0.25f, {0, 1, 0}, {1, 2, 3, 4}};
  // (1, 0, 0) → (2, 0, 0) → (2, 1, 0) → bank (−1, 2, 0) → pitch (−1, 0, 2)
  // → heading (2, 0, 1) → (12, 20, 31).
  EXPECT_EQ(std::tuple(Text(TransformPoint(World(v), {1, 0, 0})), World(v).m[3][3]), std::tuple("(12 20 31)", 1.0f));
}

class Renderer : public ::testing::Test {
 protected:
  RecordingDevice device;
  RecordingRegistries r;
  TempDir dir;
  soD3DSceneRenderer renderer{&device};

  void SetUp() override {
    r.log.device = &device;
    for (const char* name : {"quad.lwo", "carrier.lwo", "plain.lwo", "a.lwo", "b.lwo"}) dir.Write(name, QuadObject());
    SizeRenderer(renderer, 720, 480);
    device.ClearLog();
  }
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
  void Draw(soScene* scene, std::span<const so_screen_data> frame = {}, float time = 1.5f, std::uint32_t flags = 0,
            void* view = nullptr, soXIDrawingFunctions* functions = nullptr) {
    r.log.draws.clear();
    device.ClearLog();
    renderer.Draw(scene, frame.data(), std::int32_t(frame.size()), time, 2, flags, functions, 0, view);
  }
  template <class F>
  auto Drawn(F f) const {
    std::vector<decltype(f(r.log.draws[0]))> out;
    for (const DrawnObject& d : r.log.draws) out.push_back(f(d));
    return out;
  }
  std::vector<std::string> Drawn() const {
    return Drawn([](const DrawnObject& d) { return Text(d); });
  }
  using Records = std::vector<std::pair<const zRecord*, const zRecord*>>;
  Records DrawnRecords() const {
    return Drawn([](const DrawnObject& d) { return std::pair(d.state.record, d.state.other_record); });
  }
};

TEST_F(Renderer, ProjectionShowsTheFramePlaneAtDistanceTen) {
  renderer.UpdateProjectionSize(720, 0);
  renderer.UpdateProjectionSize(-1, 480);
  renderer.UpdateProjectionSize(720, 480);
  ASSERT_EQ(device.Log(), std::vector<std::string>{"SetTransform(3)"});
  const D3DMATRIX p = device.Transform(D3DTS_PROJECTION);
  // A corner of the 7.2 × 4.8 frame at depth 10 lands on the corner of the
  // output (27 degrees is rounded: 4.7998 units show).
  const so_vector3 corner = TransformPoint(p, {3.6f, 2.4f, 10});
  EXPECT_NEAR(corner.x / 10, 1, 1e-3f);
  EXPECT_NEAR(corner.y / 10, 1, 1e-3f);
}

TEST_F(Renderer, NothingToDrawWithoutSceneOrDevice) {
  Draw(nullptr);
  EXPECT_TRUE(device.Log().empty());
  auto scene = Load(Row(1));
  soD3DSceneRenderer detached(nullptr);
  SizeRenderer(detached, 720, 480);
  detached.Draw(scene.get(), nullptr, 0, 0, 2, 0, nullptr, 0, nullptr);
  EXPECT_TRUE(r.log.draws.empty());
  detached.UpdateDirect3DDevice(device);
  EXPECT_TRUE(device.Log().empty()) << "a new device gets no state until Initalize";
  detached.Draw(scene.get(), nullptr, 0, 0, 2, 0, nullptr, 0, nullptr);
  EXPECT_EQ(r.log.draws.size(), 1u);
}

TEST_F(Renderer, ViewUndoesTheCameraPlacementOrLooksAtTheTarget) {
  auto scene = r.NewScene();
  so_vectors camera = so_default_vectors();
  camera.pos = {1, -2, -9};
  camera.rot = {0.2f, 0.7f, -0.4f};
  camera.scale = {3, 3, 3};  // scale and offset do not reach the view
  camera.rot_off = {5, 0, 0};
  ASSERT_EQ(scene->CameraVectors(0, true, &camera), 0);
  Draw(scene.get());
  camera.scale = {1, 1, 1};
  camera.rot_off = {0, 0, 0};
  for (so_vector3 p : {so_vector3{0, 0, 0}, so_vector3{1, 2, 3}})
    EXPECT_EQ(Text(TransformPoint(device.Transform(D3DTS_VIEW), TransformPoint(World(camera), p))), Text(p));

  // With a target the camera looks at object zero.
  auto aimed = Load(SceneWriter().Object("quad.lwo", 1).Place(3, 1, 2).Camera().Place(0, 0, -10).Line("TargetItem 1"));
  ASSERT_TRUE(aimed->CameraHasTarget());
  Draw(aimed.get());
  const D3DMATRIX view = device.Transform(D3DTS_VIEW);
  EXPECT_EQ(Text(TransformPoint(view, {0, 0, -10})), "(0 0 0)");
  EXPECT_EQ(Text(TransformPoint(view, {3, 1, 2})), "(0 0 12.4097)");  // √(9 + 1 + 144)
}

// A scene whose camera, objects or evaluations can be made to fail.
class FaultyScene : public soLightWaveScene {
 public:
  using soLightWaveScene::soLightWaveScene;
  bool camera = true;
  std::int32_t failing_index = -1;
  std::uint32_t missing_object = 0xFFFFFFFF;

  std::int32_t CameraVectors(float time, bool set, so_vectors* v) override {
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
  const auto x = [](const DrawnObject& d) { return d.world.m[3][0]; };
  scene->failing_index = 1;  // a failed evaluation ends the frame
  Draw(scene.get());
  EXPECT_EQ(Drawn(x), std::vector<float>{2});
  scene->failing_index = -1;
  scene->missing_object = 1;  // an index without an object is skipped
  Draw(scene.get());
  EXPECT_EQ(Drawn(x), (std::vector<float>{2, 0}));

  // Without a camera nothing is drawn, unless a view is given.
  scene->camera = false;
  Draw(scene.get());
  EXPECT_TRUE(device.Log().empty() && r.log.draws.empty());
  D3DXMATRIX view;
  Draw(scene.get(), {}, 1.5f, 0, D3DXMatrixTranslation(&view, 1, 2, 3));
  EXPECT_EQ(Drawn(), (std::vector<std::string>{"quad.lwo s1 t=1.5 w=(2 0 0) v=(1 2 3)",
                                               "quad.lwo s1 t=1.5 w=(0 0 0) v=(1 2 3)"}));
}

TEST_F(Renderer, TiledObjectsGetTileDataOthersNone) {
  auto scene = Load(Row(2));
  so_object_data data{so_object_flag_tiled, 40, 60, 0, 1};
  so_vectors v{};
  ASSERT_EQ(scene->EvaluateObject(0, 0, false, &v, nullptr, nullptr), 0);
  ASSERT_EQ(scene->EvaluateObject(0, 0, true, &v, &data, nullptr), 0);
  auto* functions = reinterpret_cast<soXIDrawingFunctions*>(&data);  // only carried, never called
  Draw(scene.get(), {}, 1.5f, 0, nullptr, functions);
  ASSERT_EQ(r.log.draws.size(), 2u);
  EXPECT_EQ(r.log.draws[0].state.tile_data, nullptr);
  const DrawnObject& tiled = r.log.draws[1];
  ASSERT_NE(tiled.state.tile_data, nullptr);
  EXPECT_EQ(
      std::tuple(tiled.tile.tile_x, tiled.tile.tile_y, Round(tiled.tile.area_width), tiled.state.drawing_functions),
      std::tuple(40.0f, 60.0f, 7.2f, functions));
}

TEST_F(Renderer, InterpolatedTransitionDrawsPairsWithTheirRecords) {
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

  const so_screen_data frame[] = {{1, 1, &moved, 0}, {2, 2, &first, 0}, {2, 2, &second, 0}};
  // An interpolated scene carries its settings in the keys: the flag changes
  // nothing here. Halfway, last object first: the screen-2 pair, then the
  // screen-1 pair (the record applied once: 0.5, not 1). The scenes' own
  // interpolation over time is the transition tests' concern.
  for (std::uint32_t flags : {0u, 0x10u}) {
    Draw(t.get(), frame, 1, flags);
    EXPECT_EQ(device.Log(), (std::vector<std::string>{"SetTransform(2)", "SetTransform(256)", "SetTransform(256)"}));
    EXPECT_EQ(Drawn(), (std::vector<std::string>{"quad.lwo s2 t=1 w=(0 0 0) v=(0 0 10)",
                                                 "quad.lwo s1 t=1 w=(0.5 0 0) v=(0 0 10)"}))
        << "flags " << flags;
    EXPECT_EQ(DrawnRecords(), (Records{{&second, &first}, {&moved, nullptr}}));
    for (const DrawnObject& d : r.log.draws) EXPECT_EQ(d.state.device, &device);
  }
}

TEST_F(Renderer, RecordsMoveLoadedScenesUnlessFlagged) {
  auto scene = Load(SceneWriter().Object("quad.lwo", 3).Place(0, 0, 0));
  zRecord turned;
  turned.SetFloatPoint(so_id_pos, {1, 2});
  turned.SetFloatPoint(so_id_scale, {2, 2});
  turned.SetFloat(so_id_trans, 0.5f);
  const so_screen_data frame[] = {{3, 7, &turned, 0}};  // no slot match: the screen decides
  for (auto [flags, origin, scale, opacity] : {std::tuple{0u, "(1 2 0)", 2.0f, 0.5f}, {0x10u, "(0 0 0)", 1.0f, 1.0f}}) {
    Draw(scene.get(), frame, 0, flags);
    ASSERT_EQ(r.log.draws.size(), 1u);
    const DrawnObject& d = r.log.draws[0];
    EXPECT_EQ(std::tuple(Origin(d.world), d.world.m[0][0], d.state.opacity, d.state.record),
              std::tuple(origin, scale, opacity, &turned));
  }
}

class Nested : public Renderer {
 protected:
  std::unique_ptr<soLightWaveScene> a, b, t;
  zRecord record_a, record_b;
  so_screen_data frame[2] = {{3, 0, &record_a, 0}, {4, 0, &record_b, 0}};

  void SetUp() override {
    Renderer::SetUp();
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
  // Each nested scene keeps its own position, time / 2 on from its start;
  // its view is the carrier's frame (its world times the scene's view); the
  // last nested view stays for the plain object.
  const std::vector<std::string> expected[] = {
      {"a.lwo s3 t=0.25 w=(0.25 0 0) v=(-2 0 10)", "b.lwo s4 t=0.5 w=(0 -1 0) v=(2 0 10)",
       "plain.lwo s5 t=0 w=(0 1 0) v=(2 0 10) both"},
      {"a.lwo s3 t=0.75 w=(0.75 0 0) v=(-2 0 10)", "b.lwo s4 t=1 w=(0 -1 0) v=(2 0 10)",
       "plain.lwo s5 t=1 w=(0 1 0) v=(2 0 10) both"},
      {"a.lwo s3 t=1.25 w=(1.25 0 0) v=(-2 0 10)", "b.lwo s4 t=1.5 w=(0 -1 0) v=(2 0 10)",
       "plain.lwo s5 t=2 w=(0 1 0) v=(2 0 10) both"}};
  for (int step = 0; step < 3; ++step) {
    Draw(t.get(), frame, float(step), 0x6);
    EXPECT_EQ(Drawn(), expected[step]);
    EXPECT_EQ(DrawnRecords(), (Records{{&record_a, nullptr}, {&record_b, nullptr}, {nullptr, nullptr}}));
    // The scene's view, read back; per nested scene its view and world; the plain world.
    EXPECT_EQ(device.Log(),
              (std::vector<std::string>{"SetTransform(2)", "GetTransform(2)", "SetTransform(2)", "SetTransform(256)",
                                        "SetTransform(2)", "SetTransform(256)", "SetTransform(256)"}));
  }
  Draw(t.get(), frame, 0, 0x2);
  ASSERT_EQ(r.log.draws.size(), 3u);
  EXPECT_FALSE(r.log.draws[2].state.both_scenes) << "both bits are needed";
}

TEST_F(Nested, EverySubSceneDrawnSceneBNeedsScreensAndNestingStops) {
  t->AddSubScene(a.get(), nullptr, 0, 0.25f, b.get(), nullptr, 0, 0.5f);
  t->AddSubScene(b.get(), nullptr, 0, 1.0f, a.get(), nullptr, 0, 1.75f);
  Draw(t.get(), frame, 1);
  // The second sub-scene runs from its own starts: b from 1 + 1 / 2, a from fmod(1.75 + 0.5, 2).
  EXPECT_EQ(
      Drawn([](const DrawnObject& d) { return std::pair(d.name, d.state.time); }),
      (std::vector<std::pair<std::string, float>>{
          {"a.lwo", 0.75f}, {"b.lwo", 1}, {"plain.lwo", 1}, {"b.lwo", 1.5f}, {"a.lwo", 0.25f}, {"plain.lwo", 1}}));
  Draw(t.get(), {}, 0);
  EXPECT_EQ(Drawn([](const DrawnObject& d) { return d.name; }),
            (std::vector<std::string>{"a.lwo", "plain.lwo", "b.lwo", "plain.lwo"}));

  // A scene inside itself stops at the depth limit, and the count unwinds.
  auto self = Load(SceneWriter().Object("carrier.lwo", 0).Object("plain.lwo", 5), "self.lws");
  self->AddSubScene(self.get(), nullptr, 0, 0, nullptr, nullptr, 0, 0);
  for (int frame_number = 0; frame_number < 2; ++frame_number) {
    Draw(self.get(), frame, 0);
    EXPECT_EQ(r.log.draws.size(), soD3DSceneRenderer::max_nesting);  // one plain object per level
  }
}

}  // namespace
