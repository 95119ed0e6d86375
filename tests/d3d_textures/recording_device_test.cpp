// The recording device itself: the drawing tests rely on its log, its state
// and its bounds checks.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/recording_device.h"

using namespace so3d::test;

TEST(RecordingDevice, LogsCallsInOrderAndKeepsTheStateTheySet) {
  RecordingDevice device;
  IDirect3DVertexBuffer9* vb = nullptr;
  ASSERT_EQ(device.CreateVertexBuffer(80, D3DUSAGE_WRITEONLY, 0x212, D3DPOOL_MANAGED, &vb, nullptr), D3D_OK);
  D3DMATRIX world{};
  world._11 = 2;
  world._44 = 1;
  device.SetTransform(D3DTS_WORLD, &world);
  D3DMATRIX read{};
  device.GetTransform(D3DTS_WORLD, &read);
  device.GetTransform(D3DTS_VIEW, &read);
  D3DMATERIAL9 material{};
  material.Diffuse.a = 0.25f;
  device.SetMaterial(&material);
  device.SetRenderState(D3DRS_ALPHABLENDENABLE, TRUE);
  device.SetTexture(1, nullptr);
  device.SetStreamSource(0, vb, 0, 40);
  device.DrawPrimitive(D3DPT_TRIANGLELIST, 0, 2);
  vb->Release();
  EXPECT_EQ(device.Log(), (std::vector<std::string>{
                              "CreateVertexBuffer(80, 8, 530, 1, null)", "SetTransform(256)", "GetTransform(256)",
                              "GetTransform(2)", "SetMaterial()", "SetRenderState(27, 1)", "SetTexture(1, null)",
                              "SetStreamSource(0, vb1, 0, 40)", "DrawPrimitive(4, 0, 2)", "Release(vb1)"}));
  EXPECT_EQ(device.Calls("GetTransform")[0].matrix->_11, 2.0f);
  EXPECT_EQ(read._11, 1.0f) << "transforms start as the identity";
  EXPECT_EQ(device.Material()->Diffuse.a, 0.25f);
  EXPECT_EQ(device.RenderState(D3DRS_ALPHABLENDENABLE), TRUE);
  EXPECT_FALSE(device.RenderState(D3DRS_SRCBLEND).has_value());
  EXPECT_EQ(device.StreamStride(), 40u);
  EXPECT_EQ(device.LiveResources(), 0);
  EXPECT_TRUE(device.Misuses().empty());
}

TEST(RecordingDevice, LocksStayInsideTheirResource) {
  RecordingDevice device;
  IDirect3DVertexBuffer9* vb = nullptr;
  ASSERT_EQ(device.CreateVertexBuffer(64, 0, 0, D3DPOOL_MANAGED, &vb, nullptr), D3D_OK);
  void* data = nullptr;
  EXPECT_EQ(vb->Lock(0, 65, &data, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(vb->Lock(65, 0, &data, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(vb->Lock(60, 5, &data, 0), D3DERR_INVALIDCALL);
  ASSERT_EQ(vb->Lock(32, 32, &data, 0), D3D_OK);
  EXPECT_EQ(vb->Lock(0, 0, &data, 0), D3DERR_INVALIDCALL) << "locked twice";
  static_cast<std::uint8_t*>(data)[31] = 7;
  vb->Unlock();
  EXPECT_EQ(device.VertexBufferNamed("vb1")->Bytes()[63], 7);
  vb->Release();

  IDirect3DTexture9* texture = nullptr;
  ASSERT_EQ(device.CreateTexture(4, 2, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture, nullptr), D3D_OK);
  D3DLOCKED_RECT locked{};
  const RECT outside{2, 0, 5, 2};
  EXPECT_EQ(texture->LockRect(0, &locked, &outside, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(texture->LockRect(1, &locked, nullptr, 0), D3DERR_INVALIDCALL);
  const RECT inside{1, 1, 4, 2};
  ASSERT_EQ(texture->LockRect(0, &locked, &inside, 0), D3D_OK);
  EXPECT_GT(locked.Pitch, 16) << "rows are padded";
  const std::uint32_t texel = 0x11223344;
  std::memcpy(locked.pBits, &texel, 4);
  texture->UnlockRect(0);
  EXPECT_EQ(static_cast<RecordingTexture*>(texture)->Texel(1, 1), texel);
  EXPECT_EQ(static_cast<RecordingTexture*>(texture)->Texel(0, 0), RecordingDevice::unwritten);
  texture->Release();
  EXPECT_TRUE(device.Misuses().empty());
}

TEST(RecordingDevice, FailuresOnDemandAndMisuseOfReleasedResources) {
  RecordingDevice device;
  IDirect3DTexture9* texture = nullptr;
  device.Fail("CreateTexture", 2);
  for (int i = 0; i < 2; ++i)
    EXPECT_EQ(device.CreateTexture(4, 4, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture, nullptr), E_FAIL);
  EXPECT_EQ(texture, nullptr);
  ASSERT_EQ(device.CreateTexture(4, 4, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture, nullptr), D3D_OK);
  device.Fail("LockRect");
  D3DLOCKED_RECT locked{};
  EXPECT_EQ(texture->LockRect(0, &locked, nullptr, 0), E_FAIL);
  EXPECT_EQ(texture->LockRect(0, &locked, nullptr, 0), E_FAIL);
  device.Succeed("LockRect");
  EXPECT_EQ(texture->LockRect(0, &locked, nullptr, 0), D3D_OK);
  texture->UnlockRect(0);
  EXPECT_EQ(device.LiveResources(), 1);
  texture->Release();
  EXPECT_EQ(device.LiveResources(), 0);
  EXPECT_TRUE(device.Misuses().empty());

  texture->UnlockRect(0);
  device.SetTexture(0, texture);
  texture->Release();
  // The unlock counts twice: on a released texture, and without a lock.
  EXPECT_EQ(device.Misuses().size(), 4u);
}
