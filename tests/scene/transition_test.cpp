#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "platform/foundation/z_record.h"
#include "scene/so_lightwave_scene.h"
#include "scene/so_object_settings.h"
#include "tests/support/scene_setup.h"
#include "tests/support/test_registries.h"

namespace {

using namespace so3d::test;
using namespace so3d::fixtures;

class Transition : public ::testing::Test {
 protected:
  TestRegistries r;
  TempDir dir;
  std::unique_ptr<soScene> t{soScene::Factory(*r.textures, r.objects)};

  void SetUp() override { dir.Write("quad.lwo", QuadObject(2, 1)); }

  // A scene file of quads: one (screen, x) pair per object, keyed at time 0.
  std::unique_ptr<soScene> Load(const std::string& name, std::initializer_list<std::pair<int, float>> objects) {
    SceneWriter w;
    for (const auto& [screen, x] : objects) w.Object("quad.lwo", screen).Place(x, 0, 0);
    return LoadScene(dir, r.objects, w, name);
  }
  static so_vectors Eval(soScene& s, std::int32_t index, float time, so_object_data* d = nullptr) {
    so_vectors v{};
    EXPECT_EQ(s.EvaluateObject(index, time, false, &v, d, nullptr), 0);
    return v;
  }
};

}  // namespace

TEST_F(Transition, SceneWithItselfStaysAndSettingsAreAppliedOnce) {
  auto a = Load("a.lws", {{1, -1.5f}, {2, 1.5f}});
  zRecord moved;
  moved.SetFloatPoint(so_id_pos, {1, 0});
  so_screen_data screens[] = {{1, 1, &moved, 0}, {2, 2, nullptr, 0}};
  EXPECT_EQ(t->Interpolate(a.get(), screens, 2, 0, a.get(), screens, 2, 0), 0);
  ASSERT_EQ(t->ObjectCount(), 2u);
  for (float time : {0.0f, 0.7f, 2.0f}) {
    EXPECT_FLOAT_EQ(Eval(*t, 0, time).pos.x, -0.5f) << time;
    EXPECT_FLOAT_EQ(Eval(*t, 1, time).pos.x, 1.5f) << time;
    EXPECT_FLOAT_EQ(Eval(*t, 1, time).trans, 1);
  }
  EXPECT_FLOAT_EQ(Eval(*a, 0, 0).pos.x, -1.5f);  // A itself is unchanged
  so_object_data d{};
  EXPECT_TRUE(Eval(*t, 1, 1, &d).trans == 1 && d.screen == 2 && d.slot == 2);
}

TEST_F(Transition, UnpairedObjectsFadeInPlaceAndUnlistedScreensAreLeftOut) {
  auto a = Load("a.lws", {{1, -1}, {3, 0}});  // screen 3 has no entry
  auto b = Load("b.lws", {{2, 1}});
  so_screen_data sa[] = {{1, 1, nullptr, 0}};
  so_screen_data sb[] = {{2, 2, nullptr, 0}};
  t->Interpolate(a.get(), sa, 1, 0, b.get(), sb, 1, 0);
  ASSERT_EQ(t->ObjectCount(), 2u);  // A's screen-1 object builds out, B's builds in
  EXPECT_EQ(
      (std::vector<float>{Eval(*t, 0, 0).trans, Eval(*t, 0, 2).trans, Eval(*t, 1, 0).trans, Eval(*t, 1, 2).trans}),
      (std::vector<float>{1, 0, 0, 1}));
  EXPECT_TRUE(Eval(*t, 0, 2).pos.x == -1 && Eval(*t, 1, 1).pos.x == 1);
}

