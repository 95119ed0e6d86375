#include <gtest/gtest.h>

#include "scene/so_object_settings.h"
#include "scene/so_records.h"

namespace {
so_vectors evaluated() {
  so_vectors v = so_default_vectors();
  v.pos = {1, 2, 3};
  v.rot = {0.1f, 0.2f, 0.3f};
  v.scale = {2, 4, 8};
  v.trans = 0.8f;
  v.rot_off = {-1, -2, -3};
  v.crop = {1, 2, 3, 4};
  return v;
}
void expect_same(const so_vectors& a, const so_vectors& b) {
  const float* pa = &a.pos.x;
  const float* pb = &b.pos.x;
  for (int i = 0; i < 17; ++i) EXPECT_FLOAT_EQ(pa[i], pb[i]) << "field " << i;
}
}  // namespace

TEST(Records, DefaultVectorsAreNeutral) {
  const so_vectors v = so_default_vectors();
  EXPECT_EQ(v.scale.x, 1.0f);
  EXPECT_EQ(v.scale.z, 1.0f);
  EXPECT_EQ(v.trans, 1.0f);
  EXPECT_EQ(v.pos.x, 0.0f);
  EXPECT_EQ(v.crop.bottom, 0.0f);
}

TEST(Records, ScreenMatchPrefersSlotThenFirstOfScreen) {
  const so_screen_data table[] = {{1, 5, nullptr, 0}, {2, 1, nullptr, 0}, {2, 3, nullptr, 0}, {2, 4, nullptr, 0}};
  so_object_data obj{0, 0, 0, 3, 2};
  EXPECT_EQ(so_match_screen(table, 4, obj), &table[2]);
  obj.slot = 9;  // no entry with that slot: first of the screen
  EXPECT_EQ(so_match_screen(table, 4, obj), &table[1]);
  obj.screen = 7;
  EXPECT_EQ(so_match_screen(table, 4, obj), nullptr);
  obj.screen = 1;
  EXPECT_EQ(so_match_screen(table, 0, obj), nullptr);
  EXPECT_EQ(so_match_screen(nullptr, 4, obj), nullptr);
}

TEST(Settings, EmptyOrNullRecordLeavesTheObjectAsEvaluated) {
  so_vectors v = evaluated();
  so_apply_settings(v, nullptr);
  expect_same(v, evaluated());
  const zRecord empty;
  so_apply_settings(v, &empty);
  expect_same(v, evaluated());
}

TEST(Settings, EachVariableChangesOnlyItsFields) {
  zRecord r;
  r.SetFloatPoint(so_id_pos, {0.5f, -1});
  r.SetFloatPoint(so_id_rot, {0.25f, 0.5f});
  r.SetFloatPoint(so_id_scale, {2, 0.5f});
  r.SetFloatPoint(so_id_rot_off, {3, 4});
  r.SetFloat(so_id_trans, 0.5f);
  r.SetRect(so_id_crop_rect, {10, 0, 0, 5});
  so_vectors v = evaluated();
  so_apply_settings(v, &r);

  so_vectors want = evaluated();
  want.pos.x += 0.5f;
  want.pos.y -= 1;
  want.rot.x += 0.25f;  // pitch
  want.rot.y += 0.5f;   // heading
  want.scale.x = 4;
  want.scale.y = 2;
  want.rot_off.x += 3;
  want.rot_off.y += 4;
  want.trans = 0.4f;
  want.crop.left += 10;
  want.crop.bottom += 5;
  expect_same(v, want);
}

TEST(Settings, WrongKindsFallBackToNeutralDefaults) {
  zRecord r;
  r.SetInt32(so_id_scale, 3);        // not a point: scale stays
  r.SetInt32(so_id_trans, 0);        // numbers convert: fully transparent
  r.SetFloat(so_id_crop_rect, 2.0f); // present but not a rect: adds the empty rect
  so_vectors v = evaluated();
  so_apply_settings(v, &r);
  so_vectors want = evaluated();
  want.trans = 0;
  expect_same(v, want);
}

TEST(Settings, HolderCopiesShareTheRecord) {
  zRecord record;
  soObjectSettings a(&record);
  const soObjectSettings b(a);
  soObjectSettings c;
  EXPECT_EQ(c.Record(), nullptr);
  c = b;
  EXPECT_EQ(c.Record(), &record);
  EXPECT_EQ(&b(), &record);
  const zRecord* constant = &record;
  EXPECT_EQ(soObjectSettings(constant).Record(), &record);
  c.SetRecord(nullptr);
  EXPECT_EQ(a.Record(), &record);
}
