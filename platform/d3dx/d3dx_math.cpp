#include "platform/d3dx/d3dx_math.h"

#include <cmath>

namespace {

D3DXMATRIX* set_rows(D3DXMATRIX* out, const float (&v)[16]) {
  for (int i = 0; i < 16; ++i) out->m[i / 4][i % 4] = v[i];
  return out;
}

D3DXVECTOR3 sub(const D3DXVECTOR3& a, const D3DXVECTOR3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
D3DXVECTOR3 cross(const D3DXVECTOR3& a, const D3DXVECTOR3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
float dot(const D3DXVECTOR3& a, const D3DXVECTOR3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
D3DXVECTOR3 normalize(const D3DXVECTOR3& v) {
  const float len = std::sqrt(dot(v, v));
  if (len == 0.0f) return v;
  return {v.x / len, v.y / len, v.z / len};
}

}  // namespace

D3DXMATRIX* D3DXMatrixMultiply(D3DXMATRIX* out, const D3DXMATRIX* a, const D3DXMATRIX* b) {
  D3DXMATRIX r;  // `out` may alias an input
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      r.m[i][j] = a->m[i][0] * b->m[0][j] + a->m[i][1] * b->m[1][j] + a->m[i][2] * b->m[2][j] + a->m[i][3] * b->m[3][j];
  *out = r;
  return out;
}

D3DXMATRIX* D3DXMatrixIdentity(D3DXMATRIX* out) {
  return set_rows(out, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
}

D3DXMATRIX* D3DXMatrixTranslation(D3DXMATRIX* out, float x, float y, float z) {
  return set_rows(out, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1});
}

D3DXMATRIX* D3DXMatrixScaling(D3DXMATRIX* out, float sx, float sy, float sz) {
  return set_rows(out, {sx, 0, 0, 0, 0, sy, 0, 0, 0, 0, sz, 0, 0, 0, 0, 1});
}

D3DXMATRIX* D3DXMatrixRotationX(D3DXMATRIX* out, float a) {
  const float c = std::cos(a), s = std::sin(a);
  return set_rows(out, {1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, 0, 0, 0, 1});
}

D3DXMATRIX* D3DXMatrixRotationY(D3DXMATRIX* out, float a) {
  const float c = std::cos(a), s = std::sin(a);
  return set_rows(out, {c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 0, 0, 0, 1});
}

D3DXMATRIX* D3DXMatrixRotationZ(D3DXMATRIX* out, float a) {
  const float c = std::cos(a), s = std::sin(a);
  return set_rows(out, {c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
}

D3DXMATRIX* D3DXMatrixLookAtLH(D3DXMATRIX* out, const D3DXVECTOR3* eye, const D3DXVECTOR3* at, const D3DXVECTOR3* up) {
  const D3DXVECTOR3 z = normalize(sub(*at, *eye));
  const D3DXVECTOR3 x = normalize(cross(*up, z));
  const D3DXVECTOR3 y = cross(z, x);
  return set_rows(
      out, {x.x, y.x, z.x, 0, x.y, y.y, z.y, 0, x.z, y.z, z.z, 0, -dot(x, *eye), -dot(y, *eye), -dot(z, *eye), 1});
}

D3DXMATRIX* D3DXMatrixPerspectiveFovLH(D3DXMATRIX* out, float fovy, float aspect, float zn, float zf) {
  const float y_scale = 1.0f / std::tan(fovy / 2.0f);
  const float x_scale = y_scale / aspect;
  const float depth = zf / (zf - zn);
  return set_rows(out, {x_scale, 0, 0, 0, 0, y_scale, 0, 0, 0, 0, depth, 1, 0, 0, -zn * depth, 0});
}
