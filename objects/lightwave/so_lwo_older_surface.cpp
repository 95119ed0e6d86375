// SURF chunks of the older form. Attributes are flat sub-chunks, many in
// fixed point; each texture-making sub-chunk starts a texture that the
// texture sub-chunks after it describe, and each SHDR a shader that SDAT
// fills.
#include "objects/lightwave/so_lwo_older_surface.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <exception>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "objects/lightwave/so_lwo_chunks.h"
#include "objects/lightwave/so_lwo_subchunks.h"
#include "platform/foundation/z_types.h"

namespace so3d::lwo {

namespace {

constexpr float per_256 = 0.00390625f;
constexpr float per_255 = std::bit_cast<float>(0x3B808081u);
// Turns the old glossiness, a specular power, into the newer form's scale
// through its natural logarithm.
constexpr float gloss_scale = std::bit_cast<float>(0x3D44F9E3u);
// Smoothing angle of the "smooth" flag, about 89.5 degrees.
constexpr float flag_smoothing_angle = std::bit_cast<float>(0x3FC7F1E9u);

// Surface flag bits.
constexpr std::uint16_t flag_smoothing = 0x4;
constexpr std::uint16_t flag_color_highlights = 0x8;
constexpr std::uint16_t flag_color_filter = 0x10;
constexpr std::uint16_t flag_sharp_terminator = 0x80;
constexpr std::uint16_t flag_double_sided = 0x100;
constexpr std::uint16_t flag_additive = 0x200;

// Texture flag bits.
constexpr std::uint16_t texture_axis_y = 0x2;
constexpr std::uint16_t texture_axis_z = 0x4;
constexpr std::uint16_t texture_world_coordinates = 0x8;
constexpr std::uint16_t texture_negative = 0x10;
constexpr std::uint16_t texture_pixel_blending = 0x20;
constexpr std::uint16_t texture_antialias = 0x40;

float read_fixed(reader& r) { return static_cast<float>(read_i2(r)) * per_256; }
float read_byte_fraction(reader& r) { return static_cast<float>(read_u1(r)) * per_255; }

// ln(0) has no value; a glossiness of 0 is the floor that ln(1) also gives.
float glossiness_of(std::uint16_t power) {
  if (power == 0) return 0.0f;
  return static_cast<float>(std::log(static_cast<double>(power))) * gloss_scale;
}

// A sub-chunk's bytes taken as text: up to the first zero byte, or all of
// them when they hold none.
std::string read_text(reader& r, std::uint64_t size) {
  const std::vector<std::uint8_t> bytes = read_rest(r, static_cast<std::int64_t>(size));
  return std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), std::uint8_t{0}));
}

std::int32_t projection_of(std::string_view text) {
  constexpr std::string_view names[] = {"Planar", "Cylindrical", "Spherical", "Cubic", "Front"};
  for (std::int32_t i = 0; i < 5; ++i) {
    if (text.find(names[i]) != std::string_view::npos) return i;
  }
  return 0;
}

// A texture named by its descriptive text: an image map when the text says
// so, else a procedural texture of that name.
so_lwo_texture texture_from_text(std::string text) {
  so_lwo_texture t;
  if (text.find("Image Map") != std::string::npos) {
    t.kind = so_lwo_kind_image_map;
    t.image_map.projection = projection_of(text);
    t.image_map.antialias_strength = 1.0f;
    t.image_map.amplitude.value = 1.0f;
  } else {
    t.kind = so_lwo_kind_procedural;
    t.procedural.function_name = std::move(text);
  }
  return t;
}

void apply_texture_flags(so_lwo_texture& t, std::uint16_t flags) {
  const std::uint16_t axis = (flags & texture_axis_z) ? 2 : (flags & texture_axis_y) ? 1 : 0;
  const bool image = t.kind == so_lwo_kind_image_map;
  t.axis = axis;
  (image ? t.image_map.axis : t.procedural.axis) = axis;
  if (flags & texture_world_coordinates) t.placement.coordinate_system = 1;
  if (flags & texture_negative) t.negative = 1;
  if (!image) return;
  if (flags & texture_pixel_blending) t.image_map.pixel_blending = 1;
  if (flags & texture_antialias) {
    t.image_map.antialias_strength = 1.0f;
    t.image_map.antialias_flags = 1;
  }
}

void apply_surface_flags(so_lwo_surface& s, std::uint16_t flags) {
  if (flags & flag_smoothing) s.smoothing_angle = flag_smoothing_angle;
  if (flags & flag_color_highlights) s.highlight_tint.value = 1.0f;
  if (flags & flag_color_filter) s.filter_tint.value = 1.0f;
  if (flags & flag_sharp_terminator) s.diffuse_sharpness.value = 0.5f;
  if (flags & flag_double_sided) s.sidedness = so_lwo_side_both;
  if (flags & flag_additive) s.additive_transparency.value = 1.0f;
}