TEST_F(Transition, BuildDirectionsEffectsAndEase) {
  auto a = Load("a.lws", {{1, 0}});
  auto b = Load("b.lws", {{2, 0.5f}});
  zRecord in_left_eased;  // build in from the left, eased; build out to the right, spinning
  in_left_eased.SetRect(so_id_build_in_out, {0x10, 0x40, 0x10, 0x4});
  so_screen_data sa[] = {{1, 1, &in_left_eased, 0}};
  so_screen_data sb[] = {{2, 2, &in_left_eased, 0}};
  t->Interpolate(a.get(), sa, 1, 0, b.get(), sb, 1, 0);
  ASSERT_EQ(t->ObjectCount(), 2u);

  // Out to the right edge plus half the quad's width, spinning as 0x10 is not in the direction.
  EXPECT_TRUE(Eval(*t, 0, 2).pos.x == 0 + 14.4f + 1 && Eval(*t, 0, 2).rot.z == 15);
  const float from = 0.5f - 14.4f - 1;
  EXPECT_FLOAT_EQ(Eval(*t, 1, 0).pos.x, from);
  EXPECT_FLOAT_EQ(Eval(*t, 1, 2).pos.x, 0.5f);
  // Eased: at time 1 the position reads the keys at 1.75, seven eighths.
  EXPECT_NEAR(Eval(*t, 1, 1).pos.x, from + (0.5f - from) * 0.875f, 1e-4f);
  EXPECT_FLOAT_EQ(Eval(*t, 1, 1).trans, 1);  // opacity is not eased
}

TEST_F(Transition, PairingIsFirstComeFirstServed) {
  auto a = Load("a.lws", {{1, -2}, {1, 2}});
  auto b = Load("b.lws", {{1, 0}});
  so_screen_data screens[] = {{1, 4, nullptr, 0}};
  t->Interpolate(a.get(), screens, 1, 0, b.get(), screens, 1, 0);
  ASSERT_EQ(t->ObjectCount(), 2u);
  EXPECT_TRUE(Eval(*t, 0, 0).pos.x == -2 && Eval(*t, 0, 2).pos.x == 0);  // A's first glides to B's
  EXPECT_TRUE(Eval(*t, 1, 0).pos.x == 2 && Eval(*t, 1, 2).trans == 0);   // the second builds out
}

TEST_F(Transition, SubScenesAreRecordedAndPinned) {
  auto a = Load("a.lws", {{0, -1}, {1, 1}, {7, 3}});
  auto b = Load("b.lws", {{0, 2}});
  zRecord moved;
  moved.SetFloatPoint(so_id_pos, {0.5f, 0});
  // Object screen 0 maps to entry 0, which shows screen 1; entry 1 has slot 6.
  so_screen_data sa[] = {{1, 0, &moved, 0}, {0, 6, nullptr, 0}};
  so_screen_data sb[6] = {{0, 0, nullptr, 1}};
  soScene *ra = nullptr, *rb = nullptr;
  float ta = 0, tb = 0;
  EXPECT_EQ(t->SubSceneInfo(0, &ra, nullptr, nullptr, nullptr), -1);
  t->AddSubScene(a.get(), sa, 2, 0.25f, b.get(), sb, 6, 0.75f);
  ASSERT_TRUE(t->IsSubSceneTransition());
  ASSERT_EQ(t->SubSceneInfo(0, &ra, &rb, &ta, &tb), 0);
  EXPECT_EQ(std::tuple(ra, rb, ta, tb), std::tuple(a.get(), b.get(), 0.25f, 0.75f));
  EXPECT_EQ(t->SubScenes()[0]->count_b, 5);  // cut to the record's room
  EXPECT_EQ(t->ObjectCount(), 0u);

  so_object_data d{};
  EXPECT_FLOAT_EQ(Eval(*a, 0, 2, &d).pos.x, -0.5f);             // entry settings applied once
  EXPECT_TRUE(d.screen == 1 && d.slot == 6);                    // slot of the entry at position 1
  EXPECT_FLOAT_EQ(Eval(*a, 1, 0).pos.x, 1);                     // screen 1 maps to screen 0: no settings
  EXPECT_TRUE(Eval(*a, 2, 0, &d).pos.x == 3 && d.screen == 7);  // beyond the table: left alone
}
