#include "tests/gles/gles_test_support.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <ostream>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb/stb_image_write.h>

namespace so3d::test {

ComPtr<gles::GlesDevice> MakeDevice(unsigned w, unsigned h, std::string* why) {
  gles::GlesDevice* device = nullptr;
  if (FAILED(gles::GlesDevice::Create({w, h}, &device, why))) return nullptr;
  return ComPtr<gles::GlesDevice>(device);
}

std::ostream& operator<<(std::ostream& os, const Rgba& c) {
  return os << "(" << c.r << ", " << c.g << ", " << c.b << ", " << c.a << ")";
}

Rgba Frame::At(unsigned x, unsigned y) const {
  const std::uint8_t* p = rgba.data() + (std::size_t(y) * width + x) * 4;
  return {p[0], p[1], p[2], p[3]};
}

Frame Read(gles::GlesDevice& device) {
  Frame f{device.Width(), device.Height(), device.ReadPixels(gles::PixelOrder::rgba)};
  return f;
}

bool Near(const Rgba& a, const Rgba& b, int tolerance) {
  return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance && std::abs(a.b - b.b) <= tolerance &&
         std::abs(a.a - b.a) <= tolerance;
}

std::vector<Vertex> Quad(float x0, float y0, float x1, float y1, float z) {
  // Top left, top right, bottom right, bottom left: clockwise with y up.
  const Vertex tl{x0, y1, z, 0, 0, -1, 0, 0, 0, 0}, tr{x1, y1, z, 0, 0, -1, 1, 0, 1, 0};
  const Vertex br{x1, y0, z, 0, 0, -1, 1, 1, 1, 1}, bl{x0, y0, z, 0, 0, -1, 0, 1, 0, 1};
  return {tl, tr, br, tl, br, bl};
}

ComPtr<IDirect3DVertexBuffer9> Buffer(IDirect3DDevice9& device, const std::vector<Vertex>& vertices) {
  const UINT length = UINT(vertices.size() * sizeof(Vertex));
  IDirect3DVertexBuffer9* buffer = nullptr;
  if (FAILED(device.CreateVertexBuffer(length, D3DUSAGE_WRITEONLY, 0x212, D3DPOOL_MANAGED, &buffer, nullptr)))
    return nullptr;
  void* data = nullptr;
  if (SUCCEEDED(buffer->Lock(0, length, &data, 0))) {
    std::memcpy(data, vertices.data(), length);
    buffer->Unlock();
  }
  return ComPtr<IDirect3DVertexBuffer9>(buffer);
}

HRESULT DrawTriangles(IDirect3DDevice9& device, IDirect3DVertexBuffer9* buffer, unsigned triangles) {
  device.SetStreamSource(0, buffer, 0, sizeof(Vertex));
  device.SetFVF(0x212);
  device.BeginScene();
  const HRESULT hr = device.DrawPrimitive(D3DPT_TRIANGLELIST, 0, triangles);
  device.EndScene();
  return hr;
}

bool WritePng(const std::string& path, const Frame& frame) {
  return stbi_write_png(path.c_str(), int(frame.width), int(frame.height), 4, frame.rgba.data(),
                        int(frame.width * 4)) != 0;
}

std::size_t ComparePictures(const Frame& actual, const Frame& expected, int tolerance, const std::string& name) {
  if (actual.width != expected.width || actual.height != expected.height || actual.rgba.size() != expected.rgba.size())
    return std::max<std::size_t>(1, expected.rgba.size() / 4);
  Frame diff{actual.width, actual.height, std::vector<std::uint8_t>(actual.rgba.size(), 0)};
  std::size_t bad = 0;
  for (std::size_t i = 0; i < actual.rgba.size(); i += 4) {
    int worst = 0;
    for (std::size_t c = 0; c < 4; ++c) worst = std::max(worst, std::abs(int(actual.rgba[i + c]) - int(expected.rgba[i + c])));
    diff.rgba[i] = std::uint8_t(std::min(255, worst * 4));  // red shows where, brighter is worse
    diff.rgba[i + 3] = 255;
    if (worst > tolerance) ++bad;
  }
  if (bad) {
    const std::filesystem::path dir = SO3D_GLES_FAILURE_DIR;
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    WritePng((dir / (name + "-actual.png")).string(), actual);
    WritePng((dir / (name + "-expected.png")).string(), expected);
    WritePng((dir / (name + "-diff.png")).string(), diff);
  }
  return bad;
}

}  // namespace so3d::test
