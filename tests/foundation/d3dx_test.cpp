#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "platform/d3dx/d3dx_math.h"

namespace {
D3DXVECTOR3 transform_point(const D3DXMATRIX& m, D3DXVECTOR3 p) {
  return {p.x * m._11 + p.y * m._21 + p.z * m._31 + m._41, p.x * m._12 + p.y * m._22 + p.z * m._32 + m._42,
          p.x * m._13 + p.y * m._23 + p.z * m._33 + m._43};
}
void expect_point(D3DXVECTOR3 got, float x, float y, float z) {
  EXPECT_NEAR(got.x, x, 1e-6f);
  EXPECT_NEAR(got.y, y, 1e-6f);
  EXPECT_NEAR(got.z, z, 1e-6f);
}
constexpr float kHalfPi = std::numbers::pi_v<float> / 2;
}  // namespace

TEST(D3DX, RotationsFollowRowVectorConvention) {
  D3DXMATRIX m;
  expect_point(transform_point(*D3DXMatrixRotationY(&m, kHalfPi), {1, 0, 0}), 0, 0, -1);
  expect_point(transform_point(*D3DXMatrixRotationX(&m, kHalfPi), {0, 1, 0}), 0, 0, 1);
  expect_point(transform_point(*D3DXMatrixRotationZ(&m, kHalfPi), {1, 0, 0}), 0, 1, 0);
  expect_point(transform_point(*D3DXMatrixTranslation(&m, 1, 2, 3), {1, 1, 1}), 2, 3, 4);
  expect_point(transform_point(*D3DXMatrixScaling(&m, 2, 3, 4), {1, 1, 1}), 2, 3, 4);
}

TEST(D3DX, MultiplyAppliesLeftFirstAndMayAlias) {
  D3DXMATRIX s, t, out;
  D3DXMatrixScaling(&s, 2, 2, 2);
  D3DXMatrixTranslation(&t, 1, 0, 0);
  D3DXMatrixMultiply(&out, &s, &t);  // scale, then move
  expect_point(transform_point(out, {1, 0, 0}), 3, 0, 0);
  D3DXMatrixMultiply(&s, &s, &t);  // out aliases a
  expect_point(transform_point(s, {1, 0, 0}), 3, 0, 0);
  D3DXMatrixScaling(&s, 2, 2, 2);
  D3DXMatrixMultiply(&t, &s, &t);  // out aliases b
  expect_point(transform_point(t, {1, 0, 0}), 3, 0, 0);
}

TEST(D3DX, LookAtFromMinusTenIsATranslation) {
  D3DXMATRIX m;
  const D3DXVECTOR3 eye(0, 0, -10), at(0, 0, 0), up(0, 1, 0);
  D3DXMatrixLookAtLH(&m, &eye, &at, &up);
  D3DXMATRIX expected;
  D3DXMatrixTranslation(&expected, 0, 0, 10);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_NEAR(m.m[i][j], expected.m[i][j], 1e-6f) << i << "," << j;

  const D3DXVECTOR3 side(10, 0, 0);
  D3DXMatrixLookAtLH(&m, &side, &at, &up);
  expect_point(transform_point(m, {0, 0, 0}), 0, 0, 10);
  expect_point(transform_point(m, {10, 0, 1}), 1, 0, 0);  // world +z is view +x
}

TEST(D3DX, PerspectiveAt720x480) {
  D3DXMATRIX m;
  D3DXMatrixPerspectiveFovLH(&m, 0.4712389f, 720.0f / 480.0f, 0.1f, 100.0f);
  const float y_scale = 1.0f / std::tan(13.5f * std::numbers::pi_v<float> / 180.0f);
  EXPECT_NEAR(m(1, 1), y_scale, 1e-4f);
  EXPECT_NEAR(m(1, 1), 4.165f, 1e-3f);
  EXPECT_NEAR(m(0, 0), 2.777f, 1e-3f);
  EXPECT_NEAR(m(2, 2), 100.0f / 99.9f, 1e-6f);
  EXPECT_NEAR(m(3, 2), -10.0f / 99.9f, 1e-6f);
  EXPECT_EQ(m(2, 3), 1.0f);
  EXPECT_EQ(m(3, 3), 0.0f);
  EXPECT_EQ(m(0, 1), 0.0f);
}
