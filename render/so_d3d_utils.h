#pragma once
// Conversions from the module's records to Direct3D matrices.
#include "base/so3d_export.h"
#include "base/so_records.h"
#include "platform/d3dx/d3dx_math.h"

class SO3D_API soD3DUtils {
 public:
  // The world matrix of an item: out = S(scale) × T(rot_off) × Rz(bank) ×
  // Rx(pitch) × Ry(heading) × T(pos), for row vectors. `trans` and `crop`
  // play no part.
  static void TransformToD3DMatrix(const so_vectors& vectors, D3DXMATRIX& out);
};
