#pragma once
// The D3DX matrix functions the module uses. Row vectors (p' = p × M),
// angles in radians. Each returns `out`.
#include "platform/d3d9/d3d9.h"

struct D3DXVECTOR3 : public D3DVECTOR {
  D3DXVECTOR3() : D3DVECTOR{0.0f, 0.0f, 0.0f} {}
  D3DXVECTOR3(float vx, float vy, float vz) : D3DVECTOR{vx, vy, vz} {}
};

struct D3DXMATRIX : public D3DMATRIX {
  D3DXMATRIX() : D3DMATRIX{} {}
  explicit D3DXMATRIX(const D3DMATRIX& from) : D3DMATRIX(from) {}
  float& operator()(unsigned row, unsigned col) { return m[row][col]; }
  float operator()(unsigned row, unsigned col) const { return m[row][col]; }
};

// out = a × b; `out` may be `a` or `b`.
D3DXMATRIX* D3DXMatrixMultiply(D3DXMATRIX* out, const D3DXMATRIX* a, const D3DXMATRIX* b);
D3DXMATRIX* D3DXMatrixIdentity(D3DXMATRIX* out);
D3DXMATRIX* D3DXMatrixTranslation(D3DXMATRIX* out, float x, float y, float z);
D3DXMATRIX* D3DXMatrixScaling(D3DXMATRIX* out, float sx, float sy, float sz);
D3DXMATRIX* D3DXMatrixRotationX(D3DXMATRIX* out, float angle);
D3DXMATRIX* D3DXMatrixRotationY(D3DXMATRIX* out, float angle);
D3DXMATRIX* D3DXMatrixRotationZ(D3DXMATRIX* out, float angle);
// Left-handed view looking from `eye` at `at`.
D3DXMATRIX* D3DXMatrixLookAtLH(D3DXMATRIX* out, const D3DXVECTOR3* eye, const D3DXVECTOR3* at, const D3DXVECTOR3* up);
// Left-handed perspective; `fovy` is the vertical field of view.
D3DXMATRIX* D3DXMatrixPerspectiveFovLH(D3DXMATRIX* out, float fovy, float aspect, float zn, float zf);
