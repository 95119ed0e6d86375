#pragma once
// Direct3D 9 values to GL values, one tiny function each. A 0 result (or an
// invalid layout) means the device does not accept the value.
#include <GLES3/gl3.h>

#include <array>
#include <cstdint>

#include "platform/d3d9/d3d9.h"

namespace so3d::gles {

GLenum BlendFactor(DWORD blend);
GLenum DepthFunction(DWORD cmp);
// D3DCULL_CW / D3DCULL_CCW name the winding that is discarded, as seen on
// screen; front faces are set to GL_CW, so CW culls GL_FRONT. NONE gives
// GL_NONE (culling off).
GLenum CulledFace(DWORD cull);
bool CullModeValid(DWORD cull);
GLenum TextureFilter(DWORD filter);
// Border colours need an extension in GL ES 3.0, so BORDER clamps to the edge.
GLenum TextureAddress(DWORD address);
// Primitive mode and the vertex count that `primitives` primitives take;
// 0 vertices for an unknown type or a count of 0.
GLenum PrimitiveMode(D3DPRIMITIVETYPE type);
std::uint64_t VerticesFor(D3DPRIMITIVETYPE type, UINT primitives);

bool TextureOpSupported(DWORD op);    // DISABLE, SELECTARG1, SELECTARG2, MODULATE
bool TextureArgSupported(DWORD arg);  // DIFFUSE, CURRENT, TEXTURE, TFACTOR, no modifiers

// The dirty group a render state belongs to; 0 for a state the device does
// not know. RenderStateValid checks the value against the state's range.
std::uint32_t RenderStateGroup(D3DRENDERSTATETYPE state);
bool RenderStateValid(D3DRENDERSTATETYPE state, DWORD value);

// Where the parts of a vertex lie, from its flexible vertex format. Only
// untransformed positions, normals, a diffuse colour and 2D texture sets.
struct VertexLayout {
  static constexpr std::uint32_t max_sets = 8;
  bool valid = false;
  std::uint32_t size = 0;                      // bytes a vertex
  std::int32_t diffuse = -1;                   // offset of the D3DCOLOR, or -1
  std::uint32_t set_count = 0;                 // texture coordinate sets
  std::array<std::uint32_t, max_sets> sets{};  // offset of each set
};
VertexLayout LayoutOf(DWORD fvf);

}  // namespace so3d::gles
