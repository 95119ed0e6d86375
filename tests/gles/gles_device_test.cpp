// The device on a real GL context: what reaches the pixels, the Direct3D
// contracts of its calls (bounds, references, scenes), what its state cache
// sends to GL, and the clip transform as numbers. Texture rows and channels
// landing upright are checked through whole pictures (library, video).
#include <gtest/gtest.h>

#include "backends/gles/clip_transform.h"
#include "tests/gles/gles_test_support.h"

namespace {

using namespace so3d::test;
using namespace so3d::gles;

constexpr std::uint32_t red = 0xFFFF0000, green = 0xFF00FF00, blue = 0xFF0000FF;
constexpr DWORD target_and_depth = D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER;

TEST(GlesDevice, ClearReadsBackInBothByteOrdersAndRectsCountFromTheTop) {
  SO3D_REQUIRE_DEVICE(device, 8, 4);
  ASSERT_EQ(device->Clear(0, nullptr, target_and_depth, D3DCOLOR_ARGB(255, 10, 20, 30), 1, 0), D3D_OK);
  const std::vector<std::uint8_t> bgra = device->ReadPixels(PixelOrder::bgra);
  ASSERT_EQ(bgra.size(), 8u * 4 * 4);
  EXPECT_EQ((Rgba{bgra[0], bgra[1], bgra[2], bgra[3]}), (Rgba{30, 20, 10, 255}));
  const D3DRECT top_left{0, 0, 4, 2};
  ASSERT_EQ(device->Clear(1, &top_left, D3DCLEAR_TARGET, red, 1, 0), D3D_OK);
  const Frame f = Read(*device);
  EXPECT_EQ((std::vector{f.At(3, 1), f.At(4, 0), f.At(0, 2)}),
            (std::vector<Rgba>{{255, 0, 0, 255}, {10, 20, 30, 255}, {10, 20, 30, 255}}));
  EXPECT_EQ(device->Clear(1, nullptr, D3DCLEAR_TARGET, 0, 1, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->Clear(0, nullptr, D3DCLEAR_ZBUFFER, 0, 1.5f, 0), D3DERR_INVALIDCALL);
}

TEST(GlesDevice, DepthRunsFromZeroToOneAndNearerWins) {
  SO3D_REQUIRE_DEVICE(device, 16, 16);
  auto green_tex = Texture(*device, green), red_tex = Texture(*device, red);
  ModuleState(*device, green_tex.get());
  device->Clear(0, nullptr, target_and_depth, 0xFF000000, 1, 0);
  DrawQuad(*device, 0.25f);
  device->SetTexture(0, red_tex.get());
  DrawQuad(*device, 0.75f);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 255, 0, 255}));

  // In front of the near plane (z < 0) nothing is drawn; GL's own range
  // would still have kept it.
  device->Clear(0, nullptr, target_and_depth, 0xFF000000, 1, 0);
  DrawQuad(*device, -0.5f);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 0, 0, 255}));

  // Clear writes depth whatever ZWRITEENABLE says; the next draw must turn
  // writing off again, or the near red quad would hide the far green one.
  device->SetRenderState(D3DRS_ZWRITEENABLE, FALSE);
  DrawQuad(*device, 0.25f);
  device->Clear(0, nullptr, target_and_depth, 0xFF000000, 1, 0);
  DrawQuad(*device, 0.25f);
  device->SetTexture(0, green_tex.get());
  DrawQuad(*device, 0.75f);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 255, 0, 255}));
}

