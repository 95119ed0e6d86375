// soD3DDrawableObject on the recording device: buffers, the calls of one
// surface, the stage-1 mask and decor.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "platform/d3dx/d3dx_math.h"
#include "platform/foundation/z_record.h"
#include "render/host_interfaces.h"
#include "render/so_d3d_drawable_object.h"
#include "scene/so_object_settings.h"
#include "tests/support/recording_device.h"
#include "tests/textures/memory_texture_manager.h"
#include "textures/so_d3d_texture_manager.h"

namespace {

using namespace so3d::test;
using Log = std::vector<std::string>;

// Surfaces with coordinates generated as loaded objects get them; counts
// its own destruction.
class SurfaceObject : public soObject {
 public:
  explicit SurfaceObject(int& deleted) : soObject("test"), deleted_(deleted) {}
  ~SurfaceObject() override { ++deleted_; }
  std::int32_t SurfaceCount() const override { return std::int32_t(surfaces.size()); }
  so_surface* SurfaceAt(std::int32_t i) override {
    return i >= 0 && i < SurfaceCount() ? surfaces[std::size_t(i)].get() : nullptr;
  }
  // A 2 x 1 rectangle: (bottom-left, top-left, top-right), (bottom-left,
  // top-right, bottom-right).
  void AddQuad(const char* surface_name) {
    const so_vector3 v[] = {{0, 0, 0}, {0, 1, 0}, {2, 1, 0}, {0, 0, 0}, {2, 1, 0}, {2, 0, 0}};
    so_surface& s = *surfaces.emplace_back(so_make_surface());
    so_surface_set_name(s, surface_name);
    EXPECT_TRUE(so_surface_allocate_geometry(s, 6));
    std::memcpy(s.vertices, v, sizeof v);
    s.vertex_count = 6;
    generate_texture_coordinates(s, 1, 1, 0, 0, 0, 0, 0, 0);
    EXPECT_TRUE(so_surface_build_interleaved(s));
  }
  std::vector<so_surface_ptr> surfaces;
  int& deleted_;
};

// Lends `texture` under handle 42 to whoever asks it for the decor interface,
// and notes each handle given back with the device call logged last by then.
class FakeDecor : public soXIDrawingFunctions, public soXIOGLDrawingFunctions {
 public:
  std::int32_t QueryInterface(const char* name, void** out) override {
    *out = std::strcmp(name, "soXIOGLDrawingFunctions") == 0 ? static_cast<soXIOGLDrawingFunctions*>(this) : nullptr;
    return *out ? (AddRef(), 0) : -1;
  }
  std::int32_t AddRef() override { return ++refs; }
  std::int32_t Release() override { return --refs; }
  std::int32_t GetDecorTexture(std::int32_t id, IDirect3DTexture9** t, std::int32_t* h) override {
    requested.push_back(id);
    *t = texture;
    *h = 42;
    return result;
  }
  void ReleaseDecorTexture(std::int32_t h) override {
    returned.push_back(std::to_string(h) + " after " + device->Log().back());
  }
  RecordingDevice* device = nullptr;
  IDirect3DTexture9* texture = nullptr;
  std::int32_t result = 0, refs = 1;
  std::vector<std::int32_t> requested;
  Log returned;
};

class DrawableTest : public ::testing::Test {
 protected:
  RecordingDevice device;
  std::unique_ptr<soD3DTextureManager, ReleaseManager> textures{new soD3DTextureManager(&device)};
  int deleted = 0;
  SurfaceObject* object = new SurfaceObject(deleted);
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
    std::tie(s.object_data, s.opacity, s.drawing_functions, s.record, s.vectors, s.device) =
        std::tuple(&data, 0.5f, functions, record, &vectors, &device);
    return s;
  }
};

std::vector<float> Floats(const D3DMATRIX& m) { return {&m.m[0][0], &m.m[0][0] + 16}; }

// `world` with the stage-1 enlargement applied `times` times.
std::vector<float> Enlarged(D3DXMATRIX world, int times) {
  D3DXMATRIX s;
  D3DXMatrixScaling(&s, std::bit_cast<float>(0x3F811112u), std::bit_cast<float>(0x3F819999u), 1);
  while (times-- > 0) D3DXMatrixMultiply(&world, &s, &world);
  return Floats(world);
}

// Texture coordinates of stage 1 (or 0) in `buffer`, flattened.
std::vector<float> Uv(const RecordingDevice& device, const char* buffer, bool stage1 = true) {
  std::vector<float> out;
  const RecordingVertexBuffer* vb = device.VertexBufferNamed(buffer);
  for (std::size_t i = 0; i < vb->Length() / 40; ++i) {
    const so_uv uv = stage1 ? vb->At<so_interleaved_vertex>(i).uv1 : vb->At<so_interleaved_vertex>(i).uv0;
    out.insert(out.end(), {uv.u, uv.v});
  }
  return out;
}

TEST_F(DrawableTest, BuffersAreMadeOncePerSurfaceUntilReleased) {
  for (const char* name : {"A", "B", "C"}) object->AddQuad(name);
  drawable->Draw(State());
  EXPECT_EQ(device.Log("CreateVertexBuffer"), Log(3, "CreateVertexBuffer(240, 8, 530, 1, null)"));
  EXPECT_EQ(0, std::memcmp(device.VertexBufferNamed("vb2")->Bytes().data(), object->surfaces[1]->interleaved, 240));
  device.ClearLog();
  drawable->Draw(State());
  EXPECT_EQ(std::tuple(device.Count("CreateVertexBuffer"), device.Log("DrawPrimitive")),
            std::tuple(0u, Log(3, "DrawPrimitive(4, 0, 2)")));
  drawable->ReleaseDeviceDependentResources();
  EXPECT_EQ(device.LiveResources(), 0);
  drawable->Draw(State());
  EXPECT_EQ(device.Count("CreateVertexBuffer"), 3u);
}

