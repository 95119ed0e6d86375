// Scene files written here, loaded, turned into transitions and drawn on
// the recording device: what reaches the device and each drawable.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "platform/foundation/z_record.h"
#include "render/so_d3d_scene_renderer.h"
#include "scene/so_object_settings.h"
#include "tests/render/render_fixtures.h"
#include "fixtures/scene_writer.h"
#include "tests/support/temp_dir.h"

namespace {

using namespace so3d::test;
using namespace so3d::fixtures;

void ExpectRow(const D3DMATRIX& m, so_vector3 expected) {
  EXPECT_NEAR(m.m[3][0], expected.x, 1e-5f);
  EXPECT_NEAR(m.m[3][1], expected.y, 1e-5f);
  EXPECT_NEAR(m.m[3][2], expected.z, 1e-5f);
  EXPECT_EQ(m.m[3][3], 1);
}

class EndToEnd : public RenderingTest {
 protected:
  void SetUp() override {
    RenderingTest::SetUp();
    for (const char* name : {"carrier.lwo", "plain.lwo", "a.lwo", "b.lwo"}) dir.Write(name, QuadObject());
    renderer.Initalize(720, 480);
    renderer.UpdateProjectionSize(720, 480);
  }
  std::unique_ptr<soScene> Load(const std::string& file, const SceneWriter& w) {
    auto scene = r.NewScene();
    EXPECT_EQ(scene->Load(dir.Write(file, w.Text()).c_str(), so_handedness_left), 0);
    return scene;
  }
  void Draw(soScene* scene, const so_screen_data* frame, std::int32_t count, float time, std::uint32_t flags) {
    r.log.draws.clear();
    device.ClearLog();
    renderer.Draw(scene, frame, count, time, 2, flags, nullptr, 0, nullptr);
  }
  std::vector<std::string> DrawnNames() const {
    std::vector<std::string> names;
    for (const DrawnObject& d : r.log.draws) names.push_back(d.name);
    return names;
  }
};

TEST_F(EndToEnd, InterpolatedTransitionAtStartMiddleAndEnd) {
  SceneWriter wa, wb;
  wa.Object("quad.lwo", 1).Place(-1, 0, 0).Object("quad.lwo", 2).Place(0, 1, 0);
  wb.Object("quad.lwo", 1).Place(1, 0, 0).Object("quad.lwo", 2).Place(0, -1, 0);
  auto a = Load("a.lws", wa);
  auto b = Load("b.lws", wb);
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
  auto scene = Load("s.lws", SceneWriter().Object("quad.lwo", 3).Place(0, 0, 0));
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
  std::unique_ptr<soScene> a, b, t;
  zRecord record_a, record_b;
  so_screen_data frame[2] = {{3, 0, &record_a, 0}, {4, 0, &record_b, 0}};

  void SetUp() override {
    EndToEnd::SetUp();
    SceneWriter wt;
    wt.Object("carrier.lwo", 0).Place(-2, 0, 0).Object("carrier.lwo", 1).Place(2, 0, 0);
    wt.Object("plain.lwo", 5).Place(0, 1, 0);
    a = Load("a.lws", SceneWriter().Object("a.lwo", 3).Channel(0, {{0, 0}, {2, 2}}));  // x follows its own time
    b = Load("b.lws", SceneWriter().Object("b.lwo", 4).Place(0, -1, 0));
    t = Load("t.lws", wt);
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
  auto self = Load("self.lws", SceneWriter().Object("carrier.lwo", 0).Object("plain.lwo", 5));
  self->AddSubScene(self.get(), nullptr, 0, 0, nullptr, nullptr, 0, 0);
  for (int frame_number = 0; frame_number < 2; ++frame_number) {
    Draw(self.get(), frame, 2, 0, 0);
    EXPECT_EQ(r.log.draws.size(), soD3DSceneRenderer::max_nesting);  // one plain object per level
  }
}

}  // namespace