TEST(GlesDevice, StagesModulateAndHalfOpacityBlendsOverTheBackground) {
  SO3D_REQUIRE_DEVICE(device, 16, 16);
  auto base = Texture(*device, 0xFFC0C0C0u), tint = Texture(*device, green);
  ModuleState(*device, base.get());
  DrawQuad(*device);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{192, 192, 192, 255}));  // stage 1 passes through without a texture
  device->SetTexture(1, tint.get());
  DrawQuad(*device);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 192, 0, 255}));
  device->SetTextureStageState(0, D3DTSS_COLOROP, D3DTOP_SELECTARG2);  // the material alone
  DrawQuad(*device);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 255, 0, 255}));

  ModuleState(*device, base.get(), 0.5f);
  device->SetTexture(1, nullptr);
  device->Clear(0, nullptr, target_and_depth, 0xFF000000, 1, 0);
  DrawQuad(*device);
  const Rgba pixel = Read(*device).At(8, 8), want{96, 96, 96, 191};
  for (std::size_t c = 0; c < 4; ++c) EXPECT_NEAR(pixel[c], want[c], 2) << "channel " << c;
}

TEST(GlesDevice, LocksAndDrawsStopExactlyAtTheEndAndDrawsSitInsideAScene) {
  SO3D_REQUIRE_DEVICE(device, 4, 4);
  auto quad = FullQuad(*device);  // six vertices, 240 bytes
  void* data = nullptr;
  EXPECT_EQ(quad->Lock(236, 5, &data, 0), D3DERR_INVALIDCALL);
  ASSERT_EQ(quad->Lock(236, 4, &data, 0), D3D_OK);
  EXPECT_EQ(quad->Lock(0, 0, &data, 0), D3DERR_INVALIDCALL);  // already locked
  EXPECT_TRUE(quad->Unlock() == D3D_OK && quad->Unlock() == D3DERR_INVALIDCALL);

  auto texture = Texture(*device, 8, 4, [](unsigned, unsigned) { return 0u; });
  D3DLOCKED_RECT locked{};
  const RECT past{0, 0, 9, 4}, last{7, 3, 8, 4};
  EXPECT_EQ(texture->LockRect(0, &locked, &past, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(texture->LockRect(1, &locked, nullptr, 0), D3DERR_INVALIDCALL);
  ASSERT_EQ(texture->LockRect(0, &locked, &last, 0), D3D_OK);
  EXPECT_EQ(locked.Pitch, 32);
  EXPECT_EQ(texture->UnlockRect(0), D3D_OK);

  device->SetStreamSource(0, quad.get(), 0, sizeof(Vertex));
  device->SetFVF(0x212);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 0, 2), D3DERR_INVALIDCALL);  // no BeginScene
  ASSERT_EQ(device->BeginScene(), D3D_OK);
  EXPECT_EQ(device->BeginScene(), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 3, 1), D3D_OK);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 4, 1), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 0xFFFFFFFFu, 1), D3DERR_INVALIDCALL);  // no 32-bit wrap
  device->SetStreamSource(0, quad.get(), 4, sizeof(Vertex));  // the offset eats into the last vertex
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 0, 2), D3DERR_INVALIDCALL);
  EXPECT_TRUE(device->EndScene() == D3D_OK && device->EndScene() == D3DERR_INVALIDCALL);
}

TEST(GlesDevice, BindingsHoldReferencesUntilReplaced) {
  SO3D_REQUIRE_DEVICE(device, 4, 4);
  IDirect3DTexture9* texture = nullptr;
  ASSERT_EQ(device->CreateTexture(2, 2, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture, nullptr), D3D_OK);
  ASSERT_EQ(device->SetTexture(0, texture), D3D_OK);
  ASSERT_EQ(device->SetTexture(0, texture), D3D_OK);  // the same again takes no second reference
  EXPECT_TRUE(texture->AddRef() == 3u && texture->Release() == 2u);
  EXPECT_EQ(texture->Release(), 1u);                  // the creator's reference is gone; the device keeps it alive
  ASSERT_EQ(device->SetTexture(0, nullptr), D3D_OK);  // and now it is deleted (ASan would see a leak)

  auto buffer = FullQuad(*device);
  device->SetStreamSource(0, buffer.get(), 0, sizeof(Vertex));
  EXPECT_EQ(buffer->AddRef(), 3u);
  buffer->Release();
  device.reset();  // the device lets go of what it still holds when it goes
  EXPECT_EQ(buffer->AddRef(), 2u);
  buffer->Release();
}

