#pragma once
// Shared pieces of the device tests: a device that skips the test when no
// context can be made, the module's drawing state, full-frame quads,
// textures, pixel access, and picture comparison that leaves actual,
// expected and difference pictures behind when it fails.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb/stb_image_write.h>

#include "backends/gles/gles_device.h"

namespace so3d::test {

struct ReleaseCom {
  void operator()(IUnknown* p) const { p->Release(); }
};
template <typename T>
using ComPtr = std::unique_ptr<T, ReleaseCom>;

// Declares `var`, a device of w × h, or skips the test when none can be made.
#define SO3D_REQUIRE_DEVICE(var, w, h)                            \
  std::string var##_why;                                          \
  so3d::gles::GlesDevice* var##_raw = nullptr;                    \
  so3d::gles::GlesDevice::Create({w, h}, &var##_raw, &var##_why); \
  ::so3d::test::ComPtr<so3d::gles::GlesDevice> var(var##_raw);    \
  if (!var) GTEST_SKIP() << "no OpenGL ES 3 context: " << var##_why

using Rgba = std::array<int, 4>;  // R, G, B, A

// A picture read back in R, G, B, A order.
struct Frame {
  unsigned width = 0, height = 0;
  std::vector<std::uint8_t> rgba;
  Rgba At(unsigned x, unsigned y) const {
    const std::uint8_t* p = rgba.data() + (std::size_t(y) * width + x) * 4;
    return {p[0], p[1], p[2], p[3]};
  }
};
inline Frame Read(gles::GlesDevice& device) {
  return {device.Width(), device.Height(), device.ReadPixels(gles::PixelOrder::rgba)};
}

// One vertex of FVF 0x212.
struct Vertex {
  float x, y, z, nx, ny, nz, u0, v0, u1, v1;
};

// Two triangles covering the whole frame at depth z, uv (0, 0) at the top
// left, wound clockwise on screen.
inline ComPtr<IDirect3DVertexBuffer9> FullQuad(IDirect3DDevice9& device, float z = 0.5f) {
  const Vertex tl{-1, 1, z, 0, 0, -1, 0, 0, 0, 0}, tr{1, 1, z, 0, 0, -1, 1, 0, 1, 0};
  const Vertex br{1, -1, z, 0, 0, -1, 1, 1, 1, 1}, bl{-1, -1, z, 0, 0, -1, 0, 1, 0, 1};
  const Vertex vertices[] = {tl, tr, br, tl, br, bl};
  IDirect3DVertexBuffer9* buffer = nullptr;
  void* data = nullptr;
  if (FAILED(device.CreateVertexBuffer(sizeof vertices, D3DUSAGE_WRITEONLY, 0x212, D3DPOOL_MANAGED, &buffer, nullptr)))
    return nullptr;
  if (SUCCEEDED(buffer->Lock(0, sizeof vertices, &data, 0))) std::memcpy(data, vertices, sizeof vertices);
  buffer->Unlock();
  return ComPtr<IDirect3DVertexBuffer9>(buffer);
}

// Draws `quad` (a fresh FullQuad(z) when null) inside BeginScene/EndScene.
inline HRESULT DrawQuad(IDirect3DDevice9& device, float z = 0.5f, IDirect3DVertexBuffer9* quad = nullptr) {
  const auto fresh = quad ? nullptr : FullQuad(device, z);  // the device holds it while bound
  device.SetStreamSource(0, quad ? quad : fresh.get(), 0, sizeof(Vertex));
  device.SetFVF(0x212);
  device.BeginScene();
  const HRESULT hr = device.DrawPrimitive(D3DPT_TRIANGLELIST, 0, 2);
  device.EndScene();
  return hr;
}

// An A8R8G8B8 texture whose texel (x, y) is fill(x, y) as 0xAARRGGBB.
inline ComPtr<IDirect3DTexture9> Texture(IDirect3DDevice9& device, unsigned w, unsigned h,
                                         const std::function<std::uint32_t(unsigned, unsigned)>& fill) {
  IDirect3DTexture9* texture = nullptr;
  D3DLOCKED_RECT locked{};
  if (FAILED(device.CreateTexture(w, h, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture, nullptr))) return nullptr;
  if (SUCCEEDED(texture->LockRect(0, &locked, nullptr, 0)))
    for (unsigned y = 0; y < h; ++y)
      for (unsigned x = 0; x < w; ++x)
        reinterpret_cast<std::uint32_t*>(static_cast<std::uint8_t*>(locked.pBits) + y * unsigned(locked.Pitch))[x] =
            fill(x, y);
  texture->UnlockRect(0);
  return ComPtr<IDirect3DTexture9>(texture);
}
// A 1 × 1 texture of one colour.
inline ComPtr<IDirect3DTexture9> Texture(IDirect3DDevice9& device, std::uint32_t argb) {
  return Texture(device, 1, 1, [argb](unsigned, unsigned) { return argb; });
}

// The state the module's renderer and drawables set for a screen surface:
// `texture` on stage 0 modulated by a white emissive material of `opacity`,
// stage 1 modulating, no culling, linear filtering, blending by source alpha.
inline void ModuleState(IDirect3DDevice9& d, IDirect3DBaseTexture9* texture, float opacity = 1) {
  D3DMATERIAL9 m{};
  m.Diffuse = m.Ambient = m.Emissive = {1, 1, 1, opacity};
  d.SetMaterial(&m);
  d.SetRenderState(D3DRS_CULLMODE, D3DCULL_NONE);
  d.SetSamplerState(0, D3DSAMP_MINFILTER, D3DTEXF_LINEAR);
  d.SetSamplerState(0, D3DSAMP_MAGFILTER, D3DTEXF_LINEAR);
  d.SetTextureStageState(0, D3DTSS_COLOROP, D3DTOP_MODULATE);
  d.SetTextureStageState(0, D3DTSS_COLORARG2, D3DTA_DIFFUSE);
  d.SetTextureStageState(0, D3DTSS_ALPHAOP, D3DTOP_MODULATE);
  d.SetTextureStageState(1, D3DTSS_COLOROP, D3DTOP_MODULATE);
  d.SetTextureStageState(1, D3DTSS_ALPHAOP, D3DTOP_MODULATE);
  d.SetRenderState(D3DRS_ALPHABLENDENABLE, TRUE);
  d.SetRenderState(D3DRS_SRCBLEND, D3DBLEND_SRCALPHA);
  d.SetRenderState(D3DRS_DESTBLEND, D3DBLEND_INVSRCALPHA);
  d.SetTexture(0, texture);
}

// Compares two pictures of one size within `tolerance` per channel,
// skipping pixels whose expected alpha is 0; on failure writes
// <name>-actual.png, -expected.png and -diff.png to the failure folder.
// Returns the number of pixels that differ.
inline std::size_t ComparePictures(const Frame& actual, const Frame& expected, int tolerance, const std::string& name) {
  Frame diff{actual.width, actual.height, std::vector<std::uint8_t>(actual.rgba.size(), 0)};
  std::size_t bad = 0;
  for (std::size_t i = 0; i < actual.rgba.size(); i += 4) {
    int worst = 0;
    for (std::size_t c = 0; c < 4 && expected.rgba[i + 3] != 0; ++c)
      worst = std::max(worst, std::abs(int(actual.rgba[i + c]) - int(expected.rgba[i + c])));
    diff.rgba[i] = std::uint8_t(std::min(255, worst * 4));  // red shows where, brighter is worse
    diff.rgba[i + 3] = 255;
    if (worst > tolerance) ++bad;
  }
  if (bad) {
    const std::filesystem::path dir = SO3D_GLES_FAILURE_DIR;
    std::filesystem::create_directories(dir);
    for (const auto& [suffix, f] :
         {std::pair{"-actual.png", &actual}, {"-expected.png", &expected}, {"-diff.png", &diff}})
      stbi_write_png((dir / (name + suffix)).string().c_str(), int(f->width), int(f->height), 4, f->rgba.data(),
                     int(f->width * 4));
  }
  return bad;
}

}  // namespace so3d::test
