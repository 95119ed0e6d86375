#pragma once
// Direct3D's world × view × projection as the GL clip transform. Direct3D
// multiplies row vectors (p × M) and keeps depth in 0..1 of w; GL wants
// -1..1. Direct3D 9 also puts pixel centres on integer coordinates, half a
// pixel from GL's, so the picture is moved (just under) half a pixel right
// and down to land texels and edges on the same pixels.
#include <array>

#include "platform/d3d9/d3d9.h"

namespace so3d::gles {

D3DMATRIX Multiply(const D3DMATRIX& a, const D3DMATRIX& b);  // a × b

// Sixteen floats for glUniformMatrix4fv without transposing: GL reads
// columns, which are the rows of a row-vector matrix.
std::array<float, 16> ClipMatrix(const D3DMATRIX& world, const D3DMATRIX& view, const D3DMATRIX& projection,
                                 unsigned width, unsigned height);

}  // namespace so3d::gles
