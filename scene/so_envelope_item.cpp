// Keying and evaluating the seventeen channels of a scene item.
#include <array>
#include <cstddef>
#include <new>

#include "scene/so_envelope_eval.h"

namespace {

using channel_array = std::array<float, so_channel_count>;

// The channel's envelope, made empty with behaviours 0 when it has none.
so_envelope* channel_envelope(so_scene_item& item, std::int32_t channel) {
  std::unique_ptr<so_envelope>& slot = item.env[channel];
  if (!slot) slot.reset(new (std::nothrow) so_envelope());
  return slot.get();
}

// The position of the last key whose time is not above `time`, searching
// from the first key (whose time the caller has checked).
std::size_t last_key_at_or_before(const so_envelope& env, float time) {
  return so3d::envelope::first_key_not(env.key_nodes, env.keys_ordered,
                                       [time](float key_time) { return key_time <= time; }) -
         1;
}

so_envelope_key* add_key(so_envelope& env, const so_envelope_key& key) {
  if (env.key_nodes.empty() || env.key_nodes.front()->time > key.time) return so_envelope_insert_key(env, 0, key);
  const std::size_t k = last_key_at_or_before(env, key.time);
  so_envelope_key& existing = *env.key_nodes[k];
  if (existing.time != key.time) return so_envelope_insert_key(env, k + 1, key);
  existing.value = key.value;
  existing.shape = key.shape;
  existing.tension = key.tension;
  existing.continuity = key.continuity;
  existing.bias = key.bias;
  existing.param[0] = key.param[0];
  existing.param[1] = key.param[1];
  existing.param[2] = 0.0f;
  existing.param[3] = 0.0f;
  return &existing;
}

// so_vectors in channel order: heading (3) is rot.y and pitch (4) rot.x.
channel_array to_channels(const so_vectors& v) {
  return {v.pos.x,     v.pos.y,     v.pos.z,    v.rot.y,      v.rot.x,      v.rot.z,
          v.scale.x,   v.scale.y,   v.scale.z,  v.trans,      v.rot_off.x,  v.rot_off.y,
          v.rot_off.z, v.crop.left, v.crop.top, v.crop.right, v.crop.bottom};
}

so_vectors from_channels(const channel_array& c) {
  return so_vectors{{c[0], c[1], c[2]},    {c[4], c[3], c[5]},          {c[6], c[7], c[8]}, c[9],
                    {c[10], c[11], c[12]}, {c[13], c[14], c[15], c[16]}};
}

}  // namespace

so_envelope_key* add_envelope_key(so_scene_item& item, std::int32_t channel, float value, float time,
                                  std::int32_t shape_number, float p1, float p2, float p3, float p4, float p5,
                                  float /*p6: not kept*/) {
  if (!so_is_channel(channel)) return nullptr;
  so_envelope* env = channel_envelope(item, channel);
  if (!env) return nullptr;
  so_envelope_key key;
  key.value = value;
  key.time = time;
  key.shape = so_shape_from_number(shape_number);
  key.tension = p1;
  key.continuity = p2;
  key.bias = p3;
  key.param[0] = p4;
  key.param[1] = p5;
  return add_key(*env, key);
}

std::int32_t reset_envelope(so_scene_item& item, std::int32_t channel, std::int32_t pre, std::int32_t post) {
  if (!so_is_channel(channel)) return -1;
  if (item.env[channel]) *item.env[channel] = so_envelope();
  so_envelope* env = channel_envelope(item, channel);
  if (!env) return -1;
  env->pre = pre;
  env->post = post;
  return 0;
}

float so_channel_default(std::int32_t channel) { return channel >= 6 && channel <= 9 ? 1.0f : 0.0f; }

float channel_value(void* item, std::int32_t channel, float time, float def) {
  if (!item || !so_is_channel(channel)) return def;
  const so_envelope* env = static_cast<so_scene_item*>(item)->env[channel].get();
  return env ? evaluate_envelope(env, time) : def;
}

void evaluate_item(so_scene_item& item, float time, so_vectors& out) {
  channel_array values;
  for (std::int32_t ch = 0; ch < so_channel_count; ++ch) {
    const float def = so_channel_default(ch);
    if (item.eval[ch]) {
      values[ch] = item.eval[ch](&item, channel_value, ch, time, def);
    } else if (const so_envelope* env = item.env[ch].get()) {
      values[ch] = evaluate_envelope(env, time);
    } else {
      values[ch] = def;
    }
  }
  out = from_channels(values);
}

std::int32_t key_item(so_scene_item& item, float time, const so_vectors& in) {
  const channel_array values = to_channels(in);
  std::int32_t result = 0;
  for (std::int32_t ch = 0; ch < so_channel_count; ++ch) {
    if (!add_envelope_key(item, ch, values[ch], time, 0, 0, 0, 0, 0, 0, 0)) result = -1;
  }
  return result;
}

std::int32_t copy_item_channels(const so_scene_item& from, so_scene_item& to) {
  if (&from == &to) return 0;
  std::int32_t result = 0;
  for (std::int32_t ch = 0; ch < so_channel_count; ++ch) {
    const so_envelope* src = from.env[ch].get();
    if (!src) continue;
    to.env[ch].reset();
    so_envelope* dst = channel_envelope(to, ch);
    if (!dst) {
      result = -1;
      continue;
    }
    dst->pre = src->pre;
    dst->post = src->post;
    for (const auto& node : src->key_nodes) {
      const so_envelope_key& k = *node;
      // Added as TCB, then given the source's id, which may be one that no
      // scene-file shape number maps to.
      so_envelope_key* copy = add_envelope_key(to, ch, k.value, k.time, 0, k.tension, k.continuity, k.bias, k.param[0],
                                               k.param[1], k.param[2]);
      if (!copy) {
        result = -1;
        break;
      }
      copy->shape = k.shape;
    }
  }
  return result;
}
