// Envelope evaluation (spans, end behaviours, the key search) and the
// channels of a scene item (adding, resetting, keying, copying).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <random>
#include <vector>

#include "scene/so_envelope_eval.h"

namespace {

so_envelope_key key_at(float time, float value, std::uint32_t shape, float p0 = 0, float p1 = 0, float p2 = 0,
                       float p3 = 0) {
  return {nullptr, nullptr, value, time, shape, 0, 0, 0, {p0, p1, p2, p3}};
}

// Keys appended in the given order, whatever their times.
void fill(so_envelope& env, std::initializer_list<so_envelope_key> keys, std::int32_t pre = 0, std::int32_t post = 0) {
  for (const so_envelope_key& k : keys) so_envelope_insert_key(env, env.key_nodes.size(), k);
  env.pre = pre;
  env.post = post;
}

// The span's cubic in double, Bernstein form, s by plain bisection.
double reference_bezier(double t, const double (&x)[4], const double (&y)[4]) {
  auto at = [](const double(&c)[4], double s) {
    return (1 - s) * (1 - s) * (1 - s) * c[0] + 3 * (1 - s) * s * ((1 - s) * c[1] + s * c[2]) + s * s * s * c[3];
  };
  double lo = 0, hi = 1;
  for (int i = 0; i < 200; ++i) (at(x, (lo + hi) / 2) > t ? hi : lo) = (lo + hi) / 2;
  return at(y, lo);
}

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
float later(void* item, so_channel_value_fn f, std::int32_t ch, float t, float d) { return f(item, ch, t + 1, d); }

}  // namespace

TEST(EnvelopeEval, SpansEndBehavioursAndTheirCycles) {
  EXPECT_EQ(evaluate_envelope(nullptr, 1), 0.0f);
  so_envelope single;
  fill(single, {key_at(1, 7, so_shape_line)});  // behaviours are not consulted
  for (float t : {-5.0f, 9.0f}) EXPECT_EQ(evaluate_envelope(&single, t), 7.0f);

  so_envelope line, tcb;
  fill(line, {key_at(0, 0, so_shape_line), key_at(2, 10, so_shape_line)});
  fill(tcb, {key_at(0, 0, so_shape_tcb), key_at(2, 10, so_shape_tcb)});  // lone TCB keys: a straight span
  EXPECT_EQ(evaluate_envelope(&line, 2), 10.0f);
  EXPECT_TRUE(evaluate_envelope(&tcb, 0.5f) == 2.5f && evaluate_envelope(&tcb, 1) == 5.0f);
  const float times[] = {-1.5f, 2.5f, 4.5f};  // cycles -1, 1 and 2
  // Codes 3 (odd cycles run backwards), 4 (shifted by the value range per cycle) and unknown ones (the
  // last value after, the first span extended before) included.
  const struct {
    std::int32_t code;
    std::vector<float> at;
  } cases[] = {{0, {0, 0, 0}},          {1, {0, 10, 10}},           {2, {2.5f, 2.5f, 2.5f}}, {5, {-7.5f, 12.5f, 22.5f}},
               {3, {7.5f, 7.5f, 2.5f}}, {4, {-7.5f, 12.5f, 22.5f}}, {9, {-7.5f, 10, 10}}};
  for (const auto& c : cases) {
    line.pre = line.post = c.code;
    for (std::size_t i = 0; i < 3; ++i) EXPECT_FLOAT_EQ(evaluate_envelope(&line, times[i]), c.at[i]) << c.code;
  }

  so_envelope herm, step, unknown;
  fill(herm, {key_at(0, 0, so_shape_herm, 0, 2), key_at(1, 1, so_shape_herm, -4)});
  EXPECT_FLOAT_EQ(evaluate_envelope(&herm, 0.5f), 0.5f + 0.125f * 2 + 0.125f * 4);  // h3 = -h4 = 1/8
  fill(step, {key_at(0, 3, so_shape_step), key_at(2, 10, so_shape_step)});
  EXPECT_EQ(evaluate_envelope(&step, 1.9f), 3.0f);
  fill(unknown, {key_at(0, 0, zFourCC("XXXX")), key_at(2, 10, zFourCC("XXXX"))}, 0, 4);
  EXPECT_TRUE(evaluate_envelope(&unknown, 1) == 0.0f && evaluate_envelope(&unknown, 3) == 10.0f);  // only the offset

  // Cycles count from the lower bound, which stays in the quotient.
  using so3d::envelope::wrap_time;
  EXPECT_TRUE(wrap_time(4, 1, 3).time == 1.0f && wrap_time(4, 1, 3).cycle == 2);  // lo is not taken off before dividing
  EXPECT_EQ(wrap_time(7, 2, 2).time, 2.0f);
  EXPECT_EQ(wrap_time(3e38f, 0, 1e-6f).cycle, std::numeric_limits<std::int32_t>::max());  // saturates
}

