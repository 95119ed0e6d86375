#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "fixtures/lwo_writer.h"
#include "objects/so_lightwave_object.h"
#include "tests/support/temp_dir.h"
#include "tests/textures/memory_texture_manager.h"

using so3d::fixtures::IffBytes;
using so3d::fixtures::LwoWriter;
using so3d::fixtures::Vec3;

namespace {

struct ImageBlock {  // a colour texture layer; clip 0 makes it procedural
  std::string ordinal;
  std::uint32_t clip = 0;
  std::string channel = "COLR";
};

struct SurfaceAttributes {
  std::string name;
  float color[3] = {1, 1, 1};
  float diffuse = 1, luminosity = 0, specular = 0, glossiness = 0.4f;
  std::uint16_t sidedness = 1;
  std::vector<ImageBlock> blocks = {};
};

void Surface(LwoWriter& w, const SurfaceAttributes& s) {
  w.surface(s.name, [&s](IffBytes& b) {
    b.sub("COLR", [&](IffBytes& c) { c.f4(s.color[0]).f4(s.color[1]).f4(s.color[2]).index(0); });
    for (const auto& [id, value] :
         {std::pair{"DIFF", s.diffuse}, {"LUMI", s.luminosity}, {"SPEC", s.specular}, {"GLOS", s.glossiness}})
      b.sub(id, [&](IffBytes& c) { c.f4(value).index(0); });
    b.sub("SIDE", [&](IffBytes& c) { c.u2(s.sidedness); });
    for (const ImageBlock& t : s.blocks) {
      b.sub("BLOK", [&t](IffBytes& k) {
        k.sub(t.clip ? "IMAP" : "PROC",
              [&t](IffBytes& h) { h.str(t.ordinal).sub("CHAN", [&t](IffBytes& c) { c.id(t.channel); }); });
        if (t.clip) k.sub("IMAG", [&t](IffBytes& c) { c.index(t.clip); });
      });
    }
  });
}

// A clip of `kind` STIL (file name) or ISEQ (prefix).
void Clip(LwoWriter& w, std::uint32_t index, std::string_view kind, std::string_view name) {
  w.chunk("CLIP", [&](IffBytes& b) {
    b.u4(index).sub(kind, [&](IffBytes& c) {
      if (kind == "ISEQ") c.u1(3).u1(0).u2(0).u2(1).u2(9);
      c.str(name);
      if (kind == "ISEQ") c.str(".png");
    });
  });
}

class LightWaveObject : public ::testing::Test {
 protected:
  std::string Write(const LwoWriter& w) { return dir.Write("f" + std::to_string(++files) + ".lwo", w.bytes()); }
  // Loads `w` into a new object; null when LoadObject fails.
  std::unique_ptr<soLightWaveObject> Load(const LwoWriter& w, std::int32_t handedness = so_handedness_left) {
    auto object = std::make_unique<soLightWaveObject>("object", textures.get());
    return object->LoadObject(Write(w).c_str(), handedness) ? std::move(object) : nullptr;
  }
  so3d::test::TempDir dir;
  so3d::test::MemoryManagerPtr textures = so3d::test::MakeMemoryManager();
  int files = 0;
};

// A square at z = 2 (points 0..3), a pentagon at z = 5 (4..8).
const std::vector<Vec3> kPoints = {{0, 0, 2}, {0, 1, 2}, {1, 1, 2}, {1, 0, 2}, {0, 0, 5},
                                   {0, 2, 5}, {1, 3, 5}, {2, 2, 5}, {2, 0, 5}};
const std::vector<Vec3> kLayer2 = {{0, 0, 9}, {0, 1, 9}, {1, 1, 9}};  // points 9..11 below

}  // namespace

