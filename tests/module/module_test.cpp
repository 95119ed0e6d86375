// Module start-up, and the settings records carry onto evaluated objects.
#include <gtest/gtest.h>

#include "base/so_records.h"
#include "module/so_module.h"
#include "platform/foundation/z_boot.h"
#include "platform/foundation/z_file_stream.h"
#include "platform/foundation/z_string_id.h"
#include "scene/so_object_settings.h"
#include "tests/support/temp_dir.h"

namespace {

so_vectors evaluated() { return {{1, 2, 3}, {0.1f, 0.2f, 0.3f}, {2, 4, 8}, 0.8f, {-1, -2, -3}, {1, 2, 3, 4}}; }

void expect_same(const so_vectors& a, const so_vectors& b) {
  for (int i = 0; i < 17; ++i) EXPECT_FLOAT_EQ((&a.pos.x)[i], (&b.pos.x)[i]) << "field " << i;
}

}  // namespace

TEST(Records, ScreenMatchPrefersSlotThenFirstOfScreen) {
  const so_screen_data table[] = {{1, 5, nullptr, 0}, {2, 1, nullptr, 0}, {2, 3, nullptr, 0}, {2, 4, nullptr, 0}};
  EXPECT_EQ(so_match_screen(table, 4, so_object_data{0, 0, 0, 3, 2}), &table[2]);
  EXPECT_EQ(so_match_screen(table, 4, so_object_data{0, 0, 0, 9, 2}), &table[1]);
  EXPECT_EQ(so_match_screen(table, 4, so_object_data{0, 0, 0, 9, 7}), nullptr);
  EXPECT_TRUE(!so_match_screen(table, 0, {0, 0, 0, 5, 1}) && !so_match_screen(nullptr, 4, {0, 0, 0, 5, 1}));
}

TEST(Settings, EachVariableChangesOnlyItsFieldsAndWrongKindsAreNeutral) {
  so_vectors v = evaluated();
  so_apply_settings(v, nullptr);
  const zRecord empty;
  so_apply_settings(v, &empty);
  expect_same(v, evaluated());

  zRecord r;
  r.SetFloatPoint(so_id_pos, {0.5f, -1});
  r.SetFloatPoint(so_id_rot, {0.25f, 0.5f});
  r.SetFloatPoint(so_id_scale, {2, 0.5f});
  r.SetFloatPoint(so_id_rot_off, {3, 4});
  r.SetFloat(so_id_trans, 0.5f);
  r.SetRect(so_id_crop_rect, {10, 0, 0, 5});
  so_apply_settings(v, &r);
  // The rotation point adds to pitch, then heading.
  expect_same(v, {{1.5f, 1, 3}, {0.35f, 0.7f, 0.3f}, {4, 2, 8}, 0.4f, {2, 2, -3}, {11, 2, 3, 9}});

  // Wrong kinds fall back to neutral defaults.
  zRecord wrong;
  wrong.SetInt32(so_id_scale, 3);         // not a point: scale stays
  wrong.SetInt32(so_id_trans, 0);         // numbers convert: fully transparent
  wrong.SetFloat(so_id_crop_rect, 2.0f);  // present but not a rect: adds the empty rect
  v = evaluated();
  so_apply_settings(v, &wrong);
  expect_same(v, {{1, 2, 3}, {0.1f, 0.2f, 0.3f}, {2, 4, 8}, 0, {-1, -2, -3}, {1, 2, 3, 4}});
}

// The only test that boots: everything before BootAll is the loaded state.
TEST(ModuleStartup, LoadedThenBootedThenShutDown) {
  EXPECT_EQ(so_fopen, nullptr);
  EXPECT_TRUE(zBoot::IsRegistered(so_module_code));
  EXPECT_FALSE(zBoot::IsBooted(so_module_code));
  EXPECT_EQ(zStringID::Default()->Name(static_cast<std::int32_t>(so_id_border_decor)), "");

  // Before boot the readers still open files, through fopen.
  so3d::test::TempDir dir;
  const std::string path = dir.Write("f", "x");
  std::FILE* f = so_open_for_reading(path.c_str());
  ASSERT_NE(f, nullptr);
  std::fclose(f);

  zBoot::BootAll();
  EXPECT_TRUE(zCore::IsBooted());
  EXPECT_TRUE(zBoot::IsBooted(so_module_code));
  EXPECT_EQ(so_fopen, &zFileStream::os_fopen);
  EXPECT_EQ(zStringID::Default()->Name(static_cast<std::int32_t>(so_id_border_decor)), "border_decor");
  EXPECT_EQ(zStringID::Default()->Name(0x736F426C), "obj_build_in_out");

  soModule::Shutdown();
  EXPECT_EQ(so_fopen, &zFileStream::os_fopen);
  EXPECT_EQ(so_open_for_reading((dir.Path() / "missing").c_str()), nullptr);
}
