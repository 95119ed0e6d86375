// The opt-in loading: later scene revisions, more places to find objects,
// and the report of what a load did. Without options nothing changes.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "fixtures/lwo_writer.h"
#include "fixtures/scene_writer.h"
#include "scene/so_lightwave_scene.h"
#include "scene/so_load_options.h"
#include "tests/support/temp_dir.h"
#include "tests/support/test_registries.h"

namespace {

using so3d::fixtures::SceneWriter;

struct Loader {
  so3d::test::TestRegistries registries;
  so_load_report report;
  so_load_options options;
  std::unique_ptr<soScene> scene{soScene::Factory(*registries.textures, registries.objects)};

  explicit Loader(bool modern, std::string content = "") {
    options.modern_files = modern;
    options.content_dir = std::move(content);
    options.report = &report;
    scene->SetLoadOptions(&options);
  }
  std::int32_t Load(const std::filesystem::path& path) { return scene->Load(path.c_str(), so_handedness_left); }
};

TEST(LoadReport, PublicScenesLoadTheirObjectsOnlyWithModernFiles) {
  SO3D_REQUIRE_LIGHTWAVE_DATA(data);
  int scenes = 0;
  for (const auto& file : std::filesystem::directory_iterator(data / "LWS")) {
    if (file.path().extension() != ".lws") continue;
    ++scenes;
    const std::string name = file.path().filename().string();
    Loader faithful(false), modern(true);
    ASSERT_EQ(faithful.Load(file.path()), 0) << name;
    ASSERT_EQ(modern.Load(file.path()), 0) << name;
    EXPECT_EQ(modern.scene->ObjectCount(), 1u) << name;
    EXPECT_EQ(modern.report.Count(so_object_outcome::loaded), 1) << name;
    EXPECT_EQ(modern.report.objects.at(0).points, 8) << name;
    // Only the revision-3 file names its object the way the faithful reader reads it.
    const bool old_form = name == "move_x_oldformat_6.lws";
    EXPECT_EQ(faithful.scene->ObjectCount(), old_form ? 1u : 0u) << name;
    EXPECT_EQ(faithful.report.Count(so_object_outcome::not_supported), faithful.report.revision >= 4 ? 1 : 0) << name;
    EXPECT_FALSE(modern.report.Warnings().empty()) << "no object of these shows a screen: " << name;
  }
  EXPECT_EQ(scenes, 12);
}

// Both revisions move the cube as their keys say (the values are the file's
// keys); the faithful reader reads the revision-3 file the same way.
TEST(LoadReport, RevisionFiveMovesLikeItsRevisionThreeTwin) {
  SO3D_REQUIRE_LIGHTWAVE_DATA(data);
  Loader five(true), three(true);
  ASSERT_EQ(five.Load(data / "LWS" / "move_x.lws"), 0);
  ASSERT_EQ(three.Load(data / "LWS" / "move_x_oldformat_6.lws"), 0);
  EXPECT_EQ(std::pair(five.report.revision, three.report.revision), std::pair(5, 3));
  for (float t : {0.0f, 0.3f, 0.6666667f, 1.2f, 1.3333334f, 2.5f}) {
    so_vectors a{}, b{};
    so_object_data d{};
    ASSERT_EQ(five.scene->EvaluateObject(0, t, false, &a, nullptr, nullptr), 0);
    ASSERT_EQ(three.scene->EvaluateObject(0, t, false, &b, &d, nullptr), 0);
    EXPECT_NEAR(a.pos.x, b.pos.x, 1e-5f) << t;
    EXPECT_NEAR(a.pos.y, b.pos.y, 1e-5f) << t;
    if (t == 0.6666667f || t == 1.3333334f) { EXPECT_NEAR(b.pos.x, t < 1 ? 2.0691125f : -2.3748658f, 1e-4f); }
    EXPECT_TRUE(b.scale.x == 0.97975808f && b.scale.z == 1.0f && d.screen == -1) << "depth scale is always 1";
  }
}

TEST(LoadReport, SceneFolderContentFolderAndEveryOutcome) {
  so3d::test::TempDir dir;
  std::filesystem::create_directories(dir.Path() / "Scenes");
  std::filesystem::create_directories(dir.Path() / "Objects");
  dir.Write("Objects/quad.lwo", so3d::fixtures::QuadObject());
  dir.Write("Objects/leaf.lwo", so3d::fixtures::QuadObject());
  dir.Write("Objects/broken.lwo", so3d::fixtures::QuadObject().substr(0, 30));
  SceneWriter w;
  w.Line("LoadObjectLayer 1 10000000 ../Objects/quad.lwo").Line("ShowObject 7 1");  // beside the scene's folder
  w.Line("LoadObjectLayer 1 10000001 X:\\Shows\\leaf.lwo");  // only the content folder's Objects/ has it
  w.Line("LoadObjectLayer 1 10000002 ../Objects/broken.lwo").Line("LoadObjectLayer 1 10000003 gone.lwo");
  w.Line("FramesPerSecond 30");
  const std::string scene = dir.Write("Scenes/fx.lws", "LWSC\n5\n" + w.Text());

  Loader modern(true, dir.Path().string());
  ASSERT_EQ(modern.Load(scene), 0);
  // The summary gives each object's outcome.
  EXPECT_EQ(modern.report.Summary(),
            "fx.lws: 2 of 4 objects loaded, 1 not found (gone.lwo), 1 unreadable (broken.lwo), 2 show screens");
  const auto& objects = modern.report.objects;
  ASSERT_EQ(objects.size(), 4u);
  EXPECT_EQ(objects[0].screen, 1);
  EXPECT_EQ(std::filesystem::path(objects[1].path), dir.Path() / "Objects" / "leaf.lwo");
  EXPECT_EQ(objects[2].failure.kind, so3d::read_error::truncated);
  EXPECT_EQ(objects[3].tried.size(), 5u) << "three faithful places, the scene's folder, the content folder";
  EXPECT_EQ(modern.report.ignored.back().keyword, "FramesPerSecond");
  EXPECT_EQ(modern.scene->ObjectCount(), 2u);

  Loader faithful(false, dir.Path().string());  // the content folder is for the modern reading only
  ASSERT_EQ(faithful.Load(scene), 0);
  EXPECT_EQ(faithful.scene->ObjectCount(), 0u);
  EXPECT_EQ(faithful.report.Count(so_object_outcome::not_supported), 4);
}

}  // namespace
