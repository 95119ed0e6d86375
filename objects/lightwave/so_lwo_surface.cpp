// SURF chunks: surface attributes, texture layers and shaders.
#include <algorithm>
#include <exception>
#include <new>

#include "objects/lightwave/so_lwo_subchunks.h"

namespace so3d::lwo {

so_lwo_texture_list* channel_textures(so_lwo_surface& s, std::uint32_t channel) {
  switch (channel) {
    case zFourCC("COLR"): return &s.color.textures;
    case zFourCC("LUMI"): return &s.luminosity.textures;
    case zFourCC("DIFF"): return &s.diffuse.textures;
    case zFourCC("SPEC"): return &s.specular.textures;
    case zFourCC("GLOS"): return &s.glossiness.textures;
    case zFourCC("REFL"): return &s.reflection.textures;
    case zFourCC("TRAN"): return &s.transparency.textures;
    case zFourCC("RIND"): return &s.refraction_index.textures;
    case zFourCC("TRNL"): return &s.translucency.textures;
    case zFourCC("BUMP"): return &s.bump.textures;
    default: return nullptr;
  }
}

namespace {

// TMAP: texture placement, `size` bytes from the reader's position.
bool read_placement(reader& r, std::uint64_t size, so_lwo_placement& p) {
  return walk_subchunks(r, r.position, static_cast<std::int64_t>(size), end_rule::at_least,
                        [&](std::uint32_t sub, std::uint64_t) {
                          switch (sub) {
                            case zFourCC("SIZE"): read_vector_value(r, p.size); break;
                            case zFourCC("CNTR"): read_vector_value(r, p.center); break;
                            case zFourCC("ROTA"): read_vector_value(r, p.rotation); break;
                            case zFourCC("FALL"):
                              p.falloff_kind = read_u2(r);
                              read_vector_value(r, p.falloff);
                              break;
                            case zFourCC("OREF"): p.reference_object = read_string(r); break;
                            case zFourCC("CSYS"): p.coordinate_system = read_u2(r); break;
                            default: break;
                          }
                          return true;
                        });
}

bool read_image_map_attribute(reader& r, std::uint32_t sub, std::uint64_t size, so_lwo_texture& t) {
  so_lwo_image_map& m = t.image_map;
  switch (sub) {
    case zFourCC("TMAP"): return read_placement(r, size, t.placement);
    case zFourCC("PROJ"): m.projection = read_u2(r); break;
    case zFourCC("VMAP"): m.uv_map_name = read_string(r); break;
    case zFourCC("AXIS"): m.axis = read_u2(r); break;
    case zFourCC("IMAG"): m.clip_index = static_cast<std::int32_t>(read_index(r)); break;
    case zFourCC("WRAP"):
      m.wrap_u_mode = read_u2(r);
      m.wrap_v_mode = read_u2(r);
      break;
    case zFourCC("WRPW"): m.wrap_u_amount = read_value(r); break;
    case zFourCC("WRPH"): m.wrap_v_amount = read_value(r); break;
    case zFourCC("AAST"):
      m.antialias_flags = read_u2(r);
      m.antialias_strength = read_f4(r);
      break;
    case zFourCC("PIXB"): m.pixel_blending = read_u2(r); break;
    case zFourCC("STCK"): m.sticky = read_value(r); break;
    case zFourCC("TAMP"): m.amplitude = read_value(r); break;
    default: break;
  }
  return true;
}

bool read_procedural_attribute(reader& r, std::uint32_t sub, std::uint64_t size, so_lwo_texture& t) {
  so_lwo_procedural& p = t.procedural;
  switch (sub) {
    case zFourCC("TMAP"): return read_placement(r, size, t.placement);
    case zFourCC("AXIS"): p.axis = read_u2(r); break;
    case zFourCC("VALU"):
      p.value[0] = read_f4(r);
      if (size >= 8) p.value[1] = read_f4(r);
      if (size >= 12) p.value[2] = read_f4(r);
      break;
    case zFourCC("FUNC"):
      p.function_name = read_string(r);
      p.function_data = read_rest(r, static_cast<std::int64_t>(size) - r.bytes_read);
      break;
    default: break;
  }
  return true;
}

bool read_gradient_attribute(reader& r, std::uint32_t sub, std::uint64_t size, so_lwo_texture& t) {
  so_lwo_gradient& g = t.gradient;
  switch (sub) {
    case zFourCC("TMAP"): return read_placement(r, size, t.placement);
    case zFourCC("PNAM"): g.parameter_name = read_string(r); break;
    case zFourCC("INAM"): g.item_name = read_string(r); break;
    case zFourCC("GRST"): g.start = read_f4(r); break;
    case zFourCC("GREN"): g.end = read_f4(r); break;
    case zFourCC("GRPT"): g.repeat = read_u2(r); break;
    case zFourCC("FKEY"):
      g.keys.resize(size / 20);
      for (so_lwo_gradient_key& k : g.keys) {
        k.position = read_f4(r);
        for (float& c : k.rgba) c = read_f4(r);
      }
      break;
    case zFourCC("IKEY"):
      g.key_modes.resize(size / 2);
      for (std::uint16_t& m : g.key_modes) m = read_u2(r);
      break;
    default: break;
  }
  return true;
}

// A texture layer of kind `kind` whose block ends at file position `end`:
// the header (ordinal, channel, opacity, flags) and then the attributes of
// its kind up to the end of the block.
bool read_texture(reader& r, std::uint32_t kind, std::uint64_t end, so_lwo_texture& t) {
  t.kind = kind;
  const std::uint16_t header_size = read_u2(r);
  const std::uint64_t header_start = r.position;
  t.ordinal = read_string(r);
  const bool header_ok =
      walk_subchunks(r, header_start, header_size, end_rule::at_least, [&](std::uint32_t sub, std::uint64_t) {
        switch (sub) {
          case zFourCC("CHAN"): t.channel = read_u4(r); break;
          case zFourCC("OPAC"):
            t.opacity_mode = read_u2(r);
            t.opacity = read_value(r);
            break;
          case zFourCC("ENAB"): t.enabled = read_u2(r); break;
          case zFourCC("NEGA"): t.negative = read_u2(r); break;
          case zFourCC("AXIS"): t.axis = read_u2(r); break;
          default: break;
        }
        return true;
      });
  if (!header_ok || r.position > end) return false;
  return walk_subchunks(r, r.position, static_cast<std::int64_t>(end - r.position), end_rule::at_least,
                        [&](std::uint32_t sub, std::uint64_t size) {
                          if (kind == so_lwo_kind_image_map) return read_image_map_attribute(r, sub, size, t);
                          if (kind == so_lwo_kind_procedural) return read_procedural_attribute(r, sub, size, t);
                          return read_gradient_attribute(r, sub, size, t);
                        });
}

// A shader block ending at file position `end`: its header gives the
// ordinal and the enable flags (ENAB), the rest names the plug-in (FUNC).
bool read_shader(reader& r, std::uint64_t end, so_lwo_plugin_ref& s) {
  const std::uint16_t header_size = read_u2(r);
  const std::uint64_t header_start = r.position;
  s.ordinal = read_string(r);
  const bool header_ok =
      walk_subchunks(r, header_start, header_size, end_rule::at_least, [&](std::uint32_t sub, std::uint64_t) {
        if (sub == zFourCC("ENAB")) s.flags = read_u2(r);
        return true;
      });
  if (!header_ok || r.position > end) return false;
  return walk_subchunks(r, r.position, static_cast<std::int64_t>(end - r.position), end_rule::at_least,
                        [&](std::uint32_t sub, std::uint64_t size) {
                          if (sub == zFourCC("FUNC")) {
                            s.name = read_string(r);
                            s.data = read_rest(r, static_cast<std::int64_t>(size) - r.bytes_read);
                          }
                          return true;
                        });
}

// BLOK: a texture layer or a shader, `size` bytes from the reader's position.
bool read_block_subchunk(reader& r, std::uint64_t size, so_lwo_surface& s) {
  const std::uint64_t end = r.position + size;
  const std::uint32_t type = read_u4(r);
  if (r.failed() || size < 4) return false;
  if (type == so_lwo_kind_image_map || type == so_lwo_kind_procedural || type == so_lwo_kind_gradient) {
    so_lwo_texture texture;
    if (!read_texture(r, type, end, texture)) return false;
    if (so_lwo_texture_list* list = channel_textures(s, texture.channel)) insert_by_ordinal(*list, std::move(texture));
  } else if (type == zFourCC("SHDR")) {
    so_lwo_plugin_ref shader;
    if (!read_shader(r, end, shader)) return false;
    insert_by_ordinal(s.shaders, std::move(shader));
    ++s.shader_count;
  }
  return r.position <= end;
}

bool read_surface_subchunk(reader& r, std::uint32_t sub, std::uint64_t size, so_lwo_surface& s) {
  auto channel = [&r](auto& c) {
    c.value = read_f4(r);
    c.envelope = static_cast<std::int32_t>(read_index(r));
  };
  switch (sub) {
    case zFourCC("COLR"):
      for (float& v : s.color.rgb) v = read_f4(r);
      s.color.envelope = static_cast<std::int32_t>(read_index(r));
      break;
    case zFourCC("LUMI"): channel(s.luminosity); break;
    case zFourCC("DIFF"): channel(s.diffuse); break;
    case zFourCC("SPEC"): channel(s.specular); break;
    case zFourCC("GLOS"): channel(s.glossiness); break;
    case zFourCC("REFL"): channel(s.reflection); break;
    case zFourCC("RFOP"): s.reflection.options = read_u2(r); break;
    case zFourCC("RIMG"): s.reflection.image = static_cast<std::int32_t>(read_index(r)); break;
    case zFourCC("RSAN"): s.reflection.seam_angle = read_f4(r); break;
    case zFourCC("TRAN"): channel(s.transparency); break;
    case zFourCC("TROP"): s.transparency.options = read_u2(r); break;
    case zFourCC("TIMG"): s.transparency.image = static_cast<std::int32_t>(read_index(r)); break;
    case zFourCC("RIND"): channel(s.refraction_index); break;
    case zFourCC("TRNL"): channel(s.translucency); break;
    case zFourCC("BUMP"): channel(s.bump); break;
    case zFourCC("SMAN"): s.smoothing_angle = read_f4(r); break;
    case zFourCC("SIDE"): s.sidedness = read_u2(r); break;
    case zFourCC("AVAL"): s.alpha = read_f4(r); break;
    case zFourCC("ALPH"):
      s.alpha_mode = read_u2(r);
      s.alpha = read_f4(r);
      break;
    case zFourCC("CLRH"): s.highlight_tint = read_value(r); break;
    case zFourCC("CLRF"): s.filter_tint = read_value(r); break;
    case zFourCC("ADTR"): s.additive_transparency = read_value(r); break;
    case zFourCC("SHRP"): s.diffuse_sharpness = read_value(r); break;
    case zFourCC("GVAL"): s.glow = read_value(r); break;
    case zFourCC("LINE"):
      s.line.enabled = 1;
      if (size >= 2) s.line.line_flags = read_u2(r);
      if (size >= 6) s.line.size.value = read_f4(r);
      if (size >= 8) s.line.size.envelope = static_cast<std::int32_t>(read_index(r));
      break;
    case zFourCC("BLOK"): return read_block_subchunk(r, size, s);
    default: break;
  }
  return true;
}

}  // namespace

std::unique_ptr<so_lwo_surface> make_default_surface() {
  return std::unique_ptr<so_lwo_surface>(new (std::nothrow) so_lwo_surface());
}

std::unique_ptr<so_lwo_surface> read_surface(reader& r, std::uint32_t size) {
  try {
    auto s = make_default_surface();
    if (!s) return nullptr;
    r.bytes_read = 0;
    const std::uint64_t start = r.position;
    s->name = read_string(r);
    s->source_name = read_string(r);
    const bool ok = walk_subchunks(r, start, size, end_rule::at_least, [&](std::uint32_t sub, std::uint64_t sub_size) {
      return read_surface_subchunk(r, sub, sub_size, *s);
    });
    if (!ok) return nullptr;
    return s;
  } catch (const std::exception&) {  // memory ran short
    r.fail();
    return nullptr;
  }
}

void release_surface(so_lwo_surface* surface) { delete surface; }

}  // namespace so3d::lwo