TEST_F(LightWaveObject, FansPolygonsInEitherWindingAndMergesLayersPerSurface) {
  LwoWriter w;  // layer 1: a square, a pentagon, a line and a point; layer 2: one more triangle
  w.tags({"Plain"}).layer(0).points(kPoints).polygons({{0, 1, 2, 3}, {4, 5, 6, 7, 8}, {0, 1}, {2}});
  w.layer(1).points(kLayer2).polygons({{0, 1, 2}});
  const auto left = Load(w);
  const auto right = Load(w, so_handedness_right);
  ASSERT_TRUE(left && right && left->SurfaceCount() == 1);
  // Vertex i is point order[i], z negated on the right.
  const auto expect_corners = [](const so_surface& s, const std::vector<int>& order, float flip) {
    ASSERT_TRUE(s.vertex_count == std::int32_t(order.size()) && s.normal_count == s.vertex_count);
    for (std::size_t i = 0; i < order.size(); ++i) {
      const Vec3 p = order[i] < 9 ? kPoints[std::size_t(order[i])] : kLayer2[std::size_t(order[i] - 9)];
      EXPECT_TRUE(s.vertices[i].x == p.x && s.vertices[i].y == p.y && s.vertices[i].z == flip * p.z) << i;
      EXPECT_EQ(s.interleaved[i].position.z, s.vertices[i].z);
    }
  };
  expect_corners(*left->SurfaceAt(0), {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7, 4, 7, 8, 9, 10, 11}, 1);
  expect_corners(*right->SurfaceAt(0), {2, 1, 0, 3, 2, 0, 6, 5, 4, 7, 6, 4, 8, 7, 4, 11, 10, 9}, -1);
  // Normals travel with their corners and are mirrored in z too.
  const so_surface& l = *left->SurfaceAt(0);
  const so_surface& r = *right->SurfaceAt(0);
  EXPECT_NE(l.normals[0].z, 0.0f);
  for (int i = 0; i < 18; ++i) {
    const so_vector3& ln = l.normals[i];
    const so_vector3& rn = r.normals[i / 3 * 3 + 2 - i % 3];
    EXPECT_TRUE(rn.x == ln.x && rn.y == ln.y && rn.z == -ln.z) << "vertex " << i;
  }
}

TEST_F(LightWaveObject, MaterialsNamesAndSides) {
  const std::string long_name(70, 'n');
  LwoWriter w;
  w.tags({"Paint", long_name, "Front", "Back"}).layer(0).points(kPoints);
  w.polygons({{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}}).ptag("SURF", {{0, 0}, {1, 1}, {2, 2}, {3, 3}});
  Surface(w, {"Paint", {1.0f, 0.5f, 0.0f}, 0.8f, 0.25f, 0.6f, 0.4f, 3});
  Surface(w, {.name = long_name, .sidedness = 3});
  Surface(w, {.name = "Front", .sidedness = 1});
  Surface(w, {.name = "Back", .sidedness = 2});
  const auto object = Load(w);
  ASSERT_TRUE(object);
  const so_surface& s = *object->SurfaceAt(0);
  EXPECT_EQ(std::string(s.name), "Paint");
  std::vector<float> got{s.power};
  for (const so_rgba& c : {s.color, s.diffuse, s.ambient, s.specular, s.emissive})
    got.insert(got.end(), {c.r, c.g, c.b, c.a});
  EXPECT_EQ(got, (std::vector<float>{0.4f, 0.8f, 0.4f, 0,    0, 0.8f,  0.4f,   0, 0, 0.26666668f, 0.13333334f, 0,
                                     0,    0.6f, 0.6f, 0.6f, 0, 0.25f, 0.125f, 0, 0}));
  EXPECT_EQ(std::string(object->SurfaceAt(1)->name), long_name.substr(0, 63));
  for (int i = 0; i < 4; ++i) EXPECT_EQ(object->SurfaceAt(i)->double_sided, i < 2) << i;
}

