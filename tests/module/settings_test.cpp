#include <gtest/gtest.h>

#include <cstring>

#include "scene/so_object_settings.h"
#include "base/so_records.h"

namespace {

so_vectors evaluated() {
  return {{1, 2, 3}, {0.1f, 0.2f, 0.3f}, {2, 4, 8}, 0.8f, {-1, -2, -3}, {1, 2, 3, 4}};
}

void expect_same(const so_vectors& a, const so_vectors& b) {
  const float* pa = &a.pos.x;
  const float* pb = &b.pos.x;
  for (int i = 0; i < 17; ++i) EXPECT_FLOAT_EQ(pa[i], pb[i]) << "field " << i;
}

}  // namespace

TEST(Records, ScreenMatchPrefersSlotThenFirstOfScreen) {
  const so_screen_data table[] = {{1, 5, nullptr, 0}, {2, 1, nullptr, 0}, {2, 3, nullptr, 0}, {2, 4, nullptr, 0}};
  EXPECT_EQ(so_match_screen(table, 4, so_object_data{0, 0, 0, 3, 2}), &table[2]);
  EXPECT_EQ(so_match_screen(table, 4, so_object_data{0, 0, 0, 9, 2}), &table[1]);
  EXPECT_EQ(so_match_screen(table, 4, so_object_data{0, 0, 0, 9, 7}), nullptr);
  EXPECT_EQ(so_match_screen(table, 0, so_object_data{0, 0, 0, 5, 1}), nullptr);
  EXPECT_EQ(so_match_screen(nullptr, 4, so_object_data{0, 0, 0, 5, 1}), nullptr);
}

TEST(Settings, EachVariableChangesOnlyItsFields) {
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
  so_vectors want = evaluated();
  want.pos = {1.5f, 1, 3};
  want.rot = {0.35f, 0.7f, 0.3f};  // pitch, heading
  want.scale = {4, 2, 8};
  want.rot_off = {2, 2, -3};
  want.trans = 0.4f;
  want.crop = {11, 2, 3, 9};
  expect_same(v, want);
}

TEST(Settings, WrongKindsFallBackToNeutralDefaults) {
  zRecord r;
  r.SetInt32(so_id_scale, 3);         // not a point: scale stays
  r.SetInt32(so_id_trans, 0);         // numbers convert: fully transparent
  r.SetFloat(so_id_crop_rect, 2.0f);  // present but not a rect: adds the empty rect
  so_vectors v = evaluated();
  so_apply_settings(v, &r);
  so_vectors want = evaluated();
  want.trans = 0;
  expect_same(v, want);
}
