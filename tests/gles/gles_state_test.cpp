// What the device sends to GL: the state cache's call counts, the clip
// transform and the vertex layouts, checked without looking at pixels
// where the numbers say more.
#include <gtest/gtest.h>

#include <cmath>

#include "backends/gles/clip_transform.h"
#include "backends/gles/enum_map.h"
#include "tests/gles/gles_test_support.h"

namespace {

using namespace so3d::test;
using namespace so3d::gles;

// The state the module's renderer and drawables set for a screen surface.
void ModuleState(IDirect3DDevice9& d, IDirect3DTexture9* texture, float opacity) {
  d.SetRenderState(D3DRS_LIGHTING, TRUE);
  d.SetRenderState(D3DRS_CULLMODE, D3DCULL_NONE);
  d.SetSamplerState(0, D3DSAMP_MINFILTER, D3DTEXF_LINEAR);
  d.SetSamplerState(0, D3DSAMP_MAGFILTER, D3DTEXF_LINEAR);
  d.SetTextureStageState(0, D3DTSS_COLORARG2, D3DTA_DIFFUSE);
  d.SetTextureStageState(1, D3DTSS_COLOROP, D3DTOP_MODULATE);
  d.SetTextureStageState(1, D3DTSS_ALPHAOP, D3DTOP_MODULATE);
  D3DMATERIAL9 m{};
  m.Diffuse = m.Ambient = m.Emissive = {1, 1, 1, opacity};
  d.SetMaterial(&m);
  d.SetRenderState(D3DRS_ALPHABLENDENABLE, TRUE);
  d.SetRenderState(D3DRS_SRCBLEND, D3DBLEND_SRCALPHA);
  d.SetRenderState(D3DRS_DESTBLEND, D3DBLEND_INVSRCALPHA);
  d.SetTexture(0, texture);
}

TEST(GlesStateCache, RepeatedIdenticalDrawMakesNoStateCalls) {
  SO3D_REQUIRE_DEVICE(device, 32, 32);
  auto texture = Texture(*device, 4, 4, [](unsigned, unsigned) { return 0xFF808080u; });
  auto quad = Buffer(*device, Quad(-1, -1, 1, 1));
  ModuleState(*device, texture.get(), 1);
  ASSERT_EQ(DrawTriangles(*device, quad.get(), 2), D3D_OK);

  device->ResetCounts();
  ModuleState(*device, texture.get(), 1);  // the same values again: compared and dropped
  ASSERT_EQ(DrawTriangles(*device, quad.get(), 2), D3D_OK);
  EXPECT_EQ(device->Counts().StateCalls(), 0u);
  EXPECT_EQ(device->Counts().draws, 1u);
  EXPECT_EQ(device->Counts().uploads, 0u);

  // A changed material costs its uniforms and nothing else.
  device->ResetCounts();
  ModuleState(*device, texture.get(), 0.5f);
  ASSERT_EQ(DrawTriangles(*device, quad.get(), 2), D3D_OK);
  EXPECT_EQ(device->Counts().uniforms, 3u);  // emissive, ambient and diffuse all carry the opacity
  EXPECT_EQ(device->Counts().StateCalls(), 3u);
}

TEST(GlesStateCache, ClearDoesNotLeaveItsDepthMaskBehind) {
  // Clear writes depth whatever ZWRITEENABLE says; the next draw must turn
  // writing off again, or the near quad would hide the far one.
  SO3D_REQUIRE_DEVICE(device, 16, 16);
  auto red = Texture(*device, 1, 1, [](unsigned, unsigned) { return 0xFFFF0000u; });
  auto green = Texture(*device, 1, 1, [](unsigned, unsigned) { return 0xFF00FF00u; });
  auto near_quad = Buffer(*device, Quad(-1, -1, 1, 1, 0.25f));
  auto far_quad = Buffer(*device, Quad(-1, -1, 1, 1, 0.75f));
  ModuleState(*device, red.get(), 1);
  device->SetRenderState(D3DRS_ALPHABLENDENABLE, FALSE);
  device->SetRenderState(D3DRS_ZWRITEENABLE, FALSE);
  DrawTriangles(*device, near_quad.get(), 2);
  device->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, 0xFF000000, 1, 0);
  DrawTriangles(*device, near_quad.get(), 2);
  device->SetTexture(0, green.get());
  DrawTriangles(*device, far_quad.get(), 2);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 255, 0, 255}));
}

