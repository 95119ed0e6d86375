// The device on a real GL context: what reaches the pixels, and the
// Direct3D contracts of its calls (bounds, references, scenes).
#include <gtest/gtest.h>

#include "tests/gles/gles_test_support.h"

namespace {

using namespace so3d::test;
using so3d::gles::PixelOrder;

constexpr std::uint32_t red = 0xFFFF0000, green = 0xFF00FF00, blue = 0xFF0000FF, white = 0xFFFFFFFF;

// Stage 0 shows the texture as it is: the state the module sets up, with a
// white emissive material.
void ShowTextureUnlit(IDirect3DDevice9& d) {
  D3DMATERIAL9 m{};
  m.Diffuse = m.Emissive = {1, 1, 1, 1};
  d.SetMaterial(&m);
  d.SetRenderState(D3DRS_CULLMODE, D3DCULL_NONE);
  d.SetTextureStageState(0, D3DTSS_COLOROP, D3DTOP_MODULATE);
  d.SetTextureStageState(0, D3DTSS_COLORARG1, D3DTA_TEXTURE);
  d.SetTextureStageState(0, D3DTSS_COLORARG2, D3DTA_DIFFUSE);
  d.SetTextureStageState(0, D3DTSS_ALPHAOP, D3DTOP_MODULATE);
}

TEST(GlesDevice, ClearReadsBackInBothByteOrdersAndRectsCountFromTheTop) {
  SO3D_REQUIRE_DEVICE(device, 8, 4);
  ASSERT_EQ(device->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, D3DCOLOR_ARGB(255, 10, 20, 30), 1, 0), D3D_OK);
  const std::vector<std::uint8_t> bgra = device->ReadPixels(PixelOrder::bgra);
  const std::vector<std::uint8_t> rgba = device->ReadPixels(PixelOrder::rgba);
  ASSERT_EQ(bgra.size(), 8u * 4 * 4);
  EXPECT_EQ((std::vector<int>{bgra[0], bgra[1], bgra[2], bgra[3]}), (std::vector<int>{30, 20, 10, 255}));
  EXPECT_EQ((std::vector<int>{rgba[0], rgba[1], rgba[2], rgba[3]}), (std::vector<int>{10, 20, 30, 255}));

  const D3DRECT top_left{0, 0, 4, 2};
  ASSERT_EQ(device->Clear(1, &top_left, D3DCLEAR_TARGET, red, 1, 0), D3D_OK);
  const Frame f = Read(*device);
  EXPECT_EQ(f.At(0, 0), (Rgba{255, 0, 0, 255}));
  EXPECT_EQ(f.At(3, 1), (Rgba{255, 0, 0, 255}));
  EXPECT_EQ(f.At(4, 0), (Rgba{10, 20, 30, 255}));
  EXPECT_EQ(f.At(0, 2), (Rgba{10, 20, 30, 255}));

