#include <gtest/gtest.h>

#include <numbers>

#include "platform/d3dx/d3dx_math.h"

namespace {

void expect_maps(const D3DXMATRIX& m, D3DXVECTOR3 p, float x, float y, float z) {
  EXPECT_NEAR(p.x * m._11 + p.y * m._21 + p.z * m._31 + m._41, x, 1e-6f);
  EXPECT_NEAR(p.x * m._12 + p.y * m._22 + p.z * m._32 + m._42, y, 1e-6f);
  EXPECT_NEAR(p.x * m._13 + p.y * m._23 + p.z * m._33 + m._43, z, 1e-6f);
}

constexpr float kHalfPi = std::numbers::pi_v<float> / 2;

}  // namespace

TEST(D3DX, RotationsFollowRowVectorConvention) {
  D3DXMATRIX m;
  expect_maps(*D3DXMatrixRotationY(&m, kHalfPi), {1, 0, 0}, 0, 0, -1);
  expect_maps(*D3DXMatrixRotationX(&m, kHalfPi), {0, 1, 0}, 0, 0, 1);
  expect_maps(*D3DXMatrixRotationZ(&m, kHalfPi), {1, 0, 0}, 0, 1, 0);
  expect_maps(*D3DXMatrixTranslation(&m, 1, 2, 3), {1, 1, 1}, 2, 3, 4);
  expect_maps(*D3DXMatrixScaling(&m, 2, 3, 4), {1, 1, 1}, 2, 3, 4);
}

TEST(D3DX, MultiplyAppliesLeftFirstAndMayAlias) {
  D3DXMATRIX s, t, out;
  D3DXMatrixScaling(&s, 2, 2, 2);
  D3DXMatrixTranslation(&t, 1, 0, 0);
  expect_maps(*D3DXMatrixMultiply(&out, &s, &t), {1, 0, 0}, 3, 0, 0);  // scale, then move
  expect_maps(*D3DXMatrixMultiply(&s, &s, &t), {1, 0, 0}, 3, 0, 0);    // out aliases a
  D3DXMatrixScaling(&s, 2, 2, 2);
  expect_maps(*D3DXMatrixMultiply(&t, &s, &t), {1, 0, 0}, 3, 0, 0);  // out aliases b
}

TEST(D3DX, LookAtPutsTheEyeAtTheOriginFacingPlusZ) {
  D3DXMATRIX m;
  const D3DXVECTOR3 front(0, 0, -10), side(10, 0, 0), at(0, 0, 0), up(0, 1, 0);
  D3DXMatrixLookAtLH(&m, &front, &at, &up);
  expect_maps(m, {0, 0, 0}, 0, 0, 10);
  expect_maps(m, {1, 1, 0}, 1, 1, 10);
  D3DXMatrixLookAtLH(&m, &side, &at, &up);
  expect_maps(m, {0, 0, 0}, 0, 0, 10);
  expect_maps(m, {10, 0, 1}, 1, 0, 0);  // world +z is view +x
}

TEST(D3DX, PerspectiveAt720x480) {
  D3DXMATRIX m;
  D3DXMatrixPerspectiveFovLH(&m, 0.4712389f, 720.0f / 480.0f, 0.1f, 100.0f);
  EXPECT_NEAR(m(1, 1), 4.165f, 1e-3f);  // 1 / tan(13.5°)
  EXPECT_NEAR(m(0, 0), 2.777f, 1e-3f);
  EXPECT_NEAR(m(2, 2), 100.0f / 99.9f, 1e-6f);
  EXPECT_NEAR(m(3, 2), -10.0f / 99.9f, 1e-6f);
  EXPECT_EQ(m(2, 3), 1.0f);
  EXPECT_EQ(m(3, 3), 0.0f);
  EXPECT_EQ(m(0, 1), 0.0f);
}