TEST(EnvelopeEval, Bez2SpanFollowsTheCubicWhereFloatsAllow) {
  const so_envelope_key k1 = key_at(2.5f, 4, so_shape_bez2, -0.8f, 1);
  so_envelope env, mixed;
  fill(env, {key_at(0.5f, 1, so_shape_bez2, 0, 0, 0.5f, 2), k1});
  const double x[4] = {0.5, 1.0, 1.7, 2.5}, y[4] = {1, 3, 5, 4};
  for (float t = 0.55f; t < 2.5f; t += 0.1f) EXPECT_NEAR(evaluate_envelope(&env, t), reference_bezier(t, x, y), 2e-3);
  // A first key of another shape puts its handle a third along, from param[1].
  fill(mixed, {key_at(0.5f, 1, so_shape_herm, 0, 3, 0.5f, 2), k1});
  const double xm[4] = {0.5, 0.5 + 2.0 / 3, 1.7, 2.5}, ym[4] = {1, 2, 5, 4};
  EXPECT_NEAR(evaluate_envelope(&mixed, 1.3f), reference_bezier(1.3, xm, ym), 2e-3);

  // The bisection stops where floats are too coarse. A 200000 s straight
  // span: near its middle one step of s moves x by about 0.01 s, so some
  // times have no s within 0.0001 and only the bound stops.
  const float third = 200000.0f / 3;
  so_envelope wide;
  fill(wide, {key_at(0, 0, so_shape_bez2, 0, 0, third, 1.0f / 3), key_at(200000, 1, so_shape_bez2, -third, -1.0f / 3)});
  const auto cubic = so3d::envelope::make_bezier_cubic(0, third, 2 * third, 200000);
  int unreachable = 0;
  for (float t = 100000.0f; t < 100001.0f; t += 0.01f) {
    if (std::fabs(t - cubic.at(so3d::envelope::span_parameter(cubic, t))) > 0.0001f) ++unreachable;
    EXPECT_NEAR(evaluate_envelope(&wide, t), t / 200000.0f, 1e-5);
  }
  EXPECT_GT(unreachable, 0);
}

TEST(EnvelopeEval, SpanSearchMatchesListWalk) {
  so_envelope runs;  // equal times: the walk stops at the first key of a run
  fill(runs, {key_at(0, 0, so_shape_line), key_at(1, 10, so_shape_line), key_at(1, 20, so_shape_line),
              key_at(1, 30, so_shape_line), key_at(2, 40, so_shape_line)});
  EXPECT_EQ(evaluate_envelope(&runs, 1), 10.0f);
  EXPECT_FLOAT_EQ(evaluate_envelope(&runs, 1.5f), 35.0f);

  // Bisection against the walk that keys out of order get, on random keys
  // with repeated times, every shape and behaviour, at key times and between.
  std::mt19937 rng(7);
  for (int round = 0; round < 50; ++round) {
    so_envelope bisected, walked;
    float time = 0;
    for (int i = 0, n = 2 + static_cast<int>(rng() % 40); i < n; ++i) {
      time += static_cast<float>(rng() % 3) * 0.25f;
      const std::uint32_t shape = so_shape_from_number(static_cast<std::int32_t>(rng() % 6));
      fill(bisected, {key_at(time, static_cast<float>(rng() % 100), shape, -0.1f, 1, 0.1f, 1)},
           static_cast<std::int32_t>(rng() % 7), static_cast<std::int32_t>(rng() % 7));
    }
    for (const auto& k : bisected.key_nodes) fill(walked, {*k}, bisected.pre, bisected.post);
    ASSERT_TRUE(bisected.keys_ordered);
    walked.keys_ordered = false;
    for (float t = -1; t < time + 1; t += 0.125f) {
      const float a = evaluate_envelope(&bisected, t), b = evaluate_envelope(&walked, t);
      EXPECT_TRUE(a == b || (std::isnan(a) && std::isnan(b))) << "round " << round << " t " << t;
    }
  }
}