  EXPECT_EQ(device->Clear(1, nullptr, D3DCLEAR_TARGET, 0, 1, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->Clear(0, nullptr, D3DCLEAR_ZBUFFER, 0, 1.5f, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->Clear(0, nullptr, 0, 0, 1, 0), D3DERR_INVALIDCALL);
}

TEST(GlesDevice, TextureRowsAndChannelsLandUpright) {
  SO3D_REQUIRE_DEVICE(device, 64, 64);
  // Quadrants: red top left, green top right, blue bottom left, white bottom right.
  auto texture = Texture(*device, 2, 2, [](unsigned x, unsigned y) {
    const std::uint32_t c[2][2] = {{red, green}, {blue, white}};
    return c[y][x];
  });
  ASSERT_TRUE(texture);
  ShowTextureUnlit(*device);
  device->SetTexture(0, texture.get());
  auto quad = Buffer(*device, Quad(-1, -1, 1, 1));
  device->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, 0, 1, 0);
  ASSERT_EQ(DrawTriangles(*device, quad.get(), 2), D3D_OK);
  const Frame f = Read(*device);
  EXPECT_EQ(f.At(8, 8), (Rgba{255, 0, 0, 255}));
  EXPECT_EQ(f.At(56, 8), (Rgba{0, 255, 0, 255}));
  EXPECT_EQ(f.At(8, 56), (Rgba{0, 0, 255, 255}));
  EXPECT_EQ(f.At(56, 56), (Rgba{255, 255, 255, 255}));
}

TEST(GlesDevice, PixelCentresSitOnIntegersAsInDirect3D) {
  // A full-frame quad over a texture of the frame's size samples each
  // pixel at the left edge of its texel: with linear filtering pixel 1
  // mixes texels 0 and 1 half and half. GL's own centres would give texel 1.
  SO3D_REQUIRE_DEVICE(device, 4, 1);
  auto texture = Texture(*device, 4, 1, [](unsigned x, unsigned) { return x == 0 ? 0xFF000000u : 0xFFC8C8C8u; });
  ShowTextureUnlit(*device);
  device->SetTexture(0, texture.get());
  device->SetSamplerState(0, D3DSAMP_MINFILTER, D3DTEXF_LINEAR);
  device->SetSamplerState(0, D3DSAMP_MAGFILTER, D3DTEXF_LINEAR);
  device->SetSamplerState(0, D3DSAMP_ADDRESSU, D3DTADDRESS_CLAMP);
  auto quad = Buffer(*device, Quad(-1, -1, 1, 1));
  ASSERT_EQ(DrawTriangles(*device, quad.get(), 2), D3D_OK);
  const Frame f = Read(*device);
  EXPECT_EQ(f.At(0, 0).r, 0);
  EXPECT_NEAR(f.At(1, 0).r, 100, 2);
  EXPECT_EQ(f.At(2, 0).r, 200);
}

TEST(GlesDevice, CullModesNameTheOnScreenWindingThatIsDropped) {
  SO3D_REQUIRE_DEVICE(device, 16, 16);
  ShowTextureUnlit(*device);
  auto quad = Buffer(*device, Quad(-1, -1, 1, 1));  // clockwise on screen
  for (auto [mode, drawn] : {std::pair{D3DCULL_NONE, true}, {D3DCULL_CCW, true}, {D3DCULL_CW, false}}) {
    device->Clear(0, nullptr, D3DCLEAR_TARGET, 0xFF000000, 1, 0);
    device->SetRenderState(D3DRS_CULLMODE, mode);
    ASSERT_EQ(DrawTriangles(*device, quad.get(), 2), D3D_OK);
    // No texture on stage 0 reads white: a drawn quad is the white material.
    EXPECT_EQ(Read(*device).At(8, 8).g, drawn ? 255 : 0) << "cull mode " << mode;
  }
}

TEST(GlesDevice, DepthRunsFromZeroToOneAndNearerWins) {
  SO3D_REQUIRE_DEVICE(device, 16, 16);
  ShowTextureUnlit(*device);
  auto green_tex = Texture(*device, 1, 1, [](unsigned, unsigned) { return green; });
  auto red_tex = Texture(*device, 1, 1, [](unsigned, unsigned) { return red; });
  auto near_quad = Buffer(*device, Quad(-1, -1, 1, 1, 0.25f));
  auto far_quad = Buffer(*device, Quad(-1, -1, 1, 1, 0.75f));
  device->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, 0xFF000000, 1, 0);
  device->SetTexture(0, green_tex.get());
  DrawTriangles(*device, near_quad.get(), 2);
  device->SetTexture(0, red_tex.get());
  DrawTriangles(*device, far_quad.get(), 2);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 255, 0, 255}));

  // In front of the near plane (z < 0) nothing is drawn; GL's own range
  // would still have kept it.
  auto behind = Buffer(*device, Quad(-1, -1, 1, 1, -0.5f));
  device->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, 0xFF000000, 1, 0);
  DrawTriangles(*device, behind.get(), 2);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 0, 0, 255}));
}

