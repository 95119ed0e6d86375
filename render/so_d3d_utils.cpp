#include "render/so_d3d_utils.h"

void soD3DUtils::TransformToD3DMatrix(const so_vectors& vectors, D3DXMATRIX& out) {
  // Each step multiplies on the left, so the last one built acts first on a
  // vertex.
  D3DXMATRIX step;
  D3DXMatrixTranslation(&out, vectors.pos.x, vectors.pos.y, vectors.pos.z);
  D3DXMatrixMultiply(&out, D3DXMatrixRotationY(&step, vectors.rot.y), &out);
  D3DXMatrixMultiply(&out, D3DXMatrixRotationX(&step, vectors.rot.x), &out);
  D3DXMatrixMultiply(&out, D3DXMatrixRotationZ(&step, vectors.rot.z), &out);
  D3DXMatrixMultiply(&out, D3DXMatrixTranslation(&step, vectors.rot_off.x, vectors.rot_off.y, vectors.rot_off.z), &out);
  D3DXMatrixMultiply(&out, D3DXMatrixScaling(&step, vectors.scale.x, vectors.scale.y, vectors.scale.z), &out);
}
