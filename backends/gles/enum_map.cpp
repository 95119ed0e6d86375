#include "backends/gles/enum_map.h"

#include "backends/gles/device_state.h"

namespace so3d::gles {

GLenum BlendFactor(DWORD blend) {
  switch (blend) {
    case D3DBLEND_ZERO: return GL_ZERO;
    case D3DBLEND_ONE: return GL_ONE;
    case D3DBLEND_SRCCOLOR: return GL_SRC_COLOR;
    case D3DBLEND_INVSRCCOLOR: return GL_ONE_MINUS_SRC_COLOR;
    case D3DBLEND_SRCALPHA: return GL_SRC_ALPHA;
    case D3DBLEND_INVSRCALPHA: return GL_ONE_MINUS_SRC_ALPHA;
    case 7: return GL_DST_ALPHA;
    case 8: return GL_ONE_MINUS_DST_ALPHA;
    case 9: return GL_DST_COLOR;
    case 10: return GL_ONE_MINUS_DST_COLOR;
    case blend_last: return GL_SRC_ALPHA_SATURATE;
    default: return 0;
  }
}

GLenum DepthFunction(DWORD cmp) {
  switch (cmp) {
    case 1: return GL_NEVER;
    case 2: return GL_LESS;
    case 3: return GL_EQUAL;
    case 4: return GL_LEQUAL;
    case 5: return GL_GREATER;
    case 6: return GL_NOTEQUAL;
    case 7: return GL_GEQUAL;
    case 8: return GL_ALWAYS;
    default: return 0;
  }
}

GLenum CulledFace(DWORD cull) {
  switch (cull) {
    case D3DCULL_CW: return GL_FRONT;
    case D3DCULL_CCW: return GL_BACK;
    default: return GL_NONE;
  }
}

bool CullModeValid(DWORD cull) { return cull >= D3DCULL_NONE && cull <= D3DCULL_CCW; }

GLenum TextureFilter(DWORD filter) {
  switch (filter) {
    case D3DTEXF_NONE:
    case D3DTEXF_POINT: return GL_NEAREST;
    case D3DTEXF_LINEAR: return GL_LINEAR;
    default: return 0;
  }
}

GLenum TextureAddress(DWORD address) {
  switch (address) {
    case D3DTADDRESS_WRAP: return GL_REPEAT;
    case D3DTADDRESS_MIRROR: return GL_MIRRORED_REPEAT;
    case D3DTADDRESS_CLAMP:
    case D3DTADDRESS_BORDER: return GL_CLAMP_TO_EDGE;
    default: return 0;
  }
}

GLenum PrimitiveMode(D3DPRIMITIVETYPE type) {
  switch (type) {
    case D3DPT_POINTLIST: return GL_POINTS;
    case D3DPT_LINELIST: return GL_LINES;
    case D3DPT_LINESTRIP: return GL_LINE_STRIP;
    case D3DPT_TRIANGLELIST: return GL_TRIANGLES;
    case D3DPT_TRIANGLESTRIP: return GL_TRIANGLE_STRIP;
    case D3DPT_TRIANGLEFAN: return GL_TRIANGLE_FAN;
    default: return 0;
  }
}

std::uint64_t VerticesFor(D3DPRIMITIVETYPE type, UINT primitives) {
  const std::uint64_t n = primitives;
  if (n == 0) return 0;
  switch (type) {
    case D3DPT_POINTLIST: return n;
    case D3DPT_LINELIST: return 2 * n;
    case D3DPT_LINESTRIP: return n + 1;
    case D3DPT_TRIANGLELIST: return 3 * n;
    case D3DPT_TRIANGLESTRIP:
    case D3DPT_TRIANGLEFAN: return n + 2;
    default: return 0;
  }
}

bool TextureOpSupported(DWORD op) { return op >= D3DTOP_DISABLE && op <= D3DTOP_MODULATE; }

bool TextureArgSupported(DWORD arg) { return arg <= D3DTA_TFACTOR; }

std::uint32_t RenderStateGroup(D3DRENDERSTATETYPE state) {
  switch (state) {
    case D3DRS_ZENABLE:
    case D3DRS_ZWRITEENABLE:
    case D3DRS_ZFUNC: return dirty_depth;
    case D3DRS_SRCBLEND:
    case D3DRS_DESTBLEND:
    case D3DRS_ALPHABLENDENABLE: return dirty_blend;
    case D3DRS_CULLMODE:
    case D3DRS_DITHERENABLE: return dirty_raster;
    case D3DRS_LIGHTING:
    case D3DRS_AMBIENT:
    case D3DRS_DIFFUSEMATERIALSOURCE:
    case D3DRS_SPECULARMATERIALSOURCE:
    case D3DRS_AMBIENTMATERIALSOURCE:
    case D3DRS_EMISSIVEMATERIALSOURCE: return dirty_material;
    // Kept for GetRenderState-style bookkeeping only: with no lights, no
    // alpha reference and solid fills they change nothing that is drawn.
    case D3DRS_FILLMODE:
    case D3DRS_SHADEMODE:
    case D3DRS_ALPHATESTENABLE:
    case D3DRS_SPECULARENABLE:
    case D3DRS_NORMALIZENORMALS: return dirty_raster;
    default: return 0;
  }
}

bool RenderStateValid(D3DRENDERSTATETYPE state, DWORD value) {
  switch (state) {
    case D3DRS_ZENABLE: return value <= 2;  // FALSE, TRUE, USEW (depth buffer either way)
    case D3DRS_FILLMODE: return value >= 1 && value <= fill_solid;
    case D3DRS_SHADEMODE: return value >= 1 && value <= 3;
    case D3DRS_SRCBLEND:
    case D3DRS_DESTBLEND: return BlendFactor(value) != 0;
    case D3DRS_CULLMODE: return CullModeValid(value);
    case D3DRS_ZFUNC: return DepthFunction(value) != 0;
    case D3DRS_DIFFUSEMATERIALSOURCE:
    case D3DRS_SPECULARMATERIALSOURCE:
    case D3DRS_AMBIENTMATERIALSOURCE:
    case D3DRS_EMISSIVEMATERIALSOURCE: return value <= D3DMCS_COLOR2;
    default: return RenderStateGroup(state) != 0;  // booleans and the ambient colour take any value
  }
}

VertexLayout LayoutOf(DWORD fvf) {
  constexpr DWORD position_mask = 0x00E;
  constexpr DWORD set_count_mask = 0xF00;
  constexpr DWORD set_count_shift = 8;
  constexpr DWORD set_size_bits = 0xFFFF0000u;  // D3DFVF_TEXCOORDSIZEn: non-zero means not 2D
  constexpr DWORD known = position_mask | D3DFVF_NORMAL | D3DFVF_DIFFUSE | set_count_mask | set_size_bits;
  VertexLayout layout;
  if ((fvf & position_mask) != D3DFVF_XYZ || (fvf & ~known) != 0 || (fvf & set_size_bits) != 0) return layout;
  layout.size = 12;
  if (fvf & D3DFVF_NORMAL) layout.size += 12;
  if (fvf & D3DFVF_DIFFUSE) {
    layout.diffuse = std::int32_t(layout.size);
    layout.size += 4;
  }
  layout.set_count = (fvf & set_count_mask) >> set_count_shift;
  if (layout.set_count > VertexLayout::max_sets) return VertexLayout{};
  for (std::uint32_t i = 0; i < layout.set_count; ++i) {
    layout.sets[i] = layout.size;
    layout.size += 8;
  }
  layout.valid = true;
  return layout;
}

}  // namespace so3d::gles
