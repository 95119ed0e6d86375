#pragma once
// A drawable over hand-built surfaces on the recording device, and host
// drawing functions that lend one decor texture.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "render/host_interfaces.h"
#include "render/so_d3d_drawable_object.h"
#include "tests/support/recording_device.h"
#include "textures/so_d3d_texture_manager.h"

namespace so3d::test {

// Surfaces with coordinates generated as loaded objects get them; counts
// its own destruction.
class SurfaceObject : public soObject {
 public:
  explicit SurfaceObject(int* deleted = nullptr) : soObject("test"), deleted_(deleted) {}
  ~SurfaceObject() override { if (deleted_) ++*deleted_; }
  std::int32_t SurfaceCount() const override { return std::int32_t(surfaces.size()); }
  so_surface* SurfaceAt(std::int32_t i) override {
    return i >= 0 && i < SurfaceCount() ? surfaces[std::size_t(i)].get() : nullptr;
  }
  // `quads` 2 x 1 rectangles side by side, each (bottom-left, top-left,
  // top-right), (bottom-left, top-right, bottom-right); `keep` cuts the list.
  so_surface& AddQuads(const char* name, int quads = 1, std::size_t keep = 0) {
    std::vector<so_vector3> v;
    for (float x = 0; x < 2.0f * float(quads); x += 2)
      v.insert(v.end(), {{x, 0, 0}, {x, 1, 0}, {x + 2, 1, 0}, {x, 0, 0}, {x + 2, 1, 0}, {x + 2, 0, 0}});
    if (keep) v.resize(keep);
    surfaces.push_back(so_make_surface());
    so_surface& s = *surfaces.back();
    so_surface_set_name(s, name);
    EXPECT_TRUE(so_surface_allocate_geometry(s, std::int32_t(v.size())));
    std::memcpy(s.vertices, v.data(), v.size() * sizeof(so_vector3));
    s.vertex_count = std::int32_t(v.size());
    generate_texture_coordinates(s, 1, 1, 0, 0, 0, 0, 0, 0);
    EXPECT_TRUE(so_surface_build_interleaved(s));
    return s;
  }
  std::vector<so_surface_ptr> surfaces;

 private:
  int* deleted_;
};

// Lends `texture` under handle 42 and notes, for each handle given back, how
// many device calls were logged by then.
class FakeDecor : public soXIOGLDrawingFunctions {
 public:
  std::int32_t QueryInterface(const char*, void** out) override { return *out = nullptr, -1; }
  std::int32_t AddRef() override { return ++refs; }
  std::int32_t Release() override { return --refs; }
  std::int32_t GetDecorTexture(std::int32_t id, IDirect3DTexture9** t, std::int32_t* h) override {
    requested.push_back(id);
    *t = texture;
    *h = 42;
    return result;
  }
  void ReleaseDecorTexture(std::int32_t h) override { returned.push_back({h, device->Calls().size()}); }

  RecordingDevice* device = nullptr;
  IDirect3DTexture9* texture = nullptr;
  std::int32_t result = 0, refs = 1;
  std::vector<std::int32_t> requested;
  std::vector<std::pair<std::int32_t, std::size_t>> returned;
};

class FakeFunctions : public soXIDrawingFunctions {
 public:
  explicit FakeFunctions(FakeDecor* decor) : decor_(decor) {}
  std::int32_t QueryInterface(const char* name, void** out) override {
    const bool ok = std::strcmp(name, "soXIOGLDrawingFunctions") == 0;
    if (ok) decor_->AddRef();
    *out = ok ? decor_ : nullptr;
    return ok ? 0 : -1;
  }
  std::int32_t AddRef() override { return 2; }
  std::int32_t Release() override { return 1; }

 private:
  FakeDecor* decor_;
};

struct ReleaseD3DTextures {
  void operator()(soD3DTextureManager* m) const { m->Release(); }
};

class DrawableTest : public ::testing::Test {
 protected:
  RecordingDevice device;
  std::unique_ptr<soD3DTextureManager, ReleaseD3DTextures> textures{new soD3DTextureManager(&device)};
  int deleted = 0;
  SurfaceObject* object = new SurfaceObject(&deleted);
  std::unique_ptr<soD3DDrawableObject> drawable = std::make_unique<soD3DDrawableObject>(object, textures.get());
  so_vectors vectors = so_default_vectors();
  so_object_data data{0, 0, 0, 1, 0};  // slot 1, screen 0

  void TearDown() override {
    drawable.reset();
    EXPECT_EQ(deleted, 1);
    textures.reset();
    EXPECT_EQ(device.LiveResources(), 0);
    EXPECT_EQ(device.Misuses(), std::vector<std::string>{});
  }
  so_drawing_state State(const zRecord* record = nullptr, soXIDrawingFunctions* functions = nullptr) {
    so_drawing_state s{};
    s.object_data = &data;
    s.opacity = 0.5f;
    s.drawing_functions = functions;
    s.record = record;
    s.vectors = &vectors;
    s.device = &device;
    return s;
  }
  void HandIn() {  // a host picture for slot 1 on screen 0
    textures->SetTexture(1, 0, device.MakeHostTexture(720, 480), soTextureManager::so_alpha_straight, 720, 480, 1, 1);
  }
  std::vector<so_uv> Uv(const char* buffer, bool stage1 = true) const {
    std::vector<so_uv> out;
    const RecordingVertexBuffer* vb = device.VertexBufferNamed(buffer);
    for (std::size_t i = 0; i < vb->Length() / 40; ++i)
      out.push_back(stage1 ? vb->At<so_interleaved_vertex>(i).uv1 : vb->At<so_interleaved_vertex>(i).uv0);
    return out;
  }
};

}  // namespace so3d::test

inline bool operator==(so_uv a, so_uv b) { return a.u == b.u && a.v == b.v; }
