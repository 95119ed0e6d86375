#include "scene/so_envelope_eval.h"

#include <cmath>
#include <cstddef>
#include <limits>

namespace so3d::envelope {
namespace {

// Degenerate spans (equal key times) may reach a division; they read as flat
// instead of producing infinities.
float ratio(float num, float den) { return den != 0.0f ? num / den : 0.0f; }

// A whole double as int32, saturating (NaN gives 0).
std::int32_t saturate_int32(double v) {
  if (!(v == v)) return 0;
  if (v >= 2147483647.0) return std::numeric_limits<std::int32_t>::max();
  if (v <= -2147483648.0) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(v);
}

}  // namespace

wrapped_time wrap_time(float v, float lo, float hi) {
  const float r = hi - lo;
  if (r == 0.0f) return {lo, 0};
  // The quotient is formed in single precision and floored in double; the
  // remainder is taken in double and stored as single.
  const double folded = static_cast<double>(lo + v) - static_cast<double>(r) * std::floor(static_cast<double>(v / r));
  // Key times near the float limit can fold outside it; saturate rather than convert out of range.
  const double limit = std::numeric_limits<float>::max();
  const float time = folded > limit    ? std::numeric_limits<float>::infinity()
                     : folded < -limit ? -std::numeric_limits<float>::infinity()
                                       : static_cast<float>(folded);
  const double c = time > v ? 0.5 : -0.5;
  return {time, saturate_int32(-std::trunc(static_cast<double>((time - v) / r) + c))};
}

float outgoing_tangent(const so_envelope_key& key0, const so_envelope_key& key1) {
  const so_envelope_key* p = key0.prev;
  const float d = key1.value - key0.value;
  switch (key0.shape) {
    case so_shape_tcb: {
      const float a = (1.0f - key0.tension) * (1.0f + key0.continuity) * (1.0f + key0.bias);
      const float b = (1.0f - key0.tension) * (1.0f - key0.continuity) * (1.0f - key0.bias);
      if (!p) return b * d;
      return ratio(key1.time - key0.time, key1.time - p->time) * (a * (key0.value - p->value) + b * d);
    }
    case so_shape_line:
      if (!p) return d;
      return ratio(key1.time - key0.time, key1.time - p->time) * ((key0.value - p->value) + d);
    case so_shape_bezi:
    case so_shape_herm:
      if (!p) return key0.param[1];
      return key0.param[1] * ratio(key1.time - key0.time, key1.time - p->time);
    case so_shape_bez2: {
      const float span = key0.param[3] * (key1.time - key0.time);
      return std::fabs(key0.param[2]) > 0.00001f ? span / key0.param[2] : span * 100000.0f;
    }
    default: return 0.0f;
  }
}

float incoming_tangent(const so_envelope_key& key0, const so_envelope_key& key1) {
  const so_envelope_key* n = key1.next;
  const float d = key1.value - key0.value;
  switch (key1.shape) {
    case so_shape_tcb: {
      const float a = (1.0f - key1.tension) * (1.0f - key1.continuity) * (1.0f + key1.bias);
      const float b = (1.0f - key1.tension) * (1.0f + key1.continuity) * (1.0f - key1.bias);
      if (!n) return a * d;
      return ratio(key1.time - key0.time, n->time - key0.time) * (b * (n->value - key1.value) + a * d);
    }
    case so_shape_line:
      if (!n) return d;
      return ratio(key1.time - key0.time, n->time - key0.time) * ((n->value - key1.value) + d);
    case so_shape_bezi:
    case so_shape_herm:
      if (!n) return key1.param[0];
      return key1.param[0] * ratio(key1.time - key0.time, n->time - key0.time);
    case so_shape_bez2: {
      const float span = key1.param[1] * (key1.time - key0.time);
      return std::fabs(key1.param[0]) > 0.00001f ? span / key1.param[0] : span * 100000.0f;
    }
    default: return 0.0f;
  }
}

bezier_cubic make_bezier_cubic(float c0, float c1, float c2, float c3) {
  const float c = 3.0f * (c1 - c0);
  const float b = 3.0f * (c2 - c1) - c;
  return {c3 - c0 - c - b, b, c, c0};
}

float span_parameter(const bezier_cubic& x, float time) {
  float lo = 0.0f;
  float hi = 1.0f;
  float s = lo + (hi - lo) / 2.0f;
  for (int halvings = 0; halvings < 64; ++halvings) {
    const float xs = x.at(s);
    if (!(std::fabs(time - xs) > 0.0001f)) break;  // close enough, or NaN
    if (xs > time) {
      hi = s;
    } else {
      lo = s;
    }
    const float next = lo + (hi - lo) / 2.0f;
    if (next == s) break;
    s = next;
  }
  return s;
}

namespace {

using key_list = std::vector<std::unique_ptr<so_envelope_key>>;

// The index of the key that ends the span holding `time`: the first key
// after the first one whose time is not below `time`, or the key count when
// no key qualifies.
std::size_t span_end(const key_list& keys, float time, bool ordered) {
  return first_key_not(keys, ordered, [time](float key_time) { return key_time < time; });
}

float bezier_span_value(const so_envelope_key& key0, const so_envelope_key& key1, float time) {
  float x1;
  float y1;
  if (key0.shape == so_shape_bez2) {
    x1 = key0.time + key0.param[2];
    y1 = key0.value + key0.param[3];
  } else {
    constexpr float third = 1.0f / 3.0f;
    x1 = key0.time + (key1.time - key0.time) * third;
    y1 = key0.value + key0.param[1] * third;
  }
  const bezier_cubic x = make_bezier_cubic(key0.time, x1, key1.time + key1.param[0], key1.time);
  const bezier_cubic y = make_bezier_cubic(key0.value, y1, key1.value + key1.param[1], key1.value);
  return y.at(span_parameter(x, time));
}

}  // namespace
}  // namespace so3d::envelope

