#pragma once
// Surface, texture-layer and image-clip records of an object file, and the
// readers of its SURF, CLIP and ENVL chunks. Records are zero-filled apart
// from the defaults noted; an empty string stands for "no string".
// Envelope references are ENVL indexes as stored in the file, not resolved.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/so_envelope.h"
#include "objects/lightwave/so_lwo_read.h"
#include "platform/foundation/z_types.h"

struct so_lwo_value {
  float value = 0.0f;
  std::int32_t envelope = 0;
};

struct so_lwo_vector_value {
  float value[3] = {0, 0, 0};
  std::int32_t envelope = 0;
};

struct so_lwo_placement {
  so_lwo_vector_value size{{1.0f, 1.0f, 1.0f}, 0};
  so_lwo_vector_value center;
  so_lwo_vector_value rotation;
  so_lwo_vector_value falloff;
  std::int32_t falloff_kind = 0;
  std::string reference_object;
  std::int32_t coordinate_system = 0;
};

struct so_lwo_image_map {
  std::int32_t clip_index = 0;  // the `index` of a so_lwo_clip
  std::int32_t projection = 0;
  std::string uv_map_name;
  std::int32_t axis = 0;
  std::int32_t wrap_u_mode = 0;
  std::int32_t wrap_v_mode = 0;
  so_lwo_value wrap_u_amount;
  so_lwo_value wrap_v_amount;
  float antialias_strength = 0.0f;
  std::int32_t antialias_flags = 0;
  std::int32_t pixel_blending = 0;
  so_lwo_value sticky;
  so_lwo_value amplitude;
};

struct so_lwo_procedural {
  std::int32_t axis = 0;
  float value[3] = {0, 0, 0};
  std::string function_name;
  std::vector<std::uint8_t> function_data;
};

struct so_lwo_gradient_key {
  float position = 0.0f;
  float rgba[4] = {0, 0, 0, 0};
};

struct so_lwo_gradient {
  std::string parameter_name;
  std::string item_name;
  float start = 0.0f;
  float end = 0.0f;
  std::int32_t repeat = 0;
  std::vector<so_lwo_gradient_key> keys;
  std::vector<std::uint16_t> key_modes;
};

inline constexpr std::uint32_t so_lwo_kind_image_map = zFourCC("IMAP");
inline constexpr std::uint32_t so_lwo_kind_procedural = zFourCC("PROC");
inline constexpr std::uint32_t so_lwo_kind_gradient = zFourCC("GRAD");

// One texture layer of a surface channel. Only the parameter record that
// matches `kind` is filled.
struct so_lwo_texture {
  std::string ordinal;  // sort key within the channel
  std::uint32_t kind = 0;
  std::uint32_t channel = 0;
  so_lwo_value opacity{1.0f, 0};
  std::uint16_t opacity_mode = 0;
  std::uint16_t enabled = 1;
  std::uint16_t negative = 0;
  std::uint16_t axis = 0;
  so_lwo_image_map image_map;
  so_lwo_procedural procedural;
  so_lwo_gradient gradient;
  so_lwo_placement placement;
};

// Texture layers and shaders, ascending by ordinal (bytes compared unsigned,
// empty first, equal ordinals in file order).
using so_lwo_texture_list = std::vector<so_lwo_texture>;

struct so_lwo_channel {
  float value = 0.0f;
  std::int32_t envelope = 0;
  so_lwo_texture_list textures;
};

struct so_lwo_color_channel {
  float rgb[3] = {0, 0, 0};
  std::int32_t envelope = 0;
  so_lwo_texture_list textures;
};

struct so_lwo_mirror_channel {
  float value = 0.0f;
  std::int32_t envelope = 0;
  so_lwo_texture_list textures;
  std::int32_t options = 0;
  std::int32_t image = 0;  // clip index
  float seam_angle = 0.0f;
};

struct so_lwo_line {
  std::uint16_t enabled = 0;
  std::uint16_t line_flags = 0;
  so_lwo_value size;
};

// Sidedness values.
inline constexpr std::int32_t so_lwo_side_front = 1;
inline constexpr std::int32_t so_lwo_side_both = 3;

