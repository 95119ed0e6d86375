#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "objects/lightwave/so_lightwave_object.h"
#include "tests/lw_objects/lwo_fixtures.h"
#include "tests/support/temp_dir.h"
#include "tests/textures/memory_texture_manager.h"

using so3d::test::LwoWriter;
using so3d::test::SurfaceSpec;
using so3d::test::Vec3;

namespace {

class LightWaveObject : public ::testing::Test {
 protected:
  // Loads `w` into a new object; null when LoadObject fails.
  std::unique_ptr<soLightWaveObject> Load(const LwoWriter& w, std::int32_t handedness = so_handedness_left) {
    auto object = std::make_unique<soLightWaveObject>("object", textures.get());
    const std::string path = dir.Write("f" + std::to_string(++files) + ".lwo", w.bytes());
    return object->LoadObject(path.c_str(), handedness) ? std::move(object) : nullptr;
  }
  so3d::test::TempDir dir;
  so3d::test::MemoryManagerPtr textures = so3d::test::MakeMemoryManager();
  int files = 0;
};

// A square at z = 2 (points 0..3), a pentagon at z = 5 (4..8).
const std::vector<Vec3> kPoints = {{0, 0, 2}, {0, 1, 2}, {1, 1, 2}, {1, 0, 2}, {0, 0, 5},
                                   {0, 2, 5}, {1, 3, 5}, {2, 2, 5}, {2, 0, 5}};

// Vertex i of the surface is point order[i] of kPoints, z negated if `flip`.
void ExpectCorners(const so_surface& s, const std::vector<int>& order, bool flip) {
  ASSERT_EQ(s.vertex_count, static_cast<std::int32_t>(order.size()));
  ASSERT_EQ(s.normal_count, s.vertex_count);
  for (std::size_t i = 0; i < order.size(); ++i) {
    const Vec3& p = kPoints[static_cast<std::size_t>(order[i])];
    EXPECT_TRUE(s.vertices[i].x == p.x && s.vertices[i].y == p.y && s.vertices[i].z == (flip ? -p.z : p.z))
        << "vertex " << i;
    EXPECT_EQ(s.interleaved[i].position.z, s.vertices[i].z);
  }
}

}  // namespace

TEST_F(LightWaveObject, FansPolygonsInEitherWinding) {
  LwoWriter w;
  w.tags({"Plain"}).layer(0).points(kPoints).polygons({{0, 1, 2, 3}, {4, 5, 6, 7, 8}, {0, 1}, {2}});
  SurfaceTags(w, {0, 0, 0, 0});
  Surface(w, {.name = "Plain"});
  const auto left = Load(w);
  const auto right = Load(w, so_handedness_right);
  ASSERT_TRUE(left && right);
  ASSERT_EQ(left->SurfaceCount(), 1);
  EXPECT_EQ(left->SurfaceAt(1), nullptr);
  // The line and the point add nothing.
  ExpectCorners(*left->SurfaceAt(0), {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7, 4, 7, 8}, false);
  ExpectCorners(*right->SurfaceAt(0), {2, 1, 0, 3, 2, 0, 6, 5, 4, 7, 6, 4, 8, 7, 4}, true);
  // Normals travel with their corners and are mirrored in z too.
  const so_surface& l = *left->SurfaceAt(0);
  const so_surface& r = *right->SurfaceAt(0);
  EXPECT_NE(l.normals[0].z, 0.0f);
  for (int i = 0; i < 15; ++i) {
    const so_vector3& ln = l.normals[i];
    const so_vector3& rn = r.normals[i / 3 * 3 + 2 - i % 3];
    EXPECT_TRUE(rn.x == ln.x && rn.y == ln.y && rn.z == -ln.z) << "vertex " << i;
  }
}