// The channel whose texture list a texture-making sub-chunk adds to, or null.
so_lwo_texture_list* texture_channel(so_lwo_surface& s, std::uint32_t sub) {
  switch (sub) {
    case zFourCC("CTEX"): return &s.color.textures;
    case zFourCC("DTEX"): return &s.diffuse.textures;
    case zFourCC("LTEX"): return &s.luminosity.textures;
    case zFourCC("STEX"): return &s.specular.textures;
    case zFourCC("RTEX"): return &s.reflection.textures;
    case zFourCC("TTEX"): return &s.transparency.textures;
    case zFourCC("BTEX"): return &s.bump.textures;
    default: return nullptr;
  }
}

bool is_texture_attribute(std::uint32_t sub) {
  switch (sub) {
    case zFourCC("TFLG"):
    case zFourCC("TSIZ"):
    case zFourCC("TCTR"):
    case zFourCC("TFAL"):
    case zFourCC("TVEL"):
    case zFourCC("TCLR"):
    case zFourCC("TVAL"):
    case zFourCC("TAMP"):
    case zFourCC("TIMG"):
    case zFourCC("TAAS"):
    case zFourCC("TREF"):
    case zFourCC("TOPC"):
    case zFourCC("TFP0"):
    case zFourCC("TFP1"): return true;
    default: return false;
  }
}

void read_vector(reader& r, float v[3]) {
  for (int i = 0; i < 3; ++i) v[i] = read_f4(r);
}

// A texture sub-chunk, applied to the current texture. Values of the other
// kind of texture have no field to go to and are dropped.
void read_texture_attribute(reader& r, so_lwo_file& file, std::uint32_t sub, std::uint64_t size, so_lwo_texture& t) {
  const bool image = t.kind == so_lwo_kind_image_map;
  switch (sub) {
    case zFourCC("TFLG"): apply_texture_flags(t, read_u2(r)); break;
    case zFourCC("TSIZ"): read_vector(r, t.placement.size.value); break;
    case zFourCC("TCTR"): read_vector(r, t.placement.center.value); break;
    case zFourCC("TFAL"): read_vector(r, t.placement.falloff.value); break;
    case zFourCC("TVEL"): {
      float velocity[3];
      read_vector(r, velocity);
      if (!r.failed()) t.placement.center.envelope = add_velocity_envelopes(file, t.placement.center.value, velocity);
      break;
    }
    case zFourCC("TCLR"):
      if (!image) {
        for (float& v : t.procedural.value) v = read_byte_fraction(r);
      }
      break;
    case zFourCC("TVAL"):
      if (!image) t.procedural.value[0] = read_fixed(r);
      break;
    case zFourCC("TAMP"):
      if (image) t.image_map.amplitude.value = read_f4(r);
      break;
    case zFourCC("TIMG"): {
      const std::string name = read_string(r);
      if (r.failed()) break;
      const std::int32_t clip = add_named_clip(file, name);
      if (image) t.image_map.clip_index = clip;
      break;
    }
    case zFourCC("TAAS"):
      if (image) {
        t.image_map.antialias_strength = read_f4(r);
        t.image_map.antialias_flags = 1;
      }
      break;
    case zFourCC("TREF"): t.placement.reference_object = read_text(r, size); break;
    case zFourCC("TOPC"): t.opacity.value = read_f4(r); break;
    case zFourCC("TFP0"):
      if (image) t.image_map.wrap_u_amount.value = read_f4(r);
      break;
    case zFourCC("TFP1"):
      if (image) t.image_map.wrap_v_amount.value = read_f4(r);
      break;
    default: break;
  }
}

// What one surface's sub-chunks act on besides the surface itself. Both
// start empty in every surface.
struct surface_state {
  so_lwo_file& file;
  so_lwo_surface& s;
  so_lwo_texture_list* texture_list = nullptr;  // the current texture is its last entry
};