TEST(GlesDevice, HalfOpacityBlendsOverTheBackground) {
  SO3D_REQUIRE_DEVICE(device, 16, 16);
  ShowTextureUnlit(*device);
  D3DMATERIAL9 m{};
  m.Diffuse = m.Emissive = m.Ambient = {1, 1, 1, 0.5f};
  device->SetMaterial(&m);
  auto texture = Texture(*device, 1, 1, [](unsigned, unsigned) { return white; });
  device->SetTexture(0, texture.get());
  device->SetRenderState(D3DRS_ALPHABLENDENABLE, TRUE);
  device->SetRenderState(D3DRS_SRCBLEND, D3DBLEND_SRCALPHA);
  device->SetRenderState(D3DRS_DESTBLEND, D3DBLEND_INVSRCALPHA);
  auto quad = Buffer(*device, Quad(-1, -1, 1, 1));
  device->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, 0xFF000000, 1, 0);
  DrawTriangles(*device, quad.get(), 2);
  EXPECT_TRUE(Near(Read(*device).At(8, 8), {128, 128, 128, 191}, 2)) << Read(*device).At(8, 8);
}

TEST(GlesDevice, SecondStageModulatesAndPassesThroughWithoutATexture) {
  SO3D_REQUIRE_DEVICE(device, 16, 16);
  ShowTextureUnlit(*device);
  auto base = Texture(*device, 1, 1, [](unsigned, unsigned) { return 0xFFC0C0C0u; });
  auto tint = Texture(*device, 1, 1, [](unsigned, unsigned) { return 0xFF00FF00u; });
  device->SetTexture(0, base.get());
  device->SetTextureStageState(1, D3DTSS_COLOROP, D3DTOP_MODULATE);
  device->SetTextureStageState(1, D3DTSS_COLORARG1, D3DTA_TEXTURE);
  device->SetTextureStageState(1, D3DTSS_COLORARG2, D3DTA_CURRENT);
  device->SetTextureStageState(1, D3DTSS_ALPHAOP, D3DTOP_MODULATE);
  auto quad = Buffer(*device, Quad(-1, -1, 1, 1));
  DrawTriangles(*device, quad.get(), 2);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{192, 192, 192, 255}));
  device->SetTexture(1, tint.get());
  DrawTriangles(*device, quad.get(), 2);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 192, 0, 255}));
  device->SetTextureStageState(0, D3DTSS_COLOROP, D3DTOP_SELECTARG2);  // the material alone
  DrawTriangles(*device, quad.get(), 2);
  EXPECT_EQ(Read(*device).At(8, 8), (Rgba{0, 255, 0, 255}));
}

TEST(GlesDevice, LockRangesStopExactlyAtTheEnd) {
  SO3D_REQUIRE_DEVICE(device, 4, 4);
  IDirect3DVertexBuffer9* raw = nullptr;
  ASSERT_EQ(device->CreateVertexBuffer(64, 0, 0x212, D3DPOOL_MANAGED, &raw, nullptr), D3D_OK);
  ComPtr<IDirect3DVertexBuffer9> buffer(raw);
  void* data = nullptr;
  EXPECT_EQ(buffer->Lock(0, 65, &data, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(buffer->Lock(60, 5, &data, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(buffer->Lock(65, 0, &data, 0), D3DERR_INVALIDCALL);
  ASSERT_EQ(buffer->Lock(60, 4, &data, 0), D3D_OK);
  EXPECT_EQ(buffer->Lock(0, 0, &data, 0), D3DERR_INVALIDCALL);  // already locked
  EXPECT_EQ(buffer->Unlock(), D3D_OK);
  EXPECT_EQ(buffer->Unlock(), D3DERR_INVALIDCALL);

  IDirect3DTexture9* rawt = nullptr;
  ASSERT_EQ(device->CreateTexture(8, 4, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &rawt, nullptr), D3D_OK);
  ComPtr<IDirect3DTexture9> texture(rawt);
  D3DLOCKED_RECT locked{};
  const RECT past{0, 0, 9, 4}, inside{7, 3, 8, 4}, empty{2, 2, 2, 3};
  EXPECT_EQ(texture->LockRect(0, &locked, &past, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(texture->LockRect(0, &locked, &empty, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(texture->LockRect(1, &locked, nullptr, 0), D3DERR_INVALIDCALL);
  ASSERT_EQ(texture->LockRect(0, &locked, &inside, 0), D3D_OK);
  EXPECT_EQ(locked.Pitch, 32);
  EXPECT_EQ(texture->UnlockRect(0), D3D_OK);

  IDirect3DTexture9* none = nullptr;
  EXPECT_EQ(device->CreateTexture(0, 4, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &none, nullptr), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->CreateTexture(4, 4, 1, 0, D3DFMT_UNKNOWN, D3DPOOL_MANAGED, &none, nullptr), D3DERR_INVALIDCALL);
  EXPECT_EQ(none, nullptr);
}

TEST(GlesDevice, DrawsMustFitTheBufferAndSitInsideAScene) {
  SO3D_REQUIRE_DEVICE(device, 4, 4);
  auto quad = Buffer(*device, Quad(-1, -1, 1, 1));  // six vertices
  device->SetStreamSource(0, quad.get(), 0, sizeof(Vertex));
  device->SetFVF(0x212);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 0, 2), D3DERR_INVALIDCALL);  // no BeginScene
  ASSERT_EQ(device->BeginScene(), D3D_OK);
  EXPECT_EQ(device->BeginScene(), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 0, 2), D3D_OK);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 3, 1), D3D_OK);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 4, 1), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 0, 3), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLESTRIP, 0, 4), D3D_OK);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLESTRIP, 0, 5), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 0xFFFFFFFFu, 1), D3DERR_INVALIDCALL);
  device->SetStreamSource(0, quad.get(), 4, sizeof(Vertex));  // the offset eats into the last vertex
  EXPECT_EQ(device->DrawPrimitive(D3DPT_TRIANGLELIST, 0, 2), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->EndScene(), D3D_OK);
  EXPECT_EQ(device->EndScene(), D3DERR_INVALIDCALL);
}

