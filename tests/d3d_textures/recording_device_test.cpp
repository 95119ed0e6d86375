// The recording device's own bounds and misuse checks, on which the
// drawing tests rely to catch overruns and use after release.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/recording_device.h"

using namespace so3d::test;

TEST(RecordingDevice, LocksStayInsideTheirResourceAndMisuseIsCaught) {
  RecordingDevice device;
  IDirect3DVertexBuffer9* vb = nullptr;
  ASSERT_EQ(device.CreateVertexBuffer(64, 0, 0, D3DPOOL_MANAGED, &vb, nullptr), D3D_OK);
  void* data = nullptr;
  EXPECT_EQ(vb->Lock(60, 5, &data, 0), D3DERR_INVALIDCALL);
  ASSERT_EQ(vb->Lock(32, 32, &data, 0), D3D_OK);
  EXPECT_EQ(vb->Lock(0, 0, &data, 0), D3DERR_INVALIDCALL) << "locked twice";
  static_cast<std::uint8_t*>(data)[31] = 7;
  vb->Unlock();
  EXPECT_EQ(device.VertexBufferNamed("vb1")->Bytes()[63], 7);
  vb->Release();

  IDirect3DTexture9* texture = nullptr;
  device.Fail("CreateTexture", 1);
  EXPECT_EQ(device.CreateTexture(4, 2, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture, nullptr), E_FAIL);
  ASSERT_EQ(device.CreateTexture(4, 2, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture, nullptr), D3D_OK);
  D3DLOCKED_RECT locked{};
  const RECT outside{2, 0, 5, 2}, inside{1, 1, 4, 2};
  EXPECT_EQ(texture->LockRect(0, &locked, &outside, 0), D3DERR_INVALIDCALL);
  EXPECT_EQ(texture->LockRect(1, &locked, nullptr, 0), D3DERR_INVALIDCALL);
  ASSERT_EQ(texture->LockRect(0, &locked, &inside, 0), D3D_OK);
  EXPECT_GT(locked.Pitch, 16) << "rows are padded";
  const std::uint32_t texel = 0x11223344;
  std::memcpy(locked.pBits, &texel, 4);
  texture->UnlockRect(0);
  EXPECT_EQ(static_cast<RecordingTexture*>(texture)->Texel(1, 1), texel);
  EXPECT_EQ(static_cast<RecordingTexture*>(texture)->Texel(0, 0), RecordingDevice::unwritten);
  texture->Release();
  EXPECT_EQ(device.LiveResources(), 0);
  EXPECT_TRUE(device.Misuses().empty());

  texture->UnlockRect(0);
  device.SetTexture(0, texture);
  texture->Release();
  // The unlock counts twice: on a released texture, and without a lock.
  EXPECT_EQ(device.Misuses().size(), 4u);
}
