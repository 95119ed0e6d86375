#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "scene/so_envelope_eval.h"

namespace {

so_envelope_key* add(so_scene_item& item, std::int32_t ch, float value, float time, std::int32_t shape = 3) {
  return add_envelope_key(item, ch, value, time, shape, 0, 0, 0, 0, 0, 0);
}

// Times of the keys in list order, after checking every link and the count.
std::vector<float> key_times(const so_envelope& env) {
  std::vector<float> times;
  const so_envelope_key* prev = nullptr;
  for (const so_envelope_key* k = env.keys; k; prev = k, k = k->next) {
    EXPECT_EQ(k->prev, prev);
    times.push_back(k->time);
  }
  EXPECT_EQ(env.key_count, static_cast<std::int32_t>(times.size()));
  return times;
}

// Distinct values in every field.
so_vectors sample_vectors() { return {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, 10, {11, 12, 13}, {14, 15, 16, 17}}; }

// Reads the channel one second later.
float later(void* item, so_channel_value_fn value, std::int32_t channel, float time, float def) {
  return value(item, channel, time + 1, def);
}

}  // namespace

TEST(EnvelopeItem, AddKeyInsertsInOrderAndOverwritesEqualTimes) {
  const std::uint32_t table[] = {so_shape_tcb, so_shape_bezi, so_shape_herm, so_shape_line, so_shape_step};
  for (std::int32_t n : {0, 1, 2, 3, 4}) EXPECT_EQ(so_shape_from_number(n), table[n]);
  for (std::int32_t n : {5, -1}) EXPECT_EQ(so_shape_from_number(n), so_shape_bez2);

  so_scene_item item;
  EXPECT_EQ(add(item, 17, 1, 0), nullptr);
  EXPECT_EQ(add(item, -1, 1, 0), nullptr);
  so_envelope_key* k = add_envelope_key(item, 2, 5, 1, 7, 0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f);
  ASSERT_NE(k, nullptr);
  EXPECT_EQ(k->bias, 0.3f);
  EXPECT_EQ(k->param[1], 0.5f);
  EXPECT_EQ(k->param[2], 0.0f);  // p6 is not kept
  add(item, 2, 9, 3);
  add(item, 2, 0, -1);
  add(item, 2, 7, 2);
  EXPECT_EQ(key_times(*item.env[2]), (std::vector<float>{-1, 1, 2, 3}));

  k->param[2] = k->param[3] = 8;
  EXPECT_EQ(add_envelope_key(item, 2, 6, 1, 0, 0, 0, 0, 1, 2, 3), k);
  EXPECT_EQ(k->value, 6.0f);
  EXPECT_EQ(k->shape, so_shape_tcb);
  EXPECT_EQ(k->param[3], 0.0f);
  EXPECT_EQ(add(item, 2, 4, 3)->value, 4.0f);  // the last key too
  EXPECT_EQ(key_times(*item.env[2]), (std::vector<float>{-1, 1, 2, 3}));
}

TEST(EnvelopeItem, EvaluateDefaultsPlacesAndEmptyEnvelopes) {
  so_scene_item item;
  so_vectors v = sample_vectors();
  const so_vectors defaults = so_default_vectors();
  evaluate_item(item, 3, v);
  EXPECT_EQ(0, std::memcmp(&v, &defaults, sizeof v));

  add(item, 3, 0.25f, 0);  // heading
  add(item, 4, 0.75f, 0);  // pitch
  add(item, 6, 2, 0);
  ASSERT_EQ(reset_envelope(item, 6, 1, 2), 0);
  EXPECT_EQ(item.env[6]->keys, nullptr);
  EXPECT_EQ(item.env[6]->post, 2);
  ASSERT_EQ(reset_envelope(item, 9, 0, 0), 0);  // made when missing
  EXPECT_EQ(reset_envelope(item, 17, 0, 0), -1);
  evaluate_item(item, 3, v);
  EXPECT_EQ(v.rot.y, 0.25f);
  EXPECT_EQ(v.rot.x, 0.75f);
  EXPECT_EQ(v.scale.x, 0.0f);  // an empty envelope reads 0, not the default
  EXPECT_EQ(v.trans, 0.0f);
  EXPECT_EQ(v.scale.y, 1.0f);
  EXPECT_EQ(channel_value(nullptr, 4, 9, -1), -1.0f);

  add(item, 1, 0, 0);
  add(item, 1, 10, 2);
  item.eval[1] = later;
  item.eval[8] = later;  // no envelope: the default comes through the value function
  evaluate_item(item, 0.5f, v);
  EXPECT_FLOAT_EQ(v.pos.y, 7.5f);
  EXPECT_EQ(v.scale.z, 1.0f);
}

TEST(EnvelopeItem, KeyThenEvaluateRoundTrips) {
  so_scene_item item;
  add(item, 0, 100, 0.5f);
  add(item, 7, 100, 2);
  for (const so_vectors& in : {sample_vectors(), so_default_vectors()}) {  // the second overwrites
    ASSERT_EQ(key_item(item, 1, in), 0);
    so_vectors out;
    evaluate_item(item, 1, out);
    EXPECT_EQ(0, std::memcmp(&out, &in, sizeof in));
  }
  EXPECT_EQ(item.env[0]->key_count, 2);
  EXPECT_EQ(item.env[5]->keys->shape, so_shape_tcb);
}

TEST(EnvelopeItem, CopyChannels) {
  so_scene_item from, to;
  so_envelope_key* b = add_envelope_key(from, 2, 1, 0, 5, 0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0);
  b->param[2] = 9;
  add(from, 2, 3, 1)->shape = zFourCC("ODD ");  // an id that no shape number gives
  from.env[2]->pre = 2;
  from.env[2]->post = 5;
  from.eval[2] = later;
  add(to, 2, 50, 7);  // replaced
  add(to, 4, 60, 0);  // kept: the source has no channel 4
  ASSERT_EQ(copy_item_channels(from, to), 0);

  const so_envelope& env = *to.env[2];
  EXPECT_EQ(env.post, 5);
  EXPECT_EQ(key_times(env), (std::vector<float>{0, 1}));
  EXPECT_EQ(env.keys->param[1], 0.5f);
  EXPECT_EQ(env.keys->param[2], 0.0f);
  EXPECT_EQ(env.keys->next->shape, zFourCC("ODD "));
  EXPECT_EQ(to.env[4]->keys->value, 60.0f);
  EXPECT_EQ(to.env[0], nullptr);
  EXPECT_EQ(to.eval[2], nullptr);
  EXPECT_EQ(copy_item_channels(to, to), 0);
  EXPECT_EQ(key_times(*to.env[2]).size(), 2u);
}
