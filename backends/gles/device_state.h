#pragma once
// Everything a host can set on a GlesDevice, as one plain value. Set* calls
// validate, compare, store here and raise a dirty bit; the draw applies the
// dirty groups to GL. Defaults are Direct3D 9's documented ones for a device
// made with a depth buffer.
#include <array>
#include <cstddef>
#include <cstdint>

#include "backends/state/transform_slots.h"
#include "platform/d3d9/d3d9.h"

namespace so3d::gles {

class GlesTexture;
class GlesVertexBuffer;

inline constexpr std::size_t stage_count = 2;           // texture stages the fixed pipeline emulates
inline constexpr std::size_t render_state_limit = 256;  // above every D3DRENDERSTATETYPE accepted
inline constexpr std::size_t stage_state_limit = 12;    // D3DTSS_ values up to TEXCOORDINDEX
inline constexpr std::size_t sampler_state_limit = 8;   // D3DSAMP_ values up to MIPFILTER

// Direct3D comparison functions (D3DCMPFUNC) for D3DRS_ZFUNC.
inline constexpr DWORD cmp_never = 1;
inline constexpr DWORD cmp_less_equal = 4;
inline constexpr DWORD cmp_always = 8;
inline constexpr DWORD fill_solid = 3;
inline constexpr DWORD shade_gouraud = 2;
inline constexpr DWORD blend_last = 11;  // D3DBLEND_SRCALPHASAT, the last factor GL has too

using backend::slot_count;
using backend::slot_projection;
using backend::slot_texture0;
using backend::slot_texture1;
using backend::slot_view;
using backend::slot_world;

struct StreamBinding {
  GlesVertexBuffer* buffer;  // one reference held by the device
  UINT offset;
  UINT stride;
};

struct DeviceState {
  std::array<D3DMATRIX, slot_count> transforms;  // identity each
  D3DMATERIAL9 material;                         // all zero
  std::array<DWORD, render_state_limit> render;  // indexed by D3DRENDERSTATETYPE
  std::array<std::array<DWORD, stage_state_limit>, stage_count> stages;
  std::array<std::array<DWORD, sampler_state_limit>, stage_count> samplers;
  std::array<GlesTexture*, stage_count> textures;  // one reference held per bound texture
  StreamBinding stream;
  DWORD fvf;  // 0 until SetFVF
};

// Groups of state the draw applies separately.
enum DirtyBit : std::uint32_t {
  dirty_transforms = 1u << 0,
  dirty_material = 1u << 1,  // material and the lighting render states
  dirty_blend = 1u << 2,
  dirty_depth = 1u << 3,
  dirty_raster = 1u << 4,  // culling, dithering
  dirty_stages = 1u << 5,
  dirty_samplers = 1u << 6,
  dirty_textures = 1u << 7,
  dirty_vertices = 1u << 8,  // stream, FVF, texture coordinate indexes
  dirty_all = (1u << 9) - 1,
};

DeviceState DefaultDeviceState();

}  // namespace so3d::gles