bool read_older_subchunk(reader& r, std::uint32_t sub, std::uint64_t size, surface_state& state) {
  so_lwo_surface& s = state.s;
  if (so_lwo_texture_list* list = texture_channel(s, sub)) {
    list->push_back(texture_from_text(read_text(r, size)));
    state.texture_list = list;
    return true;
  }
  if (is_texture_attribute(sub)) {
    // Before the surface's first texture there is nothing to describe.
    if (state.texture_list) read_texture_attribute(r, state.file, sub, size, state.texture_list->back());
    return true;
  }
  switch (sub) {
    case zFourCC("COLR"):
      for (float& v : s.color.rgb) v = read_byte_fraction(r);
      break;
    case zFourCC("FLAG"): apply_surface_flags(s, read_u2(r)); break;
    case zFourCC("LUMI"): s.luminosity.value = read_fixed(r); break;
    case zFourCC("VLUM"): s.luminosity.value = read_f4(r); break;
    case zFourCC("DIFF"): s.diffuse.value = read_fixed(r); break;
    case zFourCC("VDIF"): s.diffuse.value = read_f4(r); break;
    case zFourCC("SPEC"): s.specular.value = read_fixed(r); break;
    case zFourCC("VSPC"): s.specular.value = read_f4(r); break;
    case zFourCC("GLOS"): s.glossiness.value = glossiness_of(read_u2(r)); break;
    case zFourCC("SMAN"): s.smoothing_angle = read_f4(r); break;
    case zFourCC("REFL"): s.reflection.value = read_fixed(r); break;
    case zFourCC("RFLT"): s.reflection.options = read_u2(r); break;
    case zFourCC("RIMG"): {
      const std::string name = read_string(r);
      if (r.failed()) break;
      s.reflection.image = add_named_clip(state.file, name);
      s.reflection.options = 3;
      break;
    }
    case zFourCC("RSAN"): s.reflection.seam_angle = read_f4(r); break;
    case zFourCC("TRAN"): s.transparency.value = read_fixed(r); break;
    case zFourCC("RIND"): s.refraction_index.value = read_f4(r); break;
    case zFourCC("SHDR"): {
      so_lwo_plugin_ref shader;
      shader.name = read_text(r, size);
      s.shaders.push_back(std::move(shader));
      s.shader_count = static_cast<std::int32_t>(s.shaders.size());
      break;
    }
    case zFourCC("SDAT"):
      // Data for no shader: the surface is malformed. Shaders made in this
      // surface are its only ones, so the last one is the current one.
      if (s.shaders.empty()) return false;
      s.shaders.back().data = read_rest(r, static_cast<std::int64_t>(size));
      break;
    default: break;
  }
  return true;
}

}  // namespace

std::int32_t add_named_clip(so_lwo_file& file, const std::string& name) {
  if (file.clip_count == std::numeric_limits<std::int32_t>::max()) throw std::length_error("too many clips");
  auto clip = std::make_unique<so_lwo_clip>();
  const std::size_t sequence = name.find("(sequence)");
  if (sequence != std::string::npos) {
    // The byte before the marker (normally a space) ends the prefix.
    clip->kind = so_lwo_clip_sequence;
    clip->prefix = name.substr(0, sequence == 0 ? 0 : sequence - 1);
    clip->digits = 3;
  } else {
    clip->kind = so_lwo_clip_still;
    clip->file_name = name;
  }
  clip->index = file.clip_count + 1;
  file.clips.push_back(std::move(clip));
  file.clip_count = file.clips.back()->index;
  return file.clip_count;
}

std::int32_t add_velocity_envelopes(so_lwo_file& file, const float center[3], const float velocity[3]) {
  try {
    if (file.envelope_count > std::numeric_limits<std::int32_t>::max() - 3) return 0;
    std::unique_ptr<so_envelope> made[3];
    for (int i = 0; i < 3; ++i) {
      auto env = std::make_unique<so_envelope>();
      env->index = file.envelope_count + i + 1;
      env->type = 0x0301 + i;
      env->name = "Position.X";
      env->name.back() = static_cast<char>('X' + i);
      env->pre = 5;
      env->post = 5;
      so_envelope_key key;
      key.shape = so_shape_line;
      key.time = 0.0f;
      key.value = center[i];
      if (!so_envelope_insert_key(*env, 0, key)) return 0;
      key.time = 1.0f;
      key.value = center[i] + velocity[i] * 30.0f;
      if (!so_envelope_insert_key(*env, 1, key)) return 0;
      made[i] = std::move(env);
    }
    file.envelopes.reserve(file.envelopes.size() + 3);  // the appends below cannot fail
    const std::int32_t first = file.envelope_count + 1;
    for (auto& env : made) append_envelope(file, std::move(env));
    return first;
  } catch (const std::exception&) {  // memory ran short
    return 0;
  }
}

std::unique_ptr<so_lwo_surface> read_older_surface(reader& r, so_lwo_file& file, std::uint32_t size) {
  try {
    auto s = make_default_surface();
    if (!s) return nullptr;
    r.bytes_read = 0;
    const std::uint64_t start = r.position;
    s->name = read_string(r);
    surface_state state{file, *s};
    const bool ok = walk_subchunks(r, start, size, end_rule::at_least, [&](std::uint32_t sub, std::uint64_t sub_size) {
      return read_older_subchunk(r, sub, sub_size, state);
    });
    if (!ok) return nullptr;
    return s;
  } catch (const std::exception&) {  // memory ran short
    r.fail();
    return nullptr;
  }
}

}  // namespace so3d::lwo