TEST_F(LightWaveObject, LargePolygonsAndLayersMergeIntoTheirSurfaces) {
  std::vector<Vec3> ring;
  std::vector<std::uint32_t> fan;
  for (std::uint32_t i = 0; i < 40; ++i) {
    ring.push_back({static_cast<float>(i), static_cast<float>(i % 7), 0});
    fan.push_back(i);
  }
  LwoWriter w;  // layer 1: a 40-corner fan on A; layer 2: a triangle on B, a quad on A
  w.tags({"A", "B"}).layer(0).points(ring).polygons({fan});
  SurfaceTags(w, {0});
  w.layer(1).points({{0, 0, 9}, {0, 1, 9}, {1, 1, 9}, {1, 0, 9}}).polygons({{0, 1, 2}, {0, 1, 2, 3}});
  SurfaceTags(w, {1, 0});
  Surface(w, {.name = "A"});
  Surface(w, {.name = "B"});
  const auto object = Load(w);
  ASSERT_TRUE(object);
  const so_surface& a = *object->SurfaceAt(0);
  ASSERT_EQ(a.vertex_count, (38 + 2) * 3);
  EXPECT_EQ(a.vertices[37 * 3 + 2].x, 39.0f);  // the fan's last triangle, then layer 2's quad
  EXPECT_EQ(a.vertices[38 * 3].z, 9.0f);
  EXPECT_EQ(object->SurfaceAt(1)->vertex_count, 3);
}

TEST_F(LightWaveObject, MaterialsNamesAndSides) {
  const std::string long_name(70, 'n');
  LwoWriter w;
  w.tags({"Paint", long_name, "Front", "Back"}).layer(0).points(kPoints);
  w.polygons({{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}});
  SurfaceTags(w, {0, 1, 2, 3});
  Surface(w, {"Paint", {1.0f, 0.5f, 0.0f}, 0.8f, 0.25f, 0.6f, 0.4f, 3});
  Surface(w, {.name = long_name, .sidedness = 3});
  Surface(w, {.name = "Front", .sidedness = 1});
  Surface(w, {.name = "Back", .sidedness = 2});
  const auto object = Load(w);
  ASSERT_TRUE(object);
  const so_surface& s = *object->SurfaceAt(0);
  EXPECT_STREQ(s.name, "Paint");
  for (const so_rgba& c : {s.color, s.diffuse}) {
    EXPECT_TRUE(c.r == 0.8f && c.g == 0.4f && c.b == 0 && c.a == 0);
  }
  EXPECT_TRUE(s.ambient.r == 0.26666668f && s.ambient.g == 0.13333334f && s.ambient.b == 0 && s.ambient.a == 0);
  EXPECT_TRUE(s.specular.r == 0.6f && s.specular.b == 0.6f && s.specular.a == 0);
  EXPECT_TRUE(s.emissive.r == 0.25f && s.emissive.g == 0.125f && s.emissive.b == 0 && s.emissive.a == 0);
  EXPECT_EQ(s.power, 0.4f);
  EXPECT_EQ(s.texcoords, nullptr);  // neither a screen nor an image
  EXPECT_EQ(std::string(object->SurfaceAt(1)->name), long_name.substr(0, 63));
  const bool sides[] = {true, true, false, false};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(object->SurfaceAt(i)->double_sided, sides[i]) << i;

  LwoWriter untagged;  // one unnamed surface
  untagged.layer(0).points(kPoints).polygons({{0, 1, 2, 3}});
  const auto plain = Load(untagged);
  ASSERT_TRUE(plain && plain->SurfaceCount() == 1);
  EXPECT_STREQ(plain->SurfaceAt(0)->name, "");
}

