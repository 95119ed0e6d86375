#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "fixtures/lwo_writer.h"
#include "fixtures/scene_writer.h"
#include "platform/foundation/z_file_stream.h"
#include "scene/so_lightwave_scene.h"
#include "tests/support/temp_dir.h"
#include "tests/support/test_registries.h"

namespace {

using so3d::fixtures::SceneWriter;

struct Loaded {
  so3d::test::TestRegistries registries;
  so3d::test::TempDir dir;
  std::unique_ptr<soLightWaveScene> scene{
      static_cast<soLightWaveScene*>(soScene::Factory(*registries.textures, registries.objects))};

  std::int32_t Load(const std::string& text) {
    return scene->Load(dir.Write("fx.lws", text).c_str(), so_handedness_left);
  }
  so_vectors Camera(float t) {
    so_vectors v{};
    scene->CameraVectors(t, false, &v);
    return v;
  }
};

// Camera x at time 0, and why the reading stopped early.
std::pair<float, so3d::read_failure> CameraXOf(const std::string& text) {
  Loaded s;
  EXPECT_EQ(s.Load(text), 0);
  return {s.Camera(0).pos.x, s.scene->ReadFailure()};
}

int LinesOf(const std::string& text) { return static_cast<int>(std::count(text.begin(), text.end(), '\n')); }
auto Where(const so3d::read_failure& f) { return std::tuple(f.kind, f.line, f.offset); }

}  // namespace

TEST(SceneFile, MissingFilesReportTheStreamAndItemlessLinesChangeNothing) {
  Loaded s;
  EXPECT_EQ(s.scene->Load((s.dir.Path() / "none.lws").c_str(), so_handedness_left), zFileStream::kErrNotFound);
  EXPECT_TRUE(s.scene->IsLoaded() && s.scene->LightCount() == 1u);
  EXPECT_NE(std::string(s.scene->ScenePath()).find("none.lws"), std::string::npos);
  EXPECT_EQ(s.scene->ReadFailure().kind, so3d::read_error::cannot_open);
  const std::string too_long(soLightWaveScene::max_path_length + 1, 'x');
  EXPECT_NE(s.scene->Load(too_long.c_str(), so_handedness_left), 0);
  EXPECT_EQ(s.scene->ReadFailure().kind, so3d::read_error::cannot_open);

  // Lines that need an item, read without one, change nothing.
  Loaded t;
  SceneWriter w;
  w.Line("ShowObject 7 1").Line("LightType 1").Line("Channel 0").Line("Envelope").Line("Key 5 0 0");
  w.Line("PivotPosition 1 1 1").Line("TargetItem 0");
  w.Object("no_such_object.lwo", 1).Channel(0, {{9, 0}});  // unresolvable: no item, lines ignored
  ASSERT_EQ(t.Load(w.Text()), 0);
  EXPECT_TRUE(t.scene->ObjectCount() == 0u && t.scene->LightCount() == 0u && !t.scene->CameraHasTarget());
  EXPECT_FLOAT_EQ(t.Camera(0).pos.z, -10);
}

TEST(SceneFile, CameraLightsAndAmbient) {
  Loaded s;
  SceneWriter w;
  w.Ambient(0.5f, 0.25f, 1, 0.75f).Camera().Line("TargetItem 0");
  w.Light(1, 1, 0, 0, 2).Line("LightConeAngle 30").Line("LightType 3");  // 3: kind unchanged
  w.Light(2, 0, 1, 0, 1).Line("LightColor 0.5");                         // only red given: green and blue stay
  ASSERT_EQ(s.Load(w.Text()), 0);
  EXPECT_TRUE(s.scene->CameraHasTarget());
  EXPECT_FLOAT_EQ(s.Camera(1).pos.z, 0);  // AddCamera dropped the default key

  float intensity = 0;
  so_vector3 color{};
  s.scene->AmbientLight(0, false, &intensity, &color);
  EXPECT_TRUE(color.y == 0.25f && intensity == 0.75f);

  ASSERT_EQ(s.scene->LightCount(), 2u);  // the default light is gone
  so_vectors v{};
  so_light_data d;
  s.scene->LightVectors(0, 0, false, &v, &d);
  EXPECT_TRUE(d.type == so_light_point && d.cone_angle == 30 && d.intensity == 2);
  s.scene->LightVectors(1, 0, false, &v, &d);
  EXPECT_TRUE(d.type == so_light_spot && d.color[0] == 0.5f && d.color[1] == 1);
}