TEST(GlesStateCache, UploadsBetweenDrawsDoNotStealTheBoundTexture) {
  // Unlocking another texture binds it on unit 0 to upload; the next draw
  // must still sample the texture the device holds on stage 0.
  SO3D_REQUIRE_DEVICE(device, 16, 16);
  auto shown = Texture(*device, 1, 1, [](unsigned, unsigned) { return 0xFF0000FFu; });
  auto quad = Buffer(*device, Quad(-1, -1, 1, 1));
  ModuleState(*device, shown.get(), 1);
  DrawTriangles(*device, quad.get(), 2);
  auto other = Texture(*device, 1, 1, [](unsigned, unsigned) { return 0xFFFF0000u; });
  DrawTriangles(*device, quad.get(), 2);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 0, 255, 255}));
}

// Row-vector point p × m, divided by w.
std::array<float, 3> Project(const std::array<float, 16>& m, float x, float y, float z) {
  float out[4];
  for (int c = 0; c < 4; ++c) out[c] = x * m[std::size_t(c)] + y * m[std::size_t(4 + c)] + z * m[std::size_t(8 + c)] + m[std::size_t(12 + c)];
  return {out[0] / out[3], out[1] / out[3], out[2] / out[3]};
}

TEST(ClipTransform, MapsDirect3DDepthAndPixelCentresToGl) {
  D3DMATRIX identity{};
  for (int i = 0; i < 4; ++i) identity.m[i][i] = 1;
  // A left-handed perspective, near 1, far 3: z' = 1.5 z - 1.5 over w = z.
  D3DMATRIX projection{};
  projection._11 = projection._22 = 1;
  projection._33 = 1.5f;
  projection._34 = 1;
  projection._43 = -1.5f;
  const auto m = ClipMatrix(identity, identity, projection, 100, 50);
  const auto near_point = Project(m, 0, 0, 1);
  const auto far_point = Project(m, 0, 0, 3);
  EXPECT_NEAR(near_point[2], -1.0f, 1e-6f);
  EXPECT_NEAR(far_point[2], 1.0f, 1e-6f);
  // 63/128 of a pixel right and down (a pixel is 2/W of the -1..1 range).
  EXPECT_NEAR(near_point[0], 2.0f / 100 * 63 / 128, 1e-6f);
  EXPECT_NEAR(near_point[1], -2.0f / 50 * 63 / 128, 1e-6f);

  // World, view and projection apply in that order, as row vectors.
  D3DMATRIX move = identity, scale = identity;
  move._41 = 1;  // x + 1
  scale._11 = 2;  // x × 2
  const auto moved_then_scaled = Project(ClipMatrix(move, scale, identity, 0, 0), 1, 0, 0.5f);
  EXPECT_NEAR(moved_then_scaled[0], 4.0f, 1e-6f);
}

TEST(VertexLayouts, OffsetsFollowTheFlexibleFormat) {
  const VertexLayout module_layout = LayoutOf(0x212);
  ASSERT_TRUE(module_layout.valid);
  EXPECT_EQ(module_layout.size, 40u);
  EXPECT_EQ(module_layout.diffuse, -1);
  EXPECT_EQ(module_layout.set_count, 2u);
  EXPECT_EQ(module_layout.sets[0], 24u);
  EXPECT_EQ(module_layout.sets[1], 32u);

  const VertexLayout coloured = LayoutOf(D3DFVF_XYZ | D3DFVF_DIFFUSE | D3DFVF_TEX1);
  ASSERT_TRUE(coloured.valid);
  EXPECT_EQ(coloured.diffuse, 12);
  EXPECT_EQ(coloured.sets[0], 16u);
  EXPECT_EQ(coloured.size, 24u);

  EXPECT_TRUE(LayoutOf(D3DFVF_XYZ | 0x800).valid);  // eight sets: the most there are
  EXPECT_FALSE(LayoutOf(D3DFVF_XYZ | 0x900).valid);
  EXPECT_FALSE(LayoutOf(0x212 | 0x20).valid);        // point size
  EXPECT_FALSE(LayoutOf(0x212 | 0x30000).valid);     // a set that is not 2D
  EXPECT_FALSE(LayoutOf(D3DFVF_NORMAL).valid);       // no position
}

TEST(PrimitiveCounts, VerticesPerPrimitiveType) {
  EXPECT_EQ(VerticesFor(D3DPT_TRIANGLELIST, 2), 6u);
  EXPECT_EQ(VerticesFor(D3DPT_TRIANGLESTRIP, 2), 4u);
  EXPECT_EQ(VerticesFor(D3DPT_TRIANGLEFAN, 1), 3u);
  EXPECT_EQ(VerticesFor(D3DPT_LINESTRIP, 1), 2u);
  EXPECT_EQ(VerticesFor(D3DPT_TRIANGLELIST, 0), 0u);
  EXPECT_EQ(VerticesFor(D3DPRIMITIVETYPE(0), 5), 0u);
  EXPECT_EQ(VerticesFor(D3DPT_TRIANGLELIST, 0xFFFFFFFFu), 3ull * 0xFFFFFFFFull);  // no 32-bit wrap
}

}  // namespace
