// Objects of the older form (LWOB): geometry, old-style surfaces with their
// textures, clips, envelopes and shaders, and malformed files.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "objects/lightwave/so_lwo_older.h"
#include "tests/lightwave/lwo_test_util.h"

namespace so3d::test {
namespace {

const auto Sub = [](std::string_view four, Body data) -> Body { return [=](IffBytes& b) { b.sub(four, data); }; };
const auto Str = [](std::string_view four, std::string_view s) { return Sub(four, [=](IffBytes& d) { d.str(s); }); };
const auto U2 = [](std::string_view four, std::uint16_t v) { return Sub(four, [=](IffBytes& d) { d.u2(v); }); };
Body F4(std::string_view four, std::vector<float> v) {
  return Sub(four, [=](IffBytes& d) {
    for (float f : v) d.f4(f);
  });
}

// One triangle on surface "Skin", and one SURF "Skin" chunk per list of
// sub-chunks (only the first one is used).
std::string SurfacesFile(const std::vector<std::vector<Body>>& surfaces) {
  LwobWriter w;
  w.srfs({"Skin"}).points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}).polygons({{{0, 1, 2}, 1, {}}});
  for (const auto& subs : surfaces)
    w.surface("Skin", [&](IffBytes& b) {
      for (const Body& sub : subs) sub(b);
    });
  return w.bytes();
}
LwoFilePtr LoadSurfaces(const std::vector<std::vector<Body>>& surfaces) { return LoadBytes(SurfacesFile(surfaces)); }

TEST(LightWaveOlder, OneLayerOfFacePolygonsWithDetailPolygons) {
  LwobWriter w;
  w.srfs({"Red", "Blue"})
      .points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, -2}})
      .polygons({{{0, 1, 2}, 1, {}}, {{0, 1, 2, 3}, -2, {{{1, 2, 3}, 1, {}}, {{2, 3, 4}, 2, {}}}}, {{4, 3, 2}, 2, {}}})
      .surface("Blue", U2("DIFF", 128));
  const LwoFilePtr file = LoadBytes(w.bytes());
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(file->layers.size(), 1u);
  const so_lwo_layer& layer = *file->layers[0];
  std::vector<std::int32_t> corners, surfaces;
  for (const so_lwo_corner& c : layer.corners) corners.push_back(c.point);
  for (const so_lwo_polygon& p : layer.polygons) surfaces.push_back(p.surface);
  EXPECT_EQ(corners, (std::vector<std::int32_t>{0, 1, 2, 0, 1, 2, 3, 1, 2, 3, 2, 3, 4, 4, 3, 2}));
  // The SURF chunk's surface, then the default one made for "Red".
  EXPECT_EQ(surfaces, (std::vector<std::int32_t>{1, 0, 1, 0, 0}));
  ASSERT_EQ(file->surface_count, 2);
  EXPECT_TRUE(file->surfaces[0]->diffuse.value == 0.5f && file->surfaces[1]->diffuse.value == 1.0f);
  EXPECT_EQ(std::vector<float>(layer.bounds, layer.bounds + 6), (std::vector<float>{0, 0, -2, 1, 1, 0}));
}

TEST(LightWaveOlder, FixedPointByteAndFlagAttributes) {
  const LwoFilePtr file =
      LoadSurfaces({{Sub("COLR", [](IffBytes& d) { d.u1(255).u1(128).u1(0).u1(0); }), U2("DIFF", 205), U2("GLOS", 64),
                     U2("FLAG", 0x0104), U2("LUMI", 0xFF00), U2("TRAN", 32)},
                    {F4("VDIF", {0.8f}), U2("FLAG", 0x0298), U2("GLOS", 0), F4("VRFL", {0.7f})}});
  ASSERT_NE(file, nullptr);
  const so_lwo_surface& s = *file->surfaces[0];
  EXPECT_FLOAT_EQ(s.color.rgb[1], 0.5019608f);
  EXPECT_NEAR(s.glossiness.value, 0.2f, 1e-6f);
  EXPECT_EQ(s.sidedness, 3);
  // Fixed point over 256, signed.
  EXPECT_EQ((std::vector<float>{s.diffuse.value, s.smoothing_angle, s.highlight_tint.value, s.luminosity.value,
                                s.transparency.value}),
            (std::vector<float>{0.80078125f, std::bit_cast<float>(0x3FC7F1E9u), 0, -1, 0.125f}));

  const so_lwo_surface& t = *file->surfaces[1];
  // GLOS 0 has no logarithm: a finite floor. VRFL is not read.
  EXPECT_EQ(
      (std::vector<float>{t.diffuse.value, t.highlight_tint.value, t.filter_tint.value, t.diffuse_sharpness.value,
                          t.additive_transparency.value, t.smoothing_angle, t.glossiness.value, t.reflection.value}),
      (std::vector<float>{0.8f, 1, 1, 0.5f, 1, 0, 0, 0}));
  EXPECT_EQ(t.sidedness, 1);
}