std::uint32_t so_shape_from_number(std::int32_t number) {
  static constexpr std::uint32_t shapes[] = {so_shape_tcb,  so_shape_bezi, so_shape_herm,
                                             so_shape_line, so_shape_step, so_shape_bez2};
  const std::uint32_t index = static_cast<std::uint32_t>(number);
  return shapes[index < 5u ? index : 5u];
}

float evaluate_envelope(const so_envelope* env, float time) {
  using namespace so3d::envelope;
  if (!env || env->key_nodes.empty()) return 0.0f;
  const key_list& keys = env->key_nodes;
  const so_envelope_key& first = *keys.front();
  if (keys.size() == 1) return first.value;
  const so_envelope_key& last = *keys.back();

  float offset = 0.0f;
  const bool before = time < first.time;
  if (before || time > last.time) {
    switch (before ? env->pre : env->post) {
      case so_end_reset: return 0.0f;
      case so_end_constant: return before ? first.value : last.value;
      case so_end_repeat: time = wrap_time(time, first.time, last.time).time; break;
      case so_end_oscillate: {
        const wrapped_time w = wrap_time(time, first.time, last.time);
        time = w.cycle % 2 != 0 ? (last.time - first.time) - w.time : w.time;
        break;
      }
      case so_end_offset_repeat: {
        const wrapped_time w = wrap_time(time, first.time, last.time);
        time = w.time;
        offset = static_cast<float>(w.cycle) * (last.value - first.value);
        break;
      }
      case so_end_linear:
        if (before) {
          const so_envelope_key& k = *first.next;
          return first.value + ratio(outgoing_tangent(first, k), k.time - first.time) * (time - first.time);
        } else {
          const so_envelope_key& k = *last.prev;
          return last.value + ratio(incoming_tangent(k, last), last.time - k.time) * (time - last.time);
        }
      default: break;  // the time stays as it is
    }
  }

  const std::size_t end = span_end(keys, time, env->keys_ordered);
  // Past the last key: an unknown `post` code, or a folded time that rounded
  // onto the far side of the range.
  if (end == keys.size()) return last.value + offset;
  const so_envelope_key& key0 = *keys[end - 1];
  const so_envelope_key& key1 = *keys[end];
  if (time == key0.time) return key0.value + offset;
  if (time == key1.time) return key1.value + offset;

  switch (key1.shape) {
    case so_shape_tcb:
    case so_shape_bezi:
    case so_shape_herm: {
      const float t = ratio(time - key0.time, key1.time - key0.time);
      const float t2 = t * t;
      const float t3 = t2 * t;
      const float h2 = 3.0f * t2 - 2.0f * t3;
      const float h1 = 1.0f - h2;
      const float h3 = t3 - 2.0f * t2 + t;
      const float h4 = t3 - t2;
      return h1 * key0.value + h2 * key1.value + h3 * outgoing_tangent(key0, key1) + h4 * incoming_tangent(key0, key1) +
             offset;
    }
    case so_shape_bez2: return bezier_span_value(key0, key1, time) + offset;
    case so_shape_line: {
      const float t = ratio(time - key0.time, key1.time - key0.time);
      return key0.value + t * (key1.value - key0.value) + offset;
    }
    case so_shape_step: return key0.value + offset;
    default: return offset;
  }
}