TEST(GlesDevice, BindingsHoldReferencesUntilReplaced) {
  SO3D_REQUIRE_DEVICE(device, 4, 4);
  IDirect3DTexture9* texture = nullptr;
  ASSERT_EQ(device->CreateTexture(2, 2, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture, nullptr), D3D_OK);
  ASSERT_EQ(device->SetTexture(0, texture), D3D_OK);
  ASSERT_EQ(device->SetTexture(0, texture), D3D_OK);  // the same again takes no second reference
  EXPECT_EQ(texture->AddRef(), 3u);
  EXPECT_EQ(texture->Release(), 2u);
  EXPECT_EQ(texture->Release(), 1u);  // the creator's reference is gone; the device keeps it alive
  ASSERT_EQ(device->SetTexture(0, nullptr), D3D_OK);  // and now it is deleted (ASan would see a leak)

  auto buffer = Buffer(*device, Quad(-1, -1, 1, 1));
  device->SetStreamSource(0, buffer.get(), 0, sizeof(Vertex));
  EXPECT_EQ(buffer->AddRef(), 3u);
  buffer->Release();
  // The device lets go of what it still holds when it goes.
  device.reset();
  EXPECT_EQ(buffer->AddRef(), 2u);
  buffer->Release();
}

TEST(GlesDevice, RejectsWhatItCannotEmulate) {
  SO3D_REQUIRE_DEVICE(device, 4, 4);
  EXPECT_EQ(device->SetRenderState(D3DRENDERSTATETYPE(200), 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->SetRenderState(D3DRS_CULLMODE, 4), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->SetRenderState(D3DRS_SRCBLEND, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->SetTextureStageState(0, D3DTSS_COLOROP, 7), D3DERR_INVALIDCALL);  // ADD
  EXPECT_EQ(device->SetTextureStageState(2, D3DTSS_COLOROP, D3DTOP_DISABLE), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->SetTextureStageState(0, D3DTSS_COLORARG1, 0x12), D3DERR_INVALIDCALL);  // a modifier
  EXPECT_EQ(device->SetSamplerState(0, D3DSAMP_ADDRESSU, 5), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->SetFVF(0x004 | D3DFVF_TEX1), D3DERR_INVALIDCALL);  // pre-transformed positions
  EXPECT_EQ(device->SetTransform(D3DTRANSFORMSTATETYPE(1), nullptr), D3DERR_INVALIDCALL);
  EXPECT_EQ(device->SetStreamSource(1, nullptr, 0, 0), D3DERR_INVALIDCALL);
  // Whatever was refused left the stored state alone.
  EXPECT_EQ(device->State().render[D3DRS_CULLMODE], DWORD(D3DCULL_CCW));
  EXPECT_EQ(device->State().stages[0][D3DTSS_COLOROP], DWORD(D3DTOP_MODULATE));
}

}  // namespace
