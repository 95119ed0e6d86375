// soD3DDrawableObject on the recording device: buffers, the calls of one
// surface, the stage-1 mask and decor, and what it leaves out.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <string>
#include <vector>

#include "platform/d3dx/d3dx_math.h"
#include "platform/foundation/z_record.h"
#include "scene/so_object_settings.h"
#include "tests/d3d_objects/d3d_object_fixture.h"

namespace {

using namespace so3d::test;
using Log = std::vector<std::string>;
const std::vector<so_uv> square{{0, 1}, {0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}};

std::vector<float> Floats(const D3DMATRIX& m) { return {&m.m[0][0], &m.m[0][0] + 16}; }

// `world` with the stage-1 enlargement applied `times` times.
std::vector<float> Enlarged(D3DXMATRIX world, int times) {
  D3DXMATRIX s;
  D3DXMatrixScaling(&s, std::bit_cast<float>(0x3F811112u), std::bit_cast<float>(0x3F819999u), 1);
  while (times-- > 0) D3DXMatrixMultiply(&world, &s, &world);
  return Floats(world);
}

TEST_F(DrawableTest, BuffersAreMadeOncePerSurfaceUntilReleased) {
  for (const char* name : {"A", "B", "C"}) object->AddQuads(name);
  drawable->Draw(State());
  EXPECT_EQ(device.Log("CreateVertexBuffer"), Log(3, "CreateVertexBuffer(240, 8, 530, 1, null)"));
  EXPECT_EQ(0, std::memcmp(device.VertexBufferNamed("vb2")->Bytes().data(), object->surfaces[1]->interleaved, 240));
  device.ClearLog();
  drawable->Draw(State());
  EXPECT_EQ(device.Count("CreateVertexBuffer"), 0u);
  EXPECT_EQ(device.Log("DrawPrimitive"), Log(3, "DrawPrimitive(4, 0, 2)"));
  drawable->ReleaseDeviceDependentResources();
  EXPECT_EQ(device.LiveResources(), 0);
  drawable->Draw(State());
  EXPECT_EQ(device.Count("CreateVertexBuffer"), 3u);
}

TEST_F(DrawableTest, ScreenSurfaceWithRecordAndMask) {
  object->AddQuads("One");
  HandIn();                                        // tex1
  ASSERT_NE(textures->GetMaskTexture(), nullptr);  // tex2
  zRecord record;
  device.ClearLog();
  drawable->Draw(State(&record));
  // The coordinate cache starts empty, so the first draw rebuilds the buffer.
  EXPECT_EQ(device.Log(),
            (Log{"CreateVertexBuffer(240, 8, 530, 1, null)", "Lock(vb1, 0, 240, 0)", "Unlock(vb1)",
                 "SetTexture(0, tex1)", "SetTexture(1, tex2)", "GetTransform(256)", "SetTransform(256)", "SetMaterial()",
                 "SetRenderState(27, 1)", "SetRenderState(19, 5)", "SetRenderState(20, 6)", "Release(vb1)",
                 "CreateVertexBuffer(240, 8, 530, 1, null)", "Lock(vb2, 0, 240, 0)", "Unlock(vb2)",
                 "SetStreamSource(0, vb2, 0, 40)", "SetFVF(530)", "DrawPrimitive(4, 0, 2)", "SetTexture(1, null)",
                 "SetRenderState(27, 0)"}));
  const D3DMATERIAL9 m = *device.Material();
  EXPECT_EQ((std::vector<float>{m.Diffuse.a, m.Ambient.a, m.Emissive.a, m.Emissive.r, m.Specular.r, m.Power}),
            (std::vector<float>{0.5f, 0.5f, 0.5f, 1, 0, 0}));
  EXPECT_EQ(Uv("vb2"), square);         // survives the rebuild
  EXPECT_EQ(Uv("vb2", false), square);  // the quad's own projection agrees

  device.ClearLog();
  drawable->Draw(State(&record));
  EXPECT_EQ(device.Count("CreateVertexBuffer") + device.Count("Release"), 0u);
  vectors.crop = {36, 0, 0, 0};  // pixels of 720: a new crop rebuilds that buffer
  drawable->Draw(State(&record));
  EXPECT_EQ(device.Count("CreateVertexBuffer"), 1u);
  EXPECT_FLOAT_EQ(Uv("vb3", false)[0].u, 0.05f);
}

TEST_F(DrawableTest, EveryMaskedSurfaceEnlargesTheWorldAgain) {
  object->AddQuads("A");
  object->AddQuads("B");
  D3DXMATRIX world;
  device.SetTransform(D3DTS_WORLD, D3DXMatrixTranslation(&world, 1, 2, 3));
  zRecord record;
  drawable->Draw(State(&record));
  EXPECT_EQ(Floats(device.Transform(D3DTS_WORLD)), Enlarged(world, 2));
  EXPECT_EQ(device.Log("SetTexture"), (Log{"SetTexture(1, tex1)", "SetTexture(1, null)", "SetTexture(1, tex1)",
                                           "SetTexture(1, null)"}));
  // No record, or multitexturing off: stage 1 and the world stay.
  drawable->Draw(State());
  textures->SetMultitexturingEnabled(false);
  drawable->Draw(State(&record));
  EXPECT_EQ(Floats(device.Transform(D3DTS_WORLD)), Enlarged(world, 2));
}

TEST_F(DrawableTest, DecorTexturesComeFromTheHost) {
  object->AddQuads("A");
  zRecord record;
  record.SetInt32(so_id_border_decor, 7);
  FakeDecor decor;
  decor.device = &device;
  decor.texture = device.MakeHostTexture(64, 64);  // tex1
  FakeFunctions functions(&decor);
  D3DXMATRIX identity;
  D3DXMatrixIdentity(&identity);

  drawable->Draw(State(&record, &functions));
  EXPECT_EQ(decor.requested, std::vector<std::int32_t>{7});
  EXPECT_EQ(device.Log("SetTexture"), (Log{"SetTexture(1, tex1)", "SetTexture(1, null)"}));
  EXPECT_EQ(Floats(device.Transform(D3DTS_WORLD)), Enlarged(identity, 1));
  EXPECT_EQ(device.Count("CreateTexture"), 0u) << "no mask for a decor";
  ASSERT_EQ(decor.returned.size(), 1u);
  EXPECT_EQ(decor.returned[0].first, 42);
  const Log log = device.Log();
  const auto draw = std::find(log.begin(), log.end(), "DrawPrimitive(4, 0, 2)") - log.begin();
  EXPECT_LT(decor.returned[0].second, std::size_t(draw)) << "the handle goes back before the draw";

  // Refused, answered without a texture (the handle still goes back), or no
  // host interface at all: stage 1 and the world stay, the surface is drawn.
  struct Case { std::int32_t result; IDirect3DTexture9* texture; soXIDrawingFunctions* functions; std::size_t back; };
  for (const Case c : {Case{-1, decor.texture, &functions, 0}, Case{0, nullptr, &functions, 1},
                       Case{0, decor.texture, nullptr, 0}}) {
    decor.result = c.result;
    decor.texture = c.texture;
    decor.returned.clear();
    device.SetTransform(D3DTS_WORLD, &identity);
    device.ClearLog();
    drawable->Draw(State(&record, c.functions));
    EXPECT_EQ(device.Log("SetTexture").size() + decor.returned.size(), c.back);
    EXPECT_EQ(device.Count("DrawPrimitive"), 1u);
    EXPECT_EQ(decor.refs, 1);
    EXPECT_EQ(Floats(device.Transform(D3DTS_WORLD)), Floats(identity));
  }
}

TEST_F(DrawableTest, StageOneCoordinatesAndBufferSizesFollowTheReadableVertices) {
  so_surface& wide = object->AddQuads("Two", 2);  // 12 vertices
  object->AddQuads("B", 1, 3);
  object->AddQuads("C").vertex_count = 12;  // past its interleaved block: only the block is read
  drawable->Draw(State());
  EXPECT_EQ(device.Log("CreateVertexBuffer"), (Log{"CreateVertexBuffer(480, 8, 530, 1, null)",
                                                   "CreateVertexBuffer(120, 8, 530, 1, null)",
                                                   "CreateVertexBuffer(240, 8, 530, 1, null)"}));
  EXPECT_EQ(device.Log("DrawPrimitive"),
            (Log{"DrawPrimitive(4, 0, 4)", "DrawPrimitive(4, 0, 1)", "DrawPrimitive(4, 0, 2)"}));
  std::vector<so_uv> expected = square;
  for (std::size_t i = 6; i < 12; ++i) expected.push_back(wide.interleaved[i].uv0);
  EXPECT_EQ(Uv("vb1"), expected);
  EXPECT_EQ(expected.back().u, 1.0f);  // the far corner of the projection
  EXPECT_EQ(Uv("vb2"), std::vector<so_uv>(square.begin(), square.begin() + 3));
}

TEST_F(DrawableTest, WhatCannotBeShownIsLeftOut) {
  for (const char* name : {"One", "A", "B"}) object->AddQuads(name);
  so_drawing_state no_device = State();
  no_device.device = nullptr;
  drawable->Draw(no_device);
  EXPECT_EQ(device.Log(), Log{});
  // A screen surface without a picture is skipped, its buffer made anyway.
  drawable->Draw(State());
  EXPECT_EQ(device.Count("CreateVertexBuffer"), 3u);
  EXPECT_EQ(device.Log("SetStreamSource"), (Log{"SetStreamSource(0, vb2, 0, 40)", "SetStreamSource(0, vb3, 0, 40)"}));
  // A buffer the device refuses is not drawn; one it will not lock is drawn unfilled.
  drawable->ReleaseDeviceDependentResources();
  device.Fail("CreateVertexBuffer", 2);
  device.Fail("Lock", 1);
  device.ClearLog();
  drawable->Draw(State());
  EXPECT_EQ(device.Log("SetStreamSource"), Log{"SetStreamSource(0, vb4, 0, 40)"});
  EXPECT_EQ(device.VertexBufferNamed("vb4")->At<std::uint32_t>(0), RecordingDevice::unwritten);
}

}  // namespace