TEST(EnvelopeEval, KeysOutOfOrderAndOddTimesAreSafe) {
  so_envelope env, same_time;
  fill(env, {key_at(0, 1, so_shape_tcb), key_at(3, 2, so_shape_line), key_at(1, 3, so_shape_bez2),
             key_at(std::nanf(""), 4, so_shape_tcb), key_at(2, 5, so_shape_tcb)});
  EXPECT_FALSE(env.keys_ordered);
  EXPECT_FLOAT_EQ(evaluate_envelope(&env, 1.5f), 1.5f);  // the walk stops at the first later key: 0 to 3
  const float inf = std::numeric_limits<float>::infinity();
  for (std::int32_t code = 0; code < 7; ++code) {
    env.pre = env.post = code;
    for (float t : {-inf, inf, std::nanf(""), -1e30f, 1e30f}) (void)evaluate_envelope(&env, t);
  }
  fill(same_time, {key_at(1, 1, so_shape_tcb), key_at(1, 2, so_shape_tcb)}, 5, 5);  // zero-length end spans
  EXPECT_TRUE(evaluate_envelope(&same_time, 0) == 1.0f && evaluate_envelope(&same_time, 3) == 2.0f);
}

TEST(EnvelopeItem, AddKeyInsertsInOrderAndOverwritesEqualTimes) {
  // The codes scene files key with; unknown ones are BEZ2.
  const std::uint32_t shapes[] = {so_shape_tcb,  so_shape_bezi, so_shape_herm,
                                  so_shape_line, so_shape_step, so_shape_bez2};
  for (std::int32_t n = -1; n < 6; ++n) EXPECT_EQ(so_shape_from_number(n), shapes[n < 0 ? 5 : n]) << n;
  so_scene_item item;
  EXPECT_TRUE(add(item, 17, 1, 0) == nullptr && add(item, -1, 1, 0) == nullptr);
  so_envelope_key* k = add_envelope_key(item, 2, 5, 1, 7, 0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f);
  ASSERT_NE(k, nullptr);
  EXPECT_TRUE(k->bias == 0.3f && k->param[1] == 0.5f && k->param[2] == 0.0f);  // p6 is not kept
  add(item, 2, 9, 3);
  add(item, 2, 0, -1);
  add(item, 2, 7, 2);
  EXPECT_EQ(key_times(*item.env[2]), (std::vector<float>{-1, 1, 2, 3}));

  k->param[2] = k->param[3] = 8;
  EXPECT_EQ(add_envelope_key(item, 2, 6, 1, 0, 0, 0, 0, 1, 2, 3), k);
  EXPECT_TRUE(k->value == 6.0f && k->shape == so_shape_tcb && k->param[3] == 0.0f);
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
  EXPECT_TRUE(item.env[6]->keys == nullptr && item.env[6]->post == 2);
  ASSERT_EQ(reset_envelope(item, 9, 0, 0), 0);  // made when missing
  EXPECT_EQ(reset_envelope(item, 17, 0, 0), -1);
  evaluate_item(item, 3, v);
  EXPECT_TRUE(v.rot.y == 0.25f && v.rot.x == 0.75f && v.scale.y == 1.0f);
  EXPECT_TRUE(v.scale.x == 0.0f && v.trans == 0.0f);  // an empty envelope reads 0, not the default
  EXPECT_EQ(channel_value(nullptr, 4, 9, -1), -1.0f);

  add(item, 1, 0, 0);
  add(item, 1, 10, 2);
  item.eval[1] = later;
  item.eval[8] = later;  // no envelope: the default comes through the value function
  evaluate_item(item, 0.5f, v);
  EXPECT_TRUE(v.pos.y == 7.5f && v.scale.z == 1.0f);
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
  EXPECT_TRUE(item.env[0]->key_count == 2 && item.env[5]->keys->shape == so_shape_tcb);
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
  EXPECT_TRUE(env.keys->param[1] == 0.5f && env.keys->param[2] == 0.0f);
  EXPECT_EQ(env.keys->next->shape, zFourCC("ODD "));
  EXPECT_EQ(to.env[4]->keys->value, 60.0f);
  EXPECT_TRUE(to.env[0] == nullptr && to.eval[2] == nullptr);
  EXPECT_EQ(copy_item_channels(to, to), 0);
  EXPECT_EQ(key_times(*to.env[2]).size(), 2u);
}
