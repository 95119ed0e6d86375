#pragma once
// Evaluating and keying envelopes: single curves, and the seventeen channels
// of a scene item at once. Evaluation never fails and allocates nothing; the
// keying functions report a short allocation with a null or -1 result.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/so_envelope.h"
#include "base/so_records.h"
#include "scene/so_scene_item.h"

// The shape id of a scene file's shape number: 0 TCB, 1 BEZI, 2 HERM,
// 3 LINE, 4 STEP; every other number, negative ones too, BEZ2.
std::uint32_t so_shape_from_number(std::int32_t number);

// The value of `env` at `time` (seconds). A null or empty envelope reads 0;
// one with a single key reads that key's value at every time. `pre`/`post`
// codes: 0 zero, 1 hold the end value, 2 repeat, 3 repeat mirrored every
// second cycle, 4 repeat shifted by the end values' difference, 5 continue
// along the end span's tangent; any other code keeps the time, which before
// the first key extends the first span and after the last key holds the
// last value.
float evaluate_envelope(const so_envelope* env, float time);

// Adds a key to `channel` (0-16) of `item`, creating the envelope (with
// pre = post = 0) when the channel has none. p1-p3 are tension, continuity
// and bias, p4 and p5 the first two shape parameters; p6 is not kept. A key
// already at `time` is overwritten in place (its last two parameters
// cleared) instead of adding one. Returns the new or overwritten key, or null
// for a channel outside 0-16 or when memory is short.
so_envelope_key* add_envelope_key(so_scene_item& item, std::int32_t channel, float value, float time,
                                  std::int32_t shape_number, float p1, float p2, float p3, float p4, float p5,
                                  float p6);

// Leaves `channel` with an empty envelope, every field cleared, and the given
// behaviours. 0, or -1 for a channel outside 0-16 or when memory is short.
std::int32_t reset_envelope(so_scene_item& item, std::int32_t channel, std::int32_t pre, std::int32_t post);

// The scene's so_channel_value_fn: channel `channel` of the so_scene_item at
// `item` evaluated at `time`, or `def` when the channel has no envelope (or
// item is null, or the channel is outside 0-16).
float channel_value(void* item, std::int32_t channel, float time, float def);

// The channel default: 1 for scale (6-8) and opacity (9), else 0.
float so_channel_default(std::int32_t channel);

// All seventeen channels at `time` into `out`: through the channel's
// remapper when one is installed, else its envelope, else the channel
// default. Channel 3 lands in rot.y and channel 4 in rot.x.
void evaluate_item(so_scene_item& item, float time, so_vectors& out);

// One TCB key (parameters 0) per channel at `time` from `in`; keys at other
// times stay, a key at `time` is overwritten. 0, or -1 when memory ran short
// for some channel (the others are keyed all the same).
std::int32_t key_item(so_scene_item& item, float time, const so_vectors& in);

// Gives `to` a copy of every channel that has an envelope in `from`
// (replacing `to`'s envelope of that channel): behaviours, and each key's
// value, time, shape, tension, continuity, bias, param[0] and param[1]. Keys
// go through add_envelope_key, so the copies are in time order. Channels
// without an envelope in `from` and all remappers are left as they were.
// 0, or -1 when memory ran short.
std::int32_t copy_item_channels(const so_scene_item& from, so_scene_item& to);

// The pieces of evaluation, exposed for testing.
namespace so3d::envelope {

struct wrapped_time {
  float time;
  std::int32_t cycle;  // clamped to the 32-bit range
};

// Folds v into the key range [lo, hi) the way the behaviours 2-4 need it.
// lo is not subtracted before dividing, and a zero range yields (lo, 0).
wrapped_time wrap_time(float v, float lo, float hi);

// The tangent leaving key0 towards key1, formed by key0's shape, and the one
// arriving at key1 from key0, formed by key1's shape. Both read the
// neighbouring keys through the links.
float outgoing_tangent(const so_envelope_key& key0, const so_envelope_key& key1);
float incoming_tangent(const so_envelope_key& key0, const so_envelope_key& key1);

// A cubic Bezier coordinate in polynomial form for control values c0..c3.
struct bezier_cubic {
  float a, b, c, d;
  float at(float s) const { return a * s * s * s + b * s * s + c * s + d; }
};
bezier_cubic make_bezier_cubic(float c0, float c1, float c2, float c3);

// The curve parameter in [0, 1] whose time coordinate is within 0.0001 of
// `time`, by bisection; also stops once halving no longer moves the
// parameter (far from time zero floats are too coarse for 0.0001), or after
// 64 halvings.
float span_parameter(const bezier_cubic& x, float time);

// The first key from the second on whose time `before` refuses, or the key
// count when it takes them all. `before` must hold for a prefix of keys in
// time order: those are bisected, others walked, with the same answer.
template <class Before>
std::size_t first_key_not(const std::vector<std::unique_ptr<so_envelope_key>>& keys, bool ordered, Before before) {
  const std::size_t n = keys.size();
  if (!ordered) {
    std::size_t i = 1;
    while (i < n && before(keys[i]->time)) ++i;
    return i;
  }
  if (n <= 1) return n;
  // Branch-free halving: evaluation runs this for every channel of every
  // object in every frame, and the outcome of each step is unpredictable.
  const std::unique_ptr<so_envelope_key>* base = keys.data() + 1;
  std::size_t len = n - 1;
  while (len > 1) {
    const std::size_t half = len / 2;
    base = before(base[half - 1]->time) ? base + half : base;
    len -= half;
  }
  return static_cast<std::size_t>(base - keys.data()) + (before(base[0]->time) ? 1 : 0);
}

}  // namespace so3d::envelope
