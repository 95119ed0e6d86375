#include <gtest/gtest.h>

#include <memory>

#include "platform/foundation/z_record.h"
#include "scene/so_lightwave_scene.h"
#include "scene/so_object_settings.h"
#include "tests/support/test_registries.h"

namespace {

using so3d::test::TestRegistries;

class SceneModel : public ::testing::Test {
 protected:
  TestRegistries r;
  std::unique_ptr<soScene> scene{soScene::Factory(*r.textures, r.objects)};

  static so_vectors At(float x, float y, float z) {
    so_vectors v = so_default_vectors();
    v.pos = {x, y, z};
    return v;
  }
  static float XAt(soScene& s, std::int32_t index, float time, const zRecord* record = nullptr) {
    so_vectors v{};
    EXPECT_EQ(s.EvaluateObject(index, time, false, &v, nullptr, record), 0);
    return v.pos.x;
  }
};

TEST_F(SceneModel, FactoryStateThenObjectsAddedEvaluatedSortedAndReleased) {
  EXPECT_FALSE(scene->IsLoaded());
  so_vectors cam{};
  EXPECT_TRUE(scene->CameraVectors(37.0f, false, &cam) == 0 && cam.pos.z == -10.0f);  // one key: every time
  float intensity = 0;
  so_vector3 color{};
  EXPECT_TRUE(scene->AmbientLight(-3.0f, false, &intensity, &color) == 0 && intensity == 0.25f);
  so_vectors light{};
  so_light_data data;
  EXPECT_TRUE(scene->LightVectors(0, 1.0f, false, &light, &data) == 0 && data.type == so_light_distant);
  data.intensity = 42;
  EXPECT_TRUE(scene->LightVectors(1, 1.0f, false, &light, &data) == -1 && data.intensity == 42);

  so_vectors v = At(7, 7, 7);
  so_object_data d{1, 2, 3, 4, 5};
  EXPECT_EQ(scene->EvaluateObject(0, 0, false, &v, &d, nullptr), -1);
  EXPECT_TRUE(v.pos.x == 7 && d.screen == 5);  // untouched

  EXPECT_EQ(scene->AddObject(nullptr), 0);  // an item all the same
  soObject* box = r.Box("box");
  EXPECT_TRUE(scene->AddObject(box) == 1 && scene->AddObject(box) == 2);
  so_depth_entry entries[3];
  scene->DepthSort(entries, 3, 0);
  EXPECT_TRUE(entries[0].index == 2u && entries[2].index == 0u);

  // An item without keys reads the channel defaults; data round-trips.
  so_object_data got{};
  v = At(9, 9, 9);
  EXPECT_EQ(scene->EvaluateObject(1, 3, false, &v, &got, nullptr), 0);
  EXPECT_TRUE(v.pos.x == 0 && v.scale.y == 1);
  d = {0x2, 100, 100, 3, 1};
  v = At(1, 2, 3);
  EXPECT_TRUE(scene->EvaluateObject(1, 0, true, &v, &d, nullptr) == 0 &&
              scene->EvaluateObject(1, 5, false, &v, &got, nullptr) == 0);
  EXPECT_TRUE(got.flags == 0x2 && got.screen == 1);

  scene->RemoveObject(2);
  scene->RemoveObject(7);  // past the end: nothing
  EXPECT_EQ(scene->ObjectCount(), 2u);
  EXPECT_EQ(r.objects.ReferenceObject(box), 2);  // made + the item left
  r.objects.ReleaseObject(box);
  scene.reset();  // gives the last scene reference back
  EXPECT_EQ(r.objects.ReferenceObject(box), 1);
}

TEST_F(SceneModel, SettingsAreAppliedAfterReadingAndBeforeKeying) {
  scene->AddObject(r.Box("box"));
  zRecord record;
  record.SetFloatPoint(so_id_pos, {1, 0});
  record.SetFloatPoint(so_id_scale, {2, 0.5f});
  so_vectors v = At(1, 1, 1);
  ASSERT_EQ(scene->EvaluateObject(0, 0, true, &v, nullptr, &record), 0);
  EXPECT_FLOAT_EQ(v.pos.x, 2);            // the caller's record carries the settings
  EXPECT_FLOAT_EQ(XAt(*scene, 0, 0), 2);  // ...and so do the keys
  EXPECT_FLOAT_EQ(XAt(*scene, 0, 0, &record), 3);
  so_vectors read{};
  scene->EvaluateObject(0, 0, false, &read, nullptr, &record);
  EXPECT_TRUE(read.scale.y == 0.25f && read.scale.z == 1);  // keyed 0.5, halved again
}

TEST_F(SceneModel, TileObjectStepsAcrossThenDown) {
  const so_object_data d{0x2, 100, 100, 0, 0};
  so_vectors v = At(3.5f, 0, 0);  // the last step that stays on the row
  EXPECT_TRUE(scene->TileObject(d, v) == 0 && v.pos.x == 4.5f);
  v = At(3.7f, 0, 0);
  EXPECT_EQ(scene->TileObject(d, v), 0);
  EXPECT_NEAR(v.pos.x, -3.1f, 1e-6f);
  EXPECT_FLOAT_EQ(v.pos.y, -1);
  v = At(3.7f, -2.0f, 0);  // next row at -3.0 lies below -(2.4 + 0.5)
  EXPECT_EQ(scene->TileObject(d, v), -1);
}

TEST_F(SceneModel, AssignmentCopiesItemsKeysAndReferences) {
  soObject* box = r.Box("box");
  scene->AddObject(box);
  for (float t : {0.0f, 2.0f}) {
    so_vectors v = At(1 + t, 0, 0);
    scene->EvaluateObject(0, t, true, &v, nullptr, nullptr);
  }
  so_vectors cam = At(0, 0, -5);
  scene->CameraVectors(0, true, &cam);

  std::unique_ptr<soScene> b{soScene::Factory(*r.textures, r.objects)};
  b->AddObject(r.Box("other"));  // cleared by the assignment
  *b = *scene;
  *b = *b;  // self-assignment changes nothing
  EXPECT_TRUE(b->ObjectCount() == 1u && b->ObjectAt(0) == box);
  EXPECT_EQ(r.objects.ReferenceObject(box), 3);  // made + a + b
  r.objects.ReleaseObject(box);
  b->CameraVectors(0, false, &cam);
  EXPECT_FLOAT_EQ(cam.pos.z, -5);
  scene.reset();
  EXPECT_TRUE(XAt(*b, 0, 1) == 2 && XAt(*b, 0, 2) == 3);  // keys are b's own
}

}  // namespace