TEST(GlesDevice, RejectsWhatItCannotEmulateAndKeepsItsState) {
  SO3D_REQUIRE_DEVICE(device, 4, 4);
  EXPECT_EQ(device->SetRenderState(D3DRENDERSTATETYPE(200), 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->SetRenderState(D3DRS_CULLMODE, 4), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->SetTextureStageState(0, D3DTSS_COLOROP, 7), D3DERR_INVALIDCALL);  // ADD
  EXPECT_EQ(device->SetFVF(0x004 | D3DFVF_TEX1), D3DERR_INVALIDCALL);                 // pre-transformed positions
  EXPECT_TRUE(device->State().render[D3DRS_CULLMODE] == D3DCULL_CCW &&
              device->State().stages[0][D3DTSS_COLOROP] == D3DTOP_MODULATE);
}

TEST(GlesStateCache, RepeatedStateIsDroppedButUploadsDoNotStealTheBoundTexture) {
  SO3D_REQUIRE_DEVICE(device, 16, 16);
  auto shown = Texture(*device, blue);
  auto quad = FullQuad(*device);
  std::vector<GlCallCounts> counts;
  for (float opacity : {1.0f, 1.0f, 0.5f}) {
    device->ResetCounts();
    ModuleState(*device, shown.get(), opacity);
    ASSERT_EQ(DrawQuad(*device, 0, quad.get()), D3D_OK);
    counts.push_back(device->Counts());
  }
  // The same values again are compared and dropped; a changed material sends
  // only its three colours, which carry the opacity.
  EXPECT_EQ(std::tuple(counts[1].StateCalls(), counts[1].draws, counts[1].uploads, counts[2].uniforms,
                       counts[2].StateCalls()),
            std::tuple(0u, 1u, 0u, 3u, 3u));

  // Unlocking another texture binds it on unit 0 to upload; the next draw
  // must still sample the texture the device holds on stage 0.
  auto other = Texture(*device, red);
  ModuleState(*device, shown.get());
  DrawQuad(*device, 0, quad.get());
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 0, 255, 255}));
}

// Row-vector point p × m, divided by w.
std::array<float, 3> Project(const std::array<float, 16>& m, float x, float y, float z) {
  float out[4];
  for (std::size_t c = 0; c < 4; ++c) out[c] = x * m[c] + y * m[4 + c] + z * m[8 + c] + m[12 + c];
  return {out[0] / out[3], out[1] / out[3], out[2] / out[3]};
}

TEST(ClipTransform, MapsDirect3DDepthAndPixelCentresToGlAfterWorldThenView) {
  D3DMATRIX identity{}, projection{};
  identity._11 = identity._22 = identity._33 = identity._44 = 1;
  // A left-handed perspective, near 1, far 3: z' = 1.5 z - 1.5 over w = z.
  projection._11 = projection._22 = projection._34 = 1;
  projection._33 = 1.5f;
  projection._43 = -1.5f;
  const auto m = ClipMatrix(identity, identity, projection, 100, 50);
  const auto near_point = Project(m, 0, 0, 1);
  EXPECT_NEAR(near_point[2], -1.0f, 1e-6f);
  EXPECT_NEAR(Project(m, 0, 0, 3)[2], 1.0f, 1e-6f);
  // 63/128 of a pixel right and down (a pixel is 2/W of the -1..1 range).
  EXPECT_NEAR(near_point[0], 2.0f / 100 * 63 / 128, 1e-6f);
  EXPECT_NEAR(near_point[1], -2.0f / 50 * 63 / 128, 1e-6f);

  D3DMATRIX move = identity, scale = identity;
  move._41 = 1;   // x + 1
  scale._11 = 2;  // x × 2
  EXPECT_NEAR(Project(ClipMatrix(move, scale, identity, 0, 0), 1, 0, 0.5f)[0], 4.0f, 1e-6f);
}

}  // namespace