// Defaults hold for surfaces read from SURF chunks and for those made for
// tags that no SURF chunk names.
struct so_lwo_surface {
  std::string name;
  std::string source_name;
  so_lwo_color_channel color{{0.78431f, 0.78431f, 0.78431f}, 0, {}};
  so_lwo_channel luminosity;
  so_lwo_channel diffuse{1.0f, 0, {}};
  so_lwo_channel specular;
  so_lwo_channel glossiness{0.4f, 0, {}};
  so_lwo_mirror_channel reflection;
  so_lwo_mirror_channel transparency;
  so_lwo_channel refraction_index{1.0f, 0, {}};
  so_lwo_channel translucency;
  so_lwo_channel bump{1.0f, 0, {}};
  float smoothing_angle = 0.0f;  // radians; 0 = no smoothing
  std::int32_t sidedness = so_lwo_side_front;
  float alpha = 0.0f;
  std::int32_t alpha_mode = 0;
  so_lwo_value highlight_tint;
  so_lwo_value filter_tint;
  so_lwo_value additive_transparency;
  so_lwo_value diffuse_sharpness;
  so_lwo_value glow;
  so_lwo_line line;
  std::vector<so_lwo_plugin_ref> shaders;  // sorted like texture layers
  std::int32_t shader_count = 0;
};

inline constexpr std::uint32_t so_lwo_clip_still = zFourCC("STIL");
inline constexpr std::uint32_t so_lwo_clip_sequence = zFourCC("ISEQ");
inline constexpr std::uint32_t so_lwo_clip_animation = zFourCC("ANIM");
inline constexpr std::uint32_t so_lwo_clip_reference = zFourCC("XREF");
inline constexpr std::uint32_t so_lwo_clip_cycle = zFourCC("STCC");

// An image clip. The source fields filled depend on `kind`: file_name (STIL,
// ANIM, STCC); digits .. suffix (ISEQ); server_name, server_data (ANIM);
// reference_index, reference_name (XREF); cycle_low, cycle_high (STCC).
struct so_lwo_clip {
  std::int32_t index = 0;
  std::uint32_t kind = 0;
  std::string file_name;
  std::uint8_t digits = 0;
  std::uint8_t sequence_flags = 0;
  std::int16_t frame_offset = 0;
  std::int16_t first_frame = 0;
  std::int16_t last_frame = 0;
  std::string prefix;
  std::string suffix;
  std::string server_name;
  std::vector<std::uint8_t> server_data;
  std::uint32_t reference_index = 0;
  std::string reference_name;
  std::int16_t cycle_low = 0;
  std::int16_t cycle_high = 0;
  float start_time = 0.0f;
  float duration = 0.0f;
  float frame_rate = 0.0f;
  so_lwo_value contrast{1.0f, 0};
  so_lwo_value brightness{1.0f, 0};
  so_lwo_value saturation{1.0f, 0};
  so_lwo_value hue;
  so_lwo_value gamma{1.0f, 0};
  std::int32_t texture_id = 0;  // set when the still image is registered
  std::vector<so_lwo_plugin_ref> image_filters;
  std::int32_t image_filter_count = 0;
  std::vector<so_lwo_plugin_ref> pixel_filters;
  std::int32_t pixel_filter_count = 0;
};

namespace so3d::lwo {

// A surface with the defaults and no name; null when memory is short.
std::unique_ptr<so_lwo_surface> make_default_surface();

// Each reads one chunk whose data start at the reader's position and span
// `size` bytes (already rounded to even). Null on failure; the reader then
// holds the error marker or the chunk was malformed.
std::unique_ptr<so_lwo_surface> read_surface(reader& r, std::uint32_t size);
std::unique_ptr<so_lwo_clip> read_clip(reader& r, std::uint32_t size);
std::unique_ptr<so_envelope> read_envelope(reader& r, std::uint32_t size);

// Release a record and all it owns; null is accepted.
void release_surface(so_lwo_surface* surface);
void release_clip(so_lwo_clip* clip);
void release_envelope(so_envelope* envelope);

}  // namespace so3d::lwo