TEST(LightWaveOlder, TexturesComeFromTheirTextAndClipsEnvelopesAndShadersFromTheirSubchunks) {
  const LwoFilePtr file = LoadSurfaces(
      {{U2("TFLG", 0x7E), Str("TIMG", "early.png"),  // no texture yet: ignored, no clip
        U2("RFLT", 1), Str("RIMG", "sky.jpg"), Str("CTEX", "Cylindrical Image Map"), U2("TFLG", 0x64),
        F4("TSIZ", {2, 3, 4}), Str("TIMG", "frames/shot (sequence)"), F4("TCTR", {2, 0, -1}), F4("TVEL", {1, 0, 0.5f}),
        Str("DTEX", "Fractal Noise"), Str("LTEX", "Spherical Image Map"), Str("BTEX", "Image Map"),
        Str("TIMG", "x(sequence).iff"), Str("SHDR", "Glow"), Sub("SDAT", [](IffBytes& d) { d.u4(0x01020304); }),
        Sub("SHDR", [](IffBytes& d) { d.raw("Edge"); })},
       {Str("CTEX", "Planar Image Map"), Str("TIMG", "b.png"), F4("TVEL", {0, 0, 0})}});
  ASSERT_NE(file, nullptr);
  const so_lwo_surface& s = *file->surfaces[0];
  // Each image names a clip in file order, the unused second SURF's too; a
  // name with the marker is a sequence of frames.
  ASSERT_EQ(file->clip_count, 4);
  EXPECT_TRUE(s.reflection.image == 1 && s.color.textures.at(0).image_map.clip_index == 2);
  EXPECT_EQ(s.bump.textures.at(0).image_map.clip_index, 3);
  std::vector<std::string> names;
  for (const auto& clip : file->clips) names.push_back(clip->kind == so_lwo_clip_still ? clip->file_name : "seq");
  EXPECT_EQ(names, (std::vector<std::string>{"sky.jpg", "seq", "seq", "b.png"}));
  EXPECT_TRUE(s.diffuse.textures.at(0).kind == so_lwo_kind_procedural && s.luminosity.textures.size() == 1);
  // Three envelopes per velocity; two shaders.
  EXPECT_TRUE(file->envelope_count == 6 && s.shader_count == 2);
}

TEST(LightWaveOlder, PolygonsOfMoreThan1023Corners) {
  LwobPolygon disc;
  std::vector<Vec3> ring;
  for (int i = 0; i < 1500; ++i) {
    ring.push_back({static_cast<float>(std::cos(i / 200.0)), static_cast<float>(std::sin(i / 200.0)), 0});
    disc.points.push_back(static_cast<std::uint16_t>(i));
  }
  const LwoFilePtr file = LoadBytes(LwobWriter().srfs({"Disc"}).points(ring).polygons({disc}).bytes());
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->layers[0]->polygons.at(0).corner_count, 1500);
}

TEST(LightWaveOlder, EveryTruncationFailsAndCorruptionNeverCrashes) {
  LwobWriter w;  // every chunk the reader knows and each sub-chunk that allocates
  w.srfs({"Skin", "Bone"})
      .points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}})
      .polygons({{{0, 1, 2, 3}, -1, {{{0, 2, 1}, 2, {}}}}, {{3, 2, 1}, 2, {}}})
      .chunk("JUNK", [](IffBytes& b) { b.u2(7); })
      .surface("Skin", [](IffBytes& b) {
        for (const Body& sub :
             {U2("FLAG", 0x4), Str("RIMG", "sky.jpg"), Str("CTEX", "Planar Image Map"), F4("TVEL", {1, 0, 0}),
              Str("TIMG", "a (sequence)"), Str("TREF", "ref"), Str("SHDR", "Glow"), U2("SDAT", 5)})
          sub(b);
      });
  ExpectOnlyWholeFilesLoad(w.bytes(), w.chunk_ends());
}

TEST(LightWaveOlder, PointIndexesSurfaceNumbersAndMalformedRecords) {
  // Two surface names: the last valid values load, the first invalid fail;
  // without names there is one unnamed surface.
  constexpr read_error ok = read_error::none, past = read_error::index_out_of_range;
  struct Case {
    std::uint16_t corner;
    std::int16_t surface;
    bool names;
    read_error kind;
  };
  for (const Case c : {Case{2, 2, true, ok}, Case{3, 2, true, past}, Case{2, 3, true, past}, Case{2, 0, true, past},
                       Case{2, -2, true, ok}, Case{2, -3, true, past}, Case{2, -32768, true, past},
                       Case{2, 1, false, ok}, Case{2, 2, false, past}}) {
    LwobWriter w;
    if (c.names) w.srfs({"A", "B"});
    w.points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}).polygons({{{0, 1, c.corner}, c.surface, {}}});
    EXPECT_EQ(LoadFailure(w.bytes()).kind, c.kind) << c.corner << " " << c.surface << " " << c.names;
  }
  const auto pols = [](const Body& body) {
    return Why(LwobWriter().points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}).chunk("POLS", body).bytes());
  };
  for (const Body& cut : {Body([](IffBytes& b) { b.u2(3).u2(0).u2(1).u2(2); }),              // no surface number
                          Body([](IffBytes& b) { b.u2(3).u2(0).u2(1).u2(2).u2(0xFFFF); })})  // no detail count
    EXPECT_EQ(pols(cut), std::pair(read_error::bad_chunk_size, zFourCC("POLS")));
  // The detail count (7 here, for one polygon) is skipped, not trusted.
  EXPECT_EQ(pols([](IffBytes& b) { b.u2(3).u2(0).u2(1).u2(2).u2(0xFFFF).u2(7).u2(3).u2(2).u2(1).u2(0).u2(1); }).first,
            ok);
  // SDAT needs a SHDR before it in its own surface; empty texts and data are fine.
  const std::uint32_t surf = zFourCC("SURF");
  EXPECT_EQ(Why(SurfacesFile({{Str("SHDR", "Glow")}, {U2("SDAT", 1)}})), std::pair(read_error::bad_chunk_size, surf));
  EXPECT_EQ(Why(SurfacesFile({{Sub("CTEX", {}), Sub("SHDR", {}), Sub("SDAT", {})}})).first, ok);
  EXPECT_EQ(Why(SurfacesFile({{Str("CTEX", "Planar Image Map"), F4("TVEL", {1, 0})}})),
            std::pair(read_error::truncated, surf));
}

}  // namespace
}  // namespace so3d::test
