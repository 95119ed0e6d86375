#pragma once
// The records that pass through the drawable-object interface: one surface
// with its texture coordinates and interleaved vertices, the tiling state,
// and what one draw call receives. A host may fill surfaces itself, so these
// stay plain structs; field order and widths are part of the exported
// interface.
//
// Ownership of a surface's blocks: `vertices`, `normals`, `texcoords`,
// `texcoords->uv` and `interleaved_block` are each one malloc-family block
// (std::malloc / std::calloc) or null, owned by whoever owns the surface.
// The module itself may replace `texcoords->uv` (when the vertex count grew)
// and `interleaved_block` (on a rebuild), always freeing the old block with
// std::free. so_surface_release_blocks frees them all.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <type_traits>

#include "base/so3d_export.h"
#include "base/so_records.h"

class zRecord;
class IDirect3DDevice9;
class soXIDrawingFunctions;

struct so_uv {
  float u;
  float v;
};

struct so_rgba {
  float r;
  float g;
  float b;
  float a;
};

struct so_texcoord_set {
  so_uv* uv;           // one pair per vertex; owned
  std::int32_t count;  // pairs written by the last generation
};

// One vertex as a vertex buffer holds it: flexible vertex format
// XYZ | NORMAL | TEX2 (0x212), stride 40.
struct so_interleaved_vertex {
  so_vector3 position;
  so_vector3 normal;
  so_uv uv0;  // stage 0: screen or image texture
  so_uv uv1;  // stage 1: antialiasing mask or decor; written by the drawable
};

inline constexpr std::uint32_t so_interleaved_fvf = 0x212;

static_assert(sizeof(so_interleaved_vertex) == 40);
static_assert(offsetof(so_interleaved_vertex, position) == 0);
static_assert(offsetof(so_interleaved_vertex, normal) == 12);
static_assert(offsetof(so_interleaved_vertex, uv0) == 24);
static_assert(offsetof(so_interleaved_vertex, uv1) == 32);

inline constexpr std::size_t so_surface_name_size = 64;

// One surface: a non-indexed triangle list. Always starts zero-filled.
struct so_surface {
  so_vector3* vertices;  // three per triangle; owned
  std::int32_t vertex_count;
  so_vector3* normals;  // one per vertex; owned
  std::int32_t normal_count;
  so_texcoord_set* texcoords;  // null until first generated; owned
  // Parameters of the last RebuildTextureCoords; all 0 on a new surface.
  float tc_scale_u;
  float tc_scale_v;
  float tc_crop_left;
  float tc_crop_top;
  float tc_crop_right;
  float tc_crop_bottom;
  // Material, carried for the host; the Direct3D drawable sets its own.
  so_rgba color;
  so_rgba ambient;
  so_rgba diffuse;
  so_rgba specular;
  so_rgba emissive;
  float power;
  std::int32_t texture_id;  // image in the texture registry; 0 = none
  // Made by create_interleaved_surface; `interleaved` is 32-byte aligned
  // inside it. Leave both null when filling a surface by hand.
  void* interleaved_block;
  so_interleaved_vertex* interleaved;
  char name[so_surface_name_size];  // NUL-terminated; "One".."Four" show screens
  bool double_sided;
};

static_assert(std::is_trivial_v<so_surface> && std::is_standard_layout_v<so_surface>);

// Tiling state of one object.
struct so_tile_data {
  so_vectors vectors;  // pos.x/pos.y: current tile centre; scale.x/scale.y size the step
  float tile_x;        // step, percent of scale.x
  float tile_y;        // step, percent of scale.y
  float area_width;    // frame to fill, world units
  float area_height;
};

// What one Draw call receives. Nothing here is owned.
struct so_drawing_state {
  const so_object_data* object_data;
  float opacity;
  bool both_scenes;  // sub-scene pass drawing both scenes
  soXIDrawingFunctions* drawing_functions;
  so_tile_data* tile_data;  // null unless tiled
  const zRecord* record;    // settings record of the matched screen entry, or null
  float time;
  const zRecord* other_record;  // first of two matching entries, else null
  const so_vectors* vectors;    // evaluated transform; its crop feeds the texture coordinates
  IDirect3DDevice9* device;
};

// The surface's name equals `name` as a whole, case-sensitively. A name
// field without its terminating zero is read up to its 64 bytes only.
SO3D_API bool so_surface_has_name(const so_surface& surface, std::string_view name);

// True for the surfaces that show a screen: named "One", "Two", "Three" or
// "Four".
SO3D_API bool so_surface_shows_screen(const so_surface& surface);

// Frees every block the surface points to and zeroes the pointers and
// counts; material, name and the coordinate cache stay. Accepts null. The
// record itself is not freed.
SO3D_API void so_surface_release_blocks(so_surface* surface);

// Replaces `vertices` and `normals` by zero-filled arrays of `capacity`
// entries each, and sets both counts to 0. On failure (or a negative
// capacity) returns false and leaves both arrays null.
SO3D_API bool so_surface_allocate_geometry(so_surface& surface, std::int32_t capacity);

// Copies `name` into the surface, cut to 63 bytes; null gives "".
SO3D_API void so_surface_set_name(so_surface& surface, const char* name);

// Builds the surface's interleaved block, freeing any previous one: one
// vertex per position, with the normal and texture coordinate of the same
// index where those exist and zeros elsewhere (uv1 included). `interleaved`
// is 32-byte aligned. On allocation failure the surface is left without a
// block and false is returned.
bool so_surface_build_interleaved(so_surface& surface);

// Vertices the surface's interleaved block has room for: the count it was
// built for, or vertex_count when `interleaved` was set by hand without a
// block; 0 when there are no interleaved vertices.
SO3D_API std::int32_t so_interleaved_capacity(const so_surface& surface);

// Owner of one heap surface record: frees its blocks, then the record.
struct so_surface_deleter {
  void operator()(so_surface* surface) const noexcept;
};
using so_surface_ptr = std::unique_ptr<so_surface, so_surface_deleter>;

// A zero-filled surface record, or null when memory is short.
so_surface_ptr so_make_surface() noexcept;
