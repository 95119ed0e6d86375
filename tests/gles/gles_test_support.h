#pragma once
// Shared pieces of the device tests: a device that skips the test when no
// context can be made, quads in clip space, pixel access, and picture
// comparison that leaves actual, expected and difference pictures behind
// when it fails.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "backends/gles/gles_device.h"

namespace so3d::test {

struct ReleaseCom {
  void operator()(IUnknown* p) const {
    if (p) p->Release();
  }
};
template <typename T>
using ComPtr = std::unique_ptr<T, ReleaseCom>;

// A device of w × h, or null with the reason in `why`.
ComPtr<gles::GlesDevice> MakeDevice(unsigned w, unsigned h, std::string* why);

// Skips the test when there is no device.
#define SO3D_REQUIRE_DEVICE(var, w, h)                               \
  std::string var##_why;                                             \
  auto var = ::so3d::test::MakeDevice(w, h, &var##_why);             \
  if (!var) GTEST_SKIP() << "no OpenGL ES 3 context: " << var##_why

struct Rgba {
  int r, g, b, a;
  bool operator==(const Rgba&) const = default;
};
std::ostream& operator<<(std::ostream& os, const Rgba& c);

// A picture read back in R, G, B, A order.
struct Frame {
  unsigned width = 0, height = 0;
  std::vector<std::uint8_t> rgba;
  Rgba At(unsigned x, unsigned y) const;
};
Frame Read(gles::GlesDevice& device);
bool Near(const Rgba& a, const Rgba& b, int tolerance);

// One vertex of FVF 0x212.
struct Vertex {
  float x, y, z, nx, ny, nz, u0, v0, u1, v1;
};
// Two triangles over the clip-space rectangle [x0, x1] × [y0, y1] at depth
// z, uv (0, 0) at the top left, wound clockwise on screen.
std::vector<Vertex> Quad(float x0, float y0, float x1, float y1, float z = 0.5f);
// A vertex buffer on `device` holding `vertices`.
ComPtr<IDirect3DVertexBuffer9> Buffer(IDirect3DDevice9& device, const std::vector<Vertex>& vertices);
// An A8R8G8B8 texture whose texel (x, y) is fill(x, y) as 0xAARRGGBB.
template <typename Fill>
ComPtr<IDirect3DTexture9> Texture(IDirect3DDevice9& device, unsigned w, unsigned h, Fill fill);
// Binds `buffer` and draws all its triangles inside BeginScene/EndScene.
HRESULT DrawTriangles(IDirect3DDevice9& device, IDirect3DVertexBuffer9* buffer, unsigned triangles);

// Compares within `tolerance` per channel; on failure writes
// <name>-actual.png, -expected.png and -diff.png to the failure folder and
// returns the number of pixels that differ.
std::size_t ComparePictures(const Frame& actual, const Frame& expected, int tolerance, const std::string& name);
bool WritePng(const std::string& path, const Frame& frame);

template <typename Fill>
ComPtr<IDirect3DTexture9> Texture(IDirect3DDevice9& device, unsigned w, unsigned h, Fill fill) {
  IDirect3DTexture9* texture = nullptr;
  if (FAILED(device.CreateTexture(w, h, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture, nullptr))) return nullptr;
  D3DLOCKED_RECT locked{};
  if (SUCCEEDED(texture->LockRect(0, &locked, nullptr, 0))) {
    for (unsigned y = 0; y < h; ++y) {
      auto* row = reinterpret_cast<std::uint32_t*>(static_cast<std::uint8_t*>(locked.pBits) + y * unsigned(locked.Pitch));
      for (unsigned x = 0; x < w; ++x) row[x] = fill(x, y);
    }
    texture->UnlockRect(0);
  }
  return ComPtr<IDirect3DTexture9>(texture);
}

}  // namespace so3d::test