TEST_F(LightWaveObject, TheFirstColourLayerChoosesTheImage) {
  LwoWriter w;
  w.tags({"Sorted", "Procedural", "Twice", "Missing", "One"}).layer(0).points(kPoints);
  w.polygons({{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}, {0, 1, 2, 3}});
  w.ptag("SURF", {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}});
  // Layers sort by ordinal, bytes compared unsigned, equal ones in file order.
  Surface(w, {.name = "Sorted", .blocks = {{"\x90", 5}, {"\x70", 3}, {"\x70", 5}}});
  Surface(w, {.name = "Procedural", .blocks = {{"\x80", 0}, {"\x81", 3}, {"\x70", 3, "DIFF"}}});
  Surface(w, {.name = "Twice", .blocks = {{"\x80", 3}, {"", 5}}});  // an empty ordinal first
  Surface(w, {.name = "Missing", .blocks = {{"\x80", 9}}});
  Surface(w, {.name = "One"});
  for (const auto& [index, kind, name] : {std::tuple{3u, "STIL", "three.png"},
                                          {5u, "STIL", "five-a.png"},
                                          {7u, "ISEQ", "seq"},
                                          {5u, "STIL", "five-b.png"},
                                          {8u, "STIL", ""}})
    Clip(w, index, kind, name);
  const auto object = Load(w);
  ASSERT_TRUE(object);
  // Stills register in file order; the sequence and the nameless still do not.
  ASSERT_EQ(textures->TextureCount(), 3u);
  EXPECT_STREQ(textures->get_texture_entry(textures->TextureIDAt(2))->name.CString(), "five-b.png");
  const std::int32_t expected[] = {textures->TextureIDAt(0), 0, textures->TextureIDAt(2), 0, 0};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(object->SurfaceAt(i)->texture_id, expected[i]) << i;
  // Coordinates for image and screen ("One") surfaces only; their values are the object tests' concern.
  for (int i = 0; i < 5; ++i) EXPECT_EQ(object->SurfaceAt(i)->texcoords != nullptr, expected[i] != 0 || i == 4) << i;
}

TEST_F(LightWaveObject, LoadsOnceAndCachesItsBoxAndAFailedLoadLeavesNothing) {
  LwoWriter small_object;
  small_object.tags({"S"}).layer(0).points({{-1, 2, 3}, {4, -5, 6}, {0, 0, -7}}).polygons({{0, 1, 2}});
  const std::string small = Write(small_object), bytes = small_object.bytes();
  const std::string other = Write(LwoWriter().layer(0).points(kPoints).polygons({{0, 1, 2, 3}}));
  soLightWaveObject loaded("loaded", textures.get());
  ASSERT_TRUE(loaded.LoadObject(small.c_str(), so_handedness_left));
  const so_surface* first = loaded.SurfaceAt(0);
  EXPECT_TRUE(loaded.LoadObject(other.c_str(), so_handedness_right));
  EXPECT_TRUE(loaded.LoadObject("no such file.lwo", so_handedness_left));
  EXPECT_TRUE(loaded.SurfaceAt(0) == first && first->vertices[0].z == 3.0f);
  so_vector3 min{}, max{};
  loaded.GetBoundingBox(min, max);
  EXPECT_TRUE(min.x == -1 && min.y == -5 && min.z == -7 && max.x == 4 && max.y == 2 && max.z == 6);

  // A failed load leaves nothing; the box asked for then stays forever.
  soLightWaveObject failed("failed", textures.get());
  EXPECT_FALSE(failed.LoadObject("no such file.lwo", so_handedness_left));
  EXPECT_FALSE(failed.LoadObject(dir.Write("cut.lwo", bytes.substr(0, bytes.size() - 7)).c_str(), 0));
  EXPECT_EQ(failed.SurfaceCount(), 0);
  for (int pass = 0; pass < 2; ++pass) {
    failed.GetBoundingBox(min, max);
    EXPECT_TRUE(min.x == 1e6f && min.y == 1e6f && min.z == 1e6f && max.x == -1e5f && max.y == -1e5f && max.z == -1e5f);
    ASSERT_TRUE(failed.LoadObject(small.c_str(), so_handedness_left));
  }
}