TEST(SceneFile, LineRulesAndChannelKeys) {
  Loaded s;
  SceneWriter w;
  w.Camera();
  w.Line("Channel 6").Line("  { Envelope").Line("}");                      // empty envelope: scale reads 0
  w.Line("Channel 8").Line("{ Envelope").Line("Key 0.5 0 0 0 0 0 0 0 0");  // depth scale forced to 1
  w.Line("Channel 0").Line("Envelope").Line("Key 1 0 3").Line("Key 5 2 3").Line("Key 3 2 3");  // later wins
  w.Line("Channel 17").Line("Key 9 0 0");  // no such channel: ignored
  w.Line("Channel 1").Line("Key 4 0 0");
  w.Pivot(1, 2, 3);
  w.Line("Channel 2").Line("Key 6 0 0");  // last line without a break: lost
  const std::string text = w.Text(false);
  ASSERT_EQ(s.Load(text), 0);
  EXPECT_EQ(Where(s.scene->ReadFailure()), std::tuple(so3d::read_error::truncated, LinesOf(text) + 1, text.size()));
  // Scale x and z; position (LINE from 1 at 0 to 3 at 2); pivot x and z.
  const so_vectors v = s.Camera(1);
  EXPECT_EQ((std::vector{v.scale.x, v.scale.z, v.pos.x, v.pos.y, v.pos.z, v.rot_off.x, v.rot_off.z}),
            (std::vector<float>{0, 1, 2, 4, 0, -1, -3}));
}

TEST(SceneFile, ReadingStopsAtAZeroByteOrAnOverlongLine) {
  using so3d::read_error;
  const std::string head = SceneWriter().Camera().Line("Channel 0").Line("Key 1 0 0").Text();
  const int next = LinesOf(head) + 1;
  const auto [after_zero, zero] = CameraXOf(head + "Key 2 0 0\n" + '\0' + "Key 3 0 0\n");
  EXPECT_FLOAT_EQ(after_zero, 2);
  EXPECT_EQ(Where(zero), std::tuple(read_error::bad_value, next + 1, head.size() + 10));

  const std::string key = "Key 4 0 0 ";
  const std::size_t longest = soLightWaveScene::max_line_length;
  const auto [fits, none] = CameraXOf(head + key + std::string(longest - key.size(), ' ') + "\n");
  EXPECT_FLOAT_EQ(fits, 4) << "fits exactly";
  EXPECT_FALSE(none);
  const auto [before_long, too_long] =
      CameraXOf(head + key + std::string(longest - key.size() + 1, ' ') + "\nKey 3 0 0\n");
  EXPECT_FLOAT_EQ(before_long, 1);
  EXPECT_EQ(Where(too_long), std::tuple(read_error::line_too_long, next, head.size() + longest));
}

TEST(SceneFile, ObjectsGetTheirItemsScreensAndKeys) {
  Loaded s;
  s.dir.Write("quad.lwo", so3d::fixtures::QuadObject());
  SceneWriter w;
  // Stored with the authoring machine's drive and folder: found beside the
  // scene file by its leaf.
  w.Object("C:\\Work\\quad.lwo", 1).Channel(0, {{1, 0, 3}, {3, 2, 3}}).Pivot(0.5f, 0, 0);
  w.Object("missing.lwo", 2);
  w.Object("quad.lwo", 4);  // same name as written: a new registry entry
  ASSERT_EQ(s.Load(w.Text()), 0);
  ASSERT_EQ(s.scene->ObjectCount(), 2u);
  so_object_data d{};
  so_vectors v{};
  ASSERT_EQ(s.scene->EvaluateObject(0, 1, false, &v, &d, nullptr), 0);
  EXPECT_TRUE(d.screen == 1 && v.pos.x == 2 && v.rot_off.x == -0.5f);
  s.scene->EvaluateObject(1, 0, false, &v, &d, nullptr);
  EXPECT_EQ(d.screen, 4);
  EXPECT_TRUE(s.scene->ObjectAt(0) != s.scene->ObjectAt(1) && s.scene->ObjectAt(0)->SurfaceCount() == 1);
}
