#pragma once
// Keyed motion curves: the key and envelope records, shape ids, and the
// channel remapper types. The object-file readers fill the same records from
// ENVL chunks; scenes key and evaluate them per channel.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/foundation/z_types.h"

// Span shapes.
inline constexpr std::uint32_t so_shape_tcb = zFourCC("TCB ");
inline constexpr std::uint32_t so_shape_bezi = zFourCC("BEZI");
inline constexpr std::uint32_t so_shape_herm = zFourCC("HERM");
inline constexpr std::uint32_t so_shape_line = zFourCC("LINE");
inline constexpr std::uint32_t so_shape_step = zFourCC("STEP");
inline constexpr std::uint32_t so_shape_bez2 = zFourCC("BEZ2");

// The animated channels of a scene item, in the order scene files number them.
enum so_channel : std::int32_t {
  so_channel_pos_x,
  so_channel_pos_y,
  so_channel_pos_z,
  so_channel_heading,
  so_channel_pitch,
  so_channel_bank,  // rotation about y, x and z
  so_channel_scale_x,
  so_channel_scale_y,
  so_channel_scale_z,
  so_channel_trans,
  so_channel_rot_off_x,
  so_channel_rot_off_y,
  so_channel_rot_off_z,
  so_channel_crop_left,
  so_channel_crop_top,
  so_channel_crop_right,
  so_channel_crop_bottom,
};
inline constexpr int so_channel_count = 17;

// What an envelope does before its first key and after its last.
enum so_end_behaviour : std::int32_t {
  so_end_reset = 0,          // the value 0
  so_end_constant = 1,       // the end key's value
  so_end_repeat = 2,         // the keys again, from the first
  so_end_oscillate = 3,      // the keys forth and back
  so_end_offset_repeat = 4,  // repeated, each cycle offset by the keys' rise
  so_end_linear = 5,         // along the end key's tangent
};
inline constexpr bool so_is_channel(std::int32_t channel) { return channel >= 0 && channel < so_channel_count; }

// One key of an envelope. The links belong to the envelope that stores the
// key (see so_envelope::key_nodes); a copy passed to so_envelope_insert_key
// needs none.
struct so_envelope_key {
  so_envelope_key* next = nullptr;  // later key
  so_envelope_key* prev = nullptr;  // earlier key
  float value = 0.0f;
  float time = 0.0f;        // seconds
  std::uint32_t shape = 0;  // shape of the span that ends at this key
  float tension = 0.0f;     // TCB terms of the span
  float continuity = 0.0f;
  float bias = 0.0f;
  float param[4] = {0, 0, 0, 0};  // Hermite and Bezier shape parameters, as the file stores them
};

// A plug-in reference read from an object file: a shader, an image or pixel
// filter of a clip, or a channel filter of an envelope.
struct so_lwo_plugin_ref {
  std::string ordinal;  // shaders only
  std::string name;
  std::uint32_t flags = 0;
  std::vector<std::uint8_t> data;
};

// A keyed curve of one channel. Owns its keys; the list links and the
// plug-in references are plain values.
struct so_envelope {
  so_envelope* next = nullptr;  // links of an object file's envelope list
  so_envelope* prev = nullptr;
  std::int32_t index = 0;  // the object file's envelope index
  std::int32_t type = 0;   // the object file's TYPE value; 0 in scenes
  std::string name;
  so_envelope_key* keys = nullptr;  // first key; ascending time
  std::int32_t key_count = 0;
  std::int32_t pre = 0;   // behaviour before the first key
  std::int32_t post = 0;  // behaviour after the last key
  std::vector<so_lwo_plugin_ref> filters;
  std::int32_t filter_count = 0;

  // The keys in list order; owns them. `keys`, the links and `key_count`
  // mirror it. Change it only through the so_envelope_* functions below, and
  // leave a key's time as it was inserted.
  std::vector<std::unique_ptr<so_envelope_key>> key_nodes;
  // False once a key was inserted out of time order (or with a NaN time):
  // evaluation then walks the keys instead of bisecting them.
  bool keys_ordered = true;
};

// Inserts a copy of `key` at `position` (0 = first; clamped to the end),
// links it and updates `keys` and `key_count`. Returns the stored key, or
// null when memory is short.
so_envelope_key* so_envelope_insert_key(so_envelope& env, std::size_t position, const so_envelope_key& key);

// The value of a channel at a time; `item` is the scene item.
using so_channel_value_fn = float (*)(void* item, std::int32_t channel, float time, float def);
// A per-channel remapper: may change the time (or anything else) and
// normally returns value(item, channel, changed time, def).
using so_channel_eval = float (*)(void* item, so_channel_value_fn value, std::int32_t channel, float time, float def);