TEST_F(LightWaveObject, TheFirstColourLayerChoosesTheImage) {
  LwoWriter w;
  w.tags({"Sorted", "Procedural", "Twice", "Missing", "Diffuse", "One"}).layer(0).points(kPoints);
  w.polygons({{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}, {4, 7, 8}, {0, 1, 2, 3}});
  SurfaceTags(w, {0, 1, 2, 3, 4, 5});
  Surface(w, {.name = "Sorted", .blocks = {{"\x90", 5}, {"\x70", 3}}});  // ordinal "\x70" first
  Surface(w, {.name = "Procedural", .blocks = {{"\x80", 0}, {"\x81", 3}}});
  Surface(w, {.name = "Twice", .blocks = {{"\x80", 5}}});
  Surface(w, {.name = "Missing", .blocks = {{"\x80", 9}}});
  Surface(w, {.name = "Diffuse", .blocks = {{"\x80", 3, "DIFF"}}});
  Surface(w, {.name = "One"});
  Clip(w, 3, "STIL", "three.png");
  Clip(w, 5, "STIL", "five-a.png");
  Clip(w, 7, "ISEQ", "seq");
  Clip(w, 5, "STIL", "five-b.png");
  Clip(w, 8, "STIL", "");
  const auto object = Load(w);
  ASSERT_TRUE(object);
  // Stills register in file order; the sequence and the nameless still do not.
  ASSERT_EQ(textures->TextureCount(), 3u);
  EXPECT_STREQ(textures->get_texture_entry(textures->TextureIDAt(2))->name.CString(), "five-b.png");
  const std::int32_t expected[] = {textures->TextureIDAt(0), 0, textures->TextureIDAt(2), 0, 0, 0};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(object->SurfaceAt(i)->texture_id, expected[i]) << i;

  // Coordinates for image and screen surfaces only, in the interleaved block
  // as well: the top-left of the bounds maps to (0, 0), bottom-left to v = 1.
  EXPECT_EQ(object->SurfaceAt(1)->texcoords, nullptr);
  const so_surface& image = *object->SurfaceAt(0);
  ASSERT_NE(image.texcoords, nullptr);
  EXPECT_TRUE(image.interleaved[1].uv0.u == 0 && image.interleaved[1].uv0.v == 0);
  const so_surface& screen = *object->SurfaceAt(5);
  ASSERT_NE(screen.texcoords, nullptr);
  EXPECT_EQ(screen.interleaved[0].uv0.v, 1.0f);
}

TEST_F(LightWaveObject, LoadsOnceAndCachesItsBox) {
  LwoWriter small;
  small.tags({"S"}).layer(0).points({{-1, 2, 3}, {4, -5, 6}, {0, 0, -7}}).polygons({{0, 1, 2}});
  const std::string small_path = dir.Write("small.lwo", small.bytes());
  LwoWriter other;
  other.layer(0).points(kPoints).polygons({{0, 1, 2, 3}});
  const std::string other_path = dir.Write("other.lwo", other.bytes());

  soLightWaveObject loaded("loaded", textures.get());
  ASSERT_TRUE(loaded.LoadObject(small_path.c_str(), so_handedness_left));
  const so_surface* first = loaded.SurfaceAt(0);
  EXPECT_TRUE(loaded.LoadObject(other_path.c_str(), so_handedness_right));
  EXPECT_TRUE(loaded.LoadObject("no such file.lwo", so_handedness_left));
  EXPECT_EQ(loaded.SurfaceAt(0), first);
  EXPECT_EQ(first->vertices[0].z, 3.0f);
  so_vector3 min{}, max{};
  loaded.GetBoundingBox(min, max);
  EXPECT_TRUE(min.x == -1 && min.y == -5 && min.z == -7 && max.x == 4 && max.y == 2 && max.z == 6);

  // A failed load leaves nothing; the box asked for then stays forever.
  soLightWaveObject failed("failed", textures.get());
  const std::string bytes = small.bytes();
  EXPECT_FALSE(failed.LoadObject("no such file.lwo", so_handedness_left));
  EXPECT_FALSE(failed.LoadObject(dir.Write("cut.lwo", bytes.substr(0, bytes.size() - 7)).c_str(), 0));
  EXPECT_EQ(failed.SurfaceCount(), 0);
  for (int pass = 0; pass < 2; ++pass) {
    failed.GetBoundingBox(min, max);
    EXPECT_TRUE(min.x == 1e6f && min.y == 1e6f && min.z == 1e6f);
    EXPECT_TRUE(max.x == -1e5f && max.y == -1e5f && max.z == -1e5f);
    ASSERT_TRUE(failed.LoadObject(small_path.c_str(), so_handedness_left));
  }
}