TEST_F(DrawableTest, ScreenSurfaceWithRecordAndMask) {
  object->AddQuad("One");
  textures->SetTexture(1, 0, device.MakeHostTexture(720, 480), soTextureManager::so_alpha_straight, 720, 480, 1, 1);
  ASSERT_NE(textures->GetMaskTexture(), nullptr);  // tex2
  zRecord record;
  device.ClearLog();
  drawable->Draw(State(&record));
  // The coordinate cache starts empty, so the first draw rebuilds the buffer after setting the state.
  const Log log = device.Log();
  ASSERT_EQ(log.size(), 20u);
  EXPECT_EQ(Log(log.begin(), log.begin() + 11),
            (Log{"CreateVertexBuffer(240, 8, 530, 1, null)", "Lock(vb1, 0, 240, 0)", "Unlock(vb1)",
                 "SetTexture(0, tex1)", "SetTexture(1, tex2)", "GetTransform(256)", "SetTransform(256)",
                 "SetMaterial()", "SetRenderState(27, 1)", "SetRenderState(19, 5)", "SetRenderState(20, 6)"}));
  EXPECT_EQ(Log(log.begin() + 11, log.end()),
            (Log{"Release(vb1)", "CreateVertexBuffer(240, 8, 530, 1, null)", "Lock(vb2, 0, 240, 0)", "Unlock(vb2)",
                 "SetStreamSource(0, vb2, 0, 40)", "SetFVF(530)", "DrawPrimitive(4, 0, 2)", "SetTexture(1, null)",
                 "SetRenderState(27, 0)"}));
  const D3DMATERIAL9 m = *device.Material();
  EXPECT_EQ((std::vector<float>{m.Diffuse.a, m.Ambient.a, m.Emissive.a, m.Emissive.r, m.Specular.r, m.Power}),
            (std::vector<float>{0.5f, 0.5f, 0.5f, 1, 0, 0}));
  const std::vector<float> square{0, 1, 0, 0, 1, 0, 0, 1, 1, 0, 1, 1};
  EXPECT_EQ(Uv(device, "vb2"), square);         // survives the rebuild
  EXPECT_EQ(Uv(device, "vb2", false), square);  // the quad's own projection agrees

  device.ClearLog();
  drawable->Draw(State(&record));
  EXPECT_EQ(device.Count("CreateVertexBuffer") + device.Count("Release"), 0u);
  vectors.crop = {36, 0, 0, 0};  // pixels of 720: a new crop rebuilds that buffer
  drawable->Draw(State(&record));
  EXPECT_EQ(device.Count("CreateVertexBuffer"), 1u);
  EXPECT_FLOAT_EQ(Uv(device, "vb3", false)[0], 0.05f);
}

TEST_F(DrawableTest, EveryMaskedSurfaceEnlargesTheWorldAgain) {
  object->AddQuad("A");
  object->AddQuad("B");
  D3DXMATRIX world;
  device.SetTransform(D3DTS_WORLD, D3DXMatrixTranslation(&world, 1, 2, 3));
  zRecord record;
  drawable->Draw(State(&record));
  EXPECT_EQ(Floats(device.Transform(D3DTS_WORLD)), Enlarged(world, 2));
  EXPECT_EQ(device.Log("SetTexture"),
            (Log{"SetTexture(1, tex1)", "SetTexture(1, null)", "SetTexture(1, tex1)", "SetTexture(1, null)"}));
  // No record, or multitexturing off: stage 1 and the world stay.
  drawable->Draw(State());
  textures->SetMultitexturingEnabled(false);
  drawable->Draw(State(&record));
  EXPECT_EQ(Floats(device.Transform(D3DTS_WORLD)), Enlarged(world, 2));
}

TEST_F(DrawableTest, DecorTexturesComeFromTheHost) {
  object->AddQuad("A");
  zRecord record;
  record.SetInt32(so_id_border_decor, 7);
  FakeDecor decor;
  decor.device = &device;
  decor.texture = device.MakeHostTexture(64, 64);  // tex1
  D3DXMATRIX identity;
  D3DXMatrixIdentity(&identity);
  drawable->Draw(State(&record, &decor));
  // No mask is made for a decor; the handle goes back once the world is enlarged.
  EXPECT_EQ(device.Log("SetTexture"), (Log{"SetTexture(1, tex1)", "SetTexture(1, null)"}));
  EXPECT_EQ(device.Count("CreateTexture"), 0u);
  EXPECT_EQ(std::tuple(decor.requested, decor.returned, decor.refs),
            std::tuple(std::vector<std::int32_t>{7}, Log{"42 after SetTransform(256)"}, 1));
  EXPECT_EQ(Floats(device.Transform(D3DTS_WORLD)), Enlarged(identity, 1));

  // Refused, or "found" with no texture: stage 1 and the world stay, no handle
  // goes back, the surface is drawn.
  for (const auto& [result, texture] : {std::pair{-1, decor.texture}, std::pair{0, (IDirect3DTexture9*)nullptr}}) {
    decor.result = result;
    decor.texture = texture;
    decor.returned.clear();
    device.SetTransform(D3DTS_WORLD, &identity);
    device.ClearLog();
    drawable->Draw(State(&record, &decor));
    EXPECT_EQ(device.Log("SetTexture").size() + decor.returned.size(), 0u) << result;
    EXPECT_EQ(device.Count("DrawPrimitive"), 1u);
    EXPECT_EQ(decor.refs, 1);
    EXPECT_EQ(Floats(device.Transform(D3DTS_WORLD)), Floats(identity));
  }
}

}  // namespace
