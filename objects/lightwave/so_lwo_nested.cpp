// The LWO3 form's surfaces and clips: nested FORMs whose children all carry
// U4 sizes, and whose first, anonymous child (id "    ") holds the form's
// own fields. What the file record needs is read; everything else (node
// graphs, envelopes, other forms) is stepped over by its size.
#include "objects/lightwave/so_lwo_nested.h"

#include <memory>

#include "objects/lightwave/so_lwo_subchunks.h"

namespace so3d::lwo {

namespace {

constexpr std::uint32_t anonymous = zFourCC("    ");

// Calls handle(id, payload) for each child in `c`: ID4, U4 size, the payload
// and a pad byte after an odd size. A size past the parent fails.
template <class Handler>
bool walk_children(reader& r, cursor c, Handler&& handle) {
  while (c.left() > 0) {
    const std::uint32_t id = take_u4(r, c);
    const std::uint32_t size = take_u4(r, c);
    if (r.failed()) return false;
    if (size > c.left()) return fail(r, read_error::bad_chunk_size);
    const cursor payload{c.pos, c.pos + size};
    c.pos += size;
    if ((size & 1u) && c.left() > 0) ++c.pos;
    if (!handle(id, payload) || r.failed()) return false;
  }
  return true;
}

// The children of a nested FORM child, after its type.
template <class Handler>
bool walk_form(reader& r, cursor form, std::uint32_t& type, Handler&& handle) {
  type = take_u4(r, form);
  return !r.failed() && walk_children(r, form, handle);
}

// A placement vector (CNTR, SIZE, ROTA): its anonymous child holds VEC12 and
// an envelope index.
bool read_vector_form(reader& r, cursor form, so_lwo_vector_value& out) {
  std::uint32_t type = 0;
  return walk_form(r, form, type, [&](std::uint32_t id, cursor p) {
    if (id != anonymous) return true;
    for (float& v : out.value) v = take_f4(r, p);
    if (p.left() > 0) out.envelope = std::int32_t(take_index(r, p));
    return true;
  });
}

// FORM BLOK with an image map: its IMAP header, placement and image fields.
bool read_image_block(reader& r, cursor block, so_lwo_surface& surface) {
  so_lwo_texture texture;
  texture.kind = so_lwo_kind_image_map;
  bool image_map = false;
  std::uint32_t type = 0;
  const bool read = walk_form(r, block, type, [&](std::uint32_t id, cursor p) {
    switch (id) {
      case zFourCC("FORM"): {
        std::uint32_t inner = 0;
        return walk_form(r, p, inner, [&](std::uint32_t child, cursor q) {
          if (inner == zFourCC("IMAP")) {
            image_map = true;
            if (child == anonymous) texture.ordinal = take_string(r, q);
            if (child == zFourCC("CHAN")) texture.channel = take_u4(r, q);
            if (child == zFourCC("ENAB")) texture.enabled = take_u2(r, q);
            if (child == zFourCC("NEGA")) texture.negative = take_u2(r, q);
          } else if (inner == zFourCC("TMAP") && child == zFourCC("FORM")) {
            cursor vector = q;
            const std::uint32_t which = take_u4(r, vector);
            so_lwo_placement& at = texture.placement;
            if (which == zFourCC("CNTR")) return read_vector_form(r, q, at.center);
            if (which == zFourCC("SIZE")) return read_vector_form(r, q, at.size);
            if (which == zFourCC("ROTA")) return read_vector_form(r, q, at.rotation);
          }
          return true;
        });
      }
      case zFourCC("PROJ"): texture.image_map.projection = take_u2(r, p); return true;
      case zFourCC("AXIS"): texture.image_map.axis = take_u2(r, p); return true;
      case zFourCC("IMAG"): texture.image_map.clip_index = std::int32_t(take_index(r, p)); return true;
      case zFourCC("VMAP"): texture.image_map.uv_map_name = take_string(r, p); return true;
      case zFourCC("WRAP"):
        texture.image_map.wrap_u_mode = take_u2(r, p);
        texture.image_map.wrap_v_mode = take_u2(r, p);
        return true;
      default: return true;
    }
  });
  if (!read) return false;
  if (image_map) {
    if (so_lwo_texture_list* list = channel_textures(surface, texture.channel))
      insert_by_ordinal(*list, std::move(texture));
  }
  return true;
}

std::unique_ptr<so_lwo_surface> read_surface_form(reader& r, cursor c) {
  std::unique_ptr<so_lwo_surface> surface = make_default_surface();
  if (!surface) return nullptr;
  so_lwo_surface& s = *surface;
  const bool read = walk_children(r, c, [&](std::uint32_t id, cursor p) {
    switch (id) {
      case anonymous:
        s.name = take_string(r, p);
        if (p.left() > 0) s.source_name = take_string(r, p);
        return true;
      case zFourCC("COLR"):
        for (float& v : s.color.rgb) v = take_f4(r, p);
        return true;
      case zFourCC("DIFF"): s.diffuse.value = take_f4(r, p); return true;
      case zFourCC("LUMI"): s.luminosity.value = take_f4(r, p); return true;
      case zFourCC("SPEC"): s.specular.value = take_f4(r, p); return true;
      case zFourCC("GLOS"): s.glossiness.value = take_f4(r, p); return true;
      case zFourCC("TRAN"): s.transparency.value = take_f4(r, p); return true;
      case zFourCC("SMAN"): s.smoothing_angle = take_f4(r, p); return true;
      case zFourCC("SIDE"): s.sidedness = take_u2(r, p); return true;
      case zFourCC("FORM"): {
        cursor peek = p;
        if (take_u4(r, peek) == zFourCC("BLOK")) return read_image_block(r, p, s);
        return !r.failed();
      }
      default: return true;
    }
  });
  return read ? std::move(surface) : nullptr;
}

std::unique_ptr<so_lwo_clip> read_clip_form(reader& r, cursor c) {
  auto clip = std::make_unique<so_lwo_clip>();
  const bool read = walk_children(r, c, [&](std::uint32_t id, cursor p) {
    if (id == anonymous) {
      clip->index = std::int32_t(take_u4(r, p));
    } else if (id == zFourCC("FORM")) {
      std::uint32_t type = 0;
      return walk_form(r, p, type, [&](std::uint32_t child, cursor q) {
        if (type == so_lwo_clip_still && child == anonymous) {
          clip->kind = so_lwo_clip_still;
          clip->file_name = take_string(r, q);
        }
        return true;
      });
    }
    return true;
  });
  return read ? std::move(clip) : nullptr;
}

}  // namespace

bool read_nested_form(reader& r, so_lwo_file& file, std::uint32_t size) {
  // Hold the whole form: its children are walked in memory, every size
  // checked against what holds it.
  const block data = read_block(r, size);
  if (r.failed()) return false;
  cursor c{data.begin(), data.end()};
  const std::uint32_t type = take_u4(r, c);
  if (r.failed()) return false;
  if (type == zFourCC("SURF")) {
    std::unique_ptr<so_lwo_surface> surface = read_surface_form(r, c);
    if (!surface) return false;
    file.surfaces.push_back(std::move(surface));
    file.surface_count = std::int32_t(file.surfaces.size());
  } else if (type == zFourCC("CLIP")) {
    std::unique_ptr<so_lwo_clip> clip = read_clip_form(r, c);
    if (!clip) return false;
    file.clips.push_back(std::move(clip));
    file.clip_count = std::int32_t(file.clips.size());
  }
  return true;
}

namespace {
thread_local bool modern_forms = false;
}

bool modern_forms_allowed() { return modern_forms; }

modern_forms_scope::modern_forms_scope(bool on) : before_(modern_forms) { modern_forms = on; }
modern_forms_scope::~modern_forms_scope() { modern_forms = before_; }

}  // namespace so3d::lwo
