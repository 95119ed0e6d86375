// Objects of the older form (LWOB): geometry, old-style surfaces with their
// textures, clips, envelopes and shaders, and malformed files.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "objects/lightwave/so_lwo_older.h"
#include "tests/lightwave/lwo_test_util.h"
#include "tests/support/lwo_writer.h"

namespace so3d::test {
namespace {

using Body = std::function<void(IffBytes&)>;

Body Sub(std::string_view four, const Body& data) {
  return [=](IffBytes& b) { b.sub(four, data); };
}
Body Str(std::string_view four, std::string_view text) {
  return Sub(four, [=](IffBytes& d) { d.str(text); });
}
Body U2(std::string_view four, std::uint16_t v) {
  return Sub(four, [=](IffBytes& d) { d.u2(v); });
}
Body F4(std::string_view four, std::vector<float> v) {
  return Sub(four, [=](IffBytes& d) {
    for (float f : v) d.f4(f);
  });
}

// One triangle on surface "Skin" described by the first body; each further
// body describes one more (unused) surface.
LwobWriter Surfaces(const std::vector<std::vector<Body>>& surfaces) {
  LwobWriter w;
  w.srfs({"Skin"}).points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}).polygons({{{0, 1, 2}, 1, {}}});
  for (const auto& subs : surfaces) {
    w.surface("Skin", [&](IffBytes& b) {
      for (const Body& sub : subs) sub(b);
    });
  }
  return w;
}

TEST(LightWaveOlder, OneLayerOfFacePolygonsWithDetailPolygons) {
  LwobWriter w;
  w.srfs({"Red", "Blue"})
      .points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, -2}})
      .polygons({{{0, 1, 2}, 1, {}},
                 {{0, 1, 2, 3}, -2, {{{1, 2, 3}, 1, {}}, {{2, 3, 4}, 2, {}}}},
                 {{4, 3, 2}, 2, {}}})
      .surface("Blue", U2("DIFF", 128));
  const LwoFilePtr file = LoadBytes(w.bytes());
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->layer_count, 1);
  ASSERT_EQ(file->layers.size(), 1u);
  const so_lwo_layer& layer = *file->layers[0];
  ASSERT_EQ(layer.polygons.size(), 5u);
  const std::vector<std::vector<std::int32_t>> corners = {{0, 1, 2}, {0, 1, 2, 3}, {1, 2, 3}, {2, 3, 4}, {4, 3, 2}};
  const std::vector<std::string> surfaces = {"Red", "Blue", "Red", "Blue", "Blue"};
  for (std::int32_t i = 0; i < 5; ++i) {
    const so_lwo_polygon& p = layer.polygons[static_cast<std::size_t>(i)];
    EXPECT_TRUE(p.kind == zFourCC("FACE") && p.flags == 0);
    std::vector<std::int32_t> points;
    for (const so_lwo_corner& c : so_lwo_polygon_corners(layer, i)) points.push_back(c.point);
    EXPECT_EQ(points, corners[static_cast<std::size_t>(i)]) << "polygon " << i;
    EXPECT_EQ(file->surfaces.at(static_cast<std::size_t>(p.surface))->name, surfaces[static_cast<std::size_t>(i)]);
  }
  // The SURF chunk's surface, then the default one made for "Red".
  ASSERT_EQ(file->surface_count, 2);
  EXPECT_EQ(file->surfaces[0]->diffuse.value, 0.5f);
  EXPECT_EQ(file->surfaces[1]->diffuse.value, 1.0f);
  EXPECT_EQ(std::vector<float>(layer.bounds, layer.bounds + 6), (std::vector<float>{0, 0, -2, 1, 1, 0}));
  EXPECT_EQ(layer.polygons[0].normal[2], 1.0f);
  EXPECT_EQ(so_lwo_point_polygons(layer, 4).size(), 2u);
}

TEST(LightWaveOlder, FixedPointByteAndFlagAttributes) {
  const Body color = Sub("COLR", [](IffBytes& d) { d.u1(255).u1(128).u1(0).u1(0); });
  const LwoFilePtr file = LoadBytes(
      Surfaces({{color, U2("DIFF", 205), U2("GLOS", 64), U2("FLAG", 0x0104), U2("LUMI", 0xFF00), U2("SPEC", 128),
                 U2("REFL", 64), U2("TRAN", 32), U2("RFLT", 2), F4("RIND", {1.5f})},
                {F4("VDIF", {0.8f}), F4("VLUM", {0.1f}), F4("VSPC", {0.9f}), U2("FLAG", 0x0298), U2("GLOS", 0),
                 F4("VRFL", {0.7f})}})
          .bytes());
  ASSERT_NE(file, nullptr);
  const so_lwo_surface& s = *file->surfaces[0];
  EXPECT_FLOAT_EQ(s.color.rgb[0], 1.0f);
  EXPECT_FLOAT_EQ(s.color.rgb[1], 0.5019608f);
  EXPECT_EQ(s.diffuse.value, 0.80078125f);
  EXPECT_NEAR(s.glossiness.value, 0.2f, 1e-6f);
  EXPECT_EQ(s.smoothing_angle, std::bit_cast<float>(0x3FC7F1E9u));
  EXPECT_EQ(s.sidedness, 3);
  // Signed fixed point: -256, 128, 64 and 32 over 256.
  EXPECT_EQ((std::vector<float>{s.luminosity.value, s.specular.value, s.reflection.value, s.transparency.value}),
            (std::vector<float>{-1.0f, 0.5f, 0.25f, 0.125f}));
  EXPECT_EQ(s.reflection.options, 2);
  EXPECT_EQ(s.refraction_index.value, 1.5f);
  EXPECT_EQ(s.highlight_tint.value, 0.0f);

  const so_lwo_surface& t = *file->surfaces[1];
  EXPECT_EQ((std::vector<float>{t.diffuse.value, t.luminosity.value, t.specular.value}),
            (std::vector<float>{0.8f, 0.1f, 0.9f}));
  EXPECT_EQ((std::vector<float>{t.highlight_tint.value, t.filter_tint.value, t.diffuse_sharpness.value,
                                t.additive_transparency.value}),
            (std::vector<float>{1.0f, 1.0f, 0.5f, 1.0f}));
  EXPECT_TRUE(t.smoothing_angle == 0.0f && t.sidedness == 1);
  EXPECT_EQ(t.glossiness.value, 0.0f);  // ln 0 has no value: a finite floor
  EXPECT_EQ(t.reflection.value, 0.0f);  // VRFL is not read
}

TEST(LightWaveOlder, TexturesComeFromTheirTextAndTakeTheSubchunksAfterThem) {
  const LwoFilePtr file = LoadBytes(Surfaces({{
      U2("TFLG", 0x7E), Str("TIMG", "early.png"),  // no texture yet: ignored, no clip
      Str("CTEX", "Cylindrical Image Map"), U2("TFLG", 0x64), F4("TSIZ", {2, 3, 4}), U2("TVAL", 128),
      F4("TAMP", {0.5f}), Str("TIMG", "a.png"), F4("TFP0", {2}), F4("TAAS", {0.25f}),
      Str("DTEX", "Fractal Noise"), U2("TFLG", 0x7A), Sub("TCLR", [](IffBytes& d) { d.u1(255).u1(0).u1(51).u1(0); }),
      F4("TAMP", {0.5f}), Str("TIMG", "b.png"), F4("TAAS", {0.25f}), Sub("TREF", [](IffBytes& d) { d.raw("Null"); }),
      F4("TOPC", {0.75f}),
      Str("LTEX", "Spherical Image Map"), Str("STEX", "Cubic Image Map"), Str("RTEX", "Front Projection Image Map"),
      Str("TTEX", "Planar Cylindrical Image Map"), Str("BTEX", "Image Map"),
      Sub("CTEX", [](IffBytes& d) { d.raw("Wood"); }),  // no zero in the sub-chunk
      Sub("CTEX", [](IffBytes& d) { d.raw(std::string_view("Image Map\0Cubic", 15)); }),
  }}).bytes());
  ASSERT_NE(file, nullptr);
  const so_lwo_surface& s = *file->surfaces[0];
  ASSERT_EQ(s.color.textures.size(), 3u);
  const so_lwo_texture& image = s.color.textures[0];
  EXPECT_EQ(image.kind, so_lwo_kind_image_map);
  EXPECT_EQ(image.image_map.projection, 1);
  EXPECT_TRUE(image.axis == 2 && image.image_map.axis == 2);
  EXPECT_TRUE(image.image_map.pixel_blending == 1 && image.image_map.antialias_flags == 1);
  EXPECT_TRUE(image.negative == 0 && image.placement.coordinate_system == 0);
  EXPECT_EQ(image.image_map.antialias_strength, 0.25f);
  EXPECT_EQ(image.placement.size.value[1], 3.0f);
  EXPECT_EQ(image.procedural.value[0], 0.0f);  // TVAL has no image-map field
  EXPECT_EQ(image.image_map.amplitude.value, 0.5f);
  EXPECT_EQ(image.image_map.clip_index, 1);
  EXPECT_EQ(image.image_map.wrap_u_amount.value, 2.0f);
  EXPECT_TRUE(image.opacity.value == 1.0f && image.enabled == 1);

  const so_lwo_texture& noise = s.diffuse.textures.at(0);
  EXPECT_EQ(noise.kind, so_lwo_kind_procedural);
  EXPECT_EQ(noise.procedural.function_name, "Fractal Noise");
  EXPECT_TRUE(noise.axis == 1 && noise.procedural.axis == 1 && noise.image_map.axis == 0);
  EXPECT_TRUE(noise.negative == 1 && noise.placement.coordinate_system == 1);
  EXPECT_TRUE(noise.image_map.pixel_blending == 0 && noise.image_map.antialias_flags == 0);
  EXPECT_EQ(noise.image_map.antialias_strength, 0.0f);
  EXPECT_FLOAT_EQ(noise.procedural.value[0], 1.0f);
  EXPECT_FLOAT_EQ(noise.procedural.value[2], 0.2f);
  EXPECT_EQ(noise.image_map.amplitude.value, 0.0f);
  EXPECT_EQ(noise.image_map.clip_index, 0);
  EXPECT_EQ(noise.placement.reference_object, "Null");
  EXPECT_EQ(noise.opacity.value, 0.75f);
  ASSERT_EQ(file->clip_count, 2);  // b.png made all the same
  EXPECT_EQ(file->clips[1]->file_name, "b.png");

  // Projection: the first of Planar, Cylindrical, Spherical, Cubic, Front
  // that the text holds.
  const std::vector<const so_lwo_texture*> made = {&s.luminosity.textures.at(0), &s.specular.textures.at(0),
                                                   &s.reflection.textures.at(0), &s.transparency.textures.at(0),
                                                   &s.bump.textures.at(0), &s.color.textures[2]};
  std::vector<std::int32_t> projections;
  for (const so_lwo_texture* t : made)
    projections.push_back(t->kind == so_lwo_kind_image_map ? t->image_map.projection : -1);
  EXPECT_EQ(projections, (std::vector<std::int32_t>{2, 3, 4, 0, 0, 0}));
  EXPECT_EQ(s.color.textures[1].procedural.function_name, "Wood");
}

TEST(LightWaveOlder, ClipsEnvelopesAndShadersAreMadeInFileOrder) {
  const LwoFilePtr file = LoadBytes(
      Surfaces({{U2("RFLT", 1), Str("RIMG", "sky.jpg"), Str("CTEX", "Planar Image Map"),
                 Str("TIMG", "frames/shot (sequence)"), F4("TCTR", {2, 0, -1}), F4("TVEL", {1, 0, 0.5f}),
                 Str("SHDR", "Glow"), Sub("SDAT", [](IffBytes& d) { d.u4(0x01020304); }),
                 Sub("SHDR", [](IffBytes& d) { d.raw("Edge"); }), U2("SDAT", 0x0909)},
                {F4("TOPC", {0.5f}),  // not the first surface's texture
                 Str("CTEX", "Planar Image Map"), Str("TIMG", "(sequence)"), Str("TIMG", "x(sequence).iff"),
                 F4("TVEL", {0, 0, 0})}})
          .bytes());
  ASSERT_NE(file, nullptr);
  const so_lwo_surface& s = *file->surfaces[0];
  ASSERT_EQ(file->clip_count, 4);
  for (std::int32_t i = 0; i < 4; ++i) EXPECT_EQ(file->clips[static_cast<std::size_t>(i)]->index, i + 1);
  EXPECT_TRUE(s.reflection.image == 1 && s.reflection.options == 3);
  EXPECT_TRUE(file->clips[0]->kind == so_lwo_clip_still && file->clips[0]->file_name == "sky.jpg");
  const so_lwo_clip& sequence = *file->clips[1];
  EXPECT_TRUE(sequence.kind == so_lwo_clip_sequence && sequence.digits == 3 && sequence.file_name.empty());
  EXPECT_EQ(sequence.prefix, "frames/shot");
  EXPECT_EQ(s.color.textures[0].image_map.clip_index, 2);
  EXPECT_TRUE(file->clips[2]->kind == so_lwo_clip_sequence && file->clips[2]->prefix.empty());
  EXPECT_EQ(file->clips[3]->prefix, "");  // the byte before the marker ends the prefix
  EXPECT_EQ(file->surfaces[1]->color.textures[0].image_map.clip_index, 4);
  EXPECT_EQ(s.color.textures[0].opacity.value, 1.0f);

  // Velocity (1, 0, 0.5) from centre (2, 0, -1): three linear envelopes
  // over one second at 30 frames a second.
  EXPECT_EQ(s.color.textures[0].placement.center.envelope, 1);
  EXPECT_EQ(file->surfaces[1]->color.textures[0].placement.center.envelope, 4);
  ASSERT_EQ(file->envelope_count, 6);
  const float ends[] = {32.0f, 0.0f, 14.0f};
  for (int i = 0; i < 3; ++i) {
    const so_envelope& e = *file->envelopes[static_cast<std::size_t>(i)];
    EXPECT_EQ(e.index, i + 1);
    EXPECT_EQ(e.type, 0x0301 + i);
    EXPECT_EQ(e.name, std::string("Position.") + static_cast<char>('X' + i));
    EXPECT_TRUE(e.pre == 5 && e.post == 5);
    ASSERT_EQ(e.key_count, 2);
    EXPECT_TRUE(e.keys->time == 0.0f && e.keys->next->time == 1.0f);
    EXPECT_EQ(e.keys->next->value, ends[i]);
    EXPECT_TRUE(e.keys->shape == so_shape_line && e.keys->next->shape == so_shape_line);
  }
  EXPECT_EQ(file->envelopes[2]->keys->value, -1.0f);
  for (std::size_t i = 0; i + 1 < file->envelopes.size(); ++i)
    EXPECT_EQ(file->envelopes[i]->next, file->envelopes[i + 1].get());

  ASSERT_EQ(s.shader_count, 2);
  EXPECT_EQ(s.shaders[0].name, "Glow");
  EXPECT_EQ(s.shaders[0].data, (std::vector<std::uint8_t>{1, 2, 3, 4}));
  EXPECT_EQ(s.shaders[1].name, "Edge");
  EXPECT_EQ(s.shaders[1].data, (std::vector<std::uint8_t>{9, 9}));
  // SDAT needs a SHDR before it in its own surface.
  EXPECT_EQ(LoadBytes(Surfaces({{U2("SDAT", 1)}}).bytes()), nullptr);
  EXPECT_EQ(LoadBytes(Surfaces({{Str("SHDR", "Glow")}, {U2("SDAT", 1)}}).bytes()), nullptr);
}

TEST(LightWaveOlder, PolygonsOfMoreThan1023Corners) {
  constexpr int n = 1500;
  std::vector<Vec3> ring;
  LwobPolygon disc;
  for (int i = 0; i < n; ++i) {
    const double a = 2 * 3.141592653589793 * i / n;
    ring.push_back({static_cast<float>(std::cos(a)), static_cast<float>(std::sin(a)), 0});
    disc.points.push_back(static_cast<std::uint16_t>(i));
  }
  LwobWriter w;
  w.srfs({"Disc"}).points(ring).polygons({disc}).surface("Disc", U2("FLAG", 0x4));  // smoothed
  const LwoFilePtr file = LoadBytes(w.bytes());
  ASSERT_NE(file, nullptr);
  const so_lwo_layer& layer = *file->layers[0];
  EXPECT_EQ(layer.polygons.at(0).corner_count, n);
  for (const so_lwo_corner& c : layer.corners) ASSERT_EQ(c.normal[2], 1.0f);
}

// A file with every chunk the reader knows and each sub-chunk that allocates.
LwobWriter EveryChunk() {
  LwobWriter w;
  w.srfs({"Skin", "Bone"})
      .points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}})
      .polygons({{{0, 1, 2, 3}, -1, {{{0, 2, 1}, 2, {}}}}, {{3, 2, 1}, 2, {}}})
      .chunk("JUNK", [](IffBytes& b) { b.u2(7); })
      .surface("Skin", [](IffBytes& b) {
        for (const Body& sub : {U2("FLAG", 0x4), Str("RIMG", "sky.jpg"), Str("CTEX", "Planar Image Map"),
                                F4("TVEL", {1, 0, 0}), Str("TIMG", "a (sequence)"), Str("TREF", "ref"),
                                Str("SHDR", "Glow"), U2("SDAT", 5)})
          sub(b);
      });
  return w;
}

TEST(LightWaveOlder, EveryTruncationFailsAndCorruptionNeverCrashes) {
  const LwobWriter w = EveryChunk();
  const std::string bytes = w.bytes();
  ASSERT_NE(LoadBytes(bytes), nullptr);
  TempDir dir;
  const auto load = [&](std::string_view b) {
    so_lwo_file* file = so_lwo_load(dir.Write("bad.lwo", b).c_str());
    const bool loaded = file != nullptr;
    so_lwo_release(file);
    return loaded;
  };
  for (std::size_t n = 0; n < bytes.size(); ++n) EXPECT_FALSE(load(std::string_view(bytes).substr(0, n))) << n;
  // Cut at a chunk end with the form size to match, a prefix is whole again.
  for (std::size_t end : w.chunk_ends()) {
    std::string cut = bytes.substr(0, end);
    for (int i = 0; i < 4; ++i) cut[4 + static_cast<std::size_t>(i)] = static_cast<char>((end - 8) >> (24 - 8 * i));
    EXPECT_TRUE(load(cut)) << "cut at " << end;
  }
  int loaded = 0;
  for (std::size_t i = 12; i < bytes.size(); ++i) {
    for (char v : {'\x00', '\x01', '\x7F', '\x80', '\xFF'}) {
      std::string bad = bytes;
      bad[i] = v;
      loaded += load(bad);
    }
  }
  EXPECT_GT(loaded, 0);
}

TEST(LightWaveOlder, PointIndexesAndSurfaceNumbersAreChecked) {
  // Two surface names: the last valid values load, the first invalid fail.
  const auto loads = [](std::uint16_t corner, std::int16_t surface, bool names = true) {
    LwobWriter w;
    if (names) w.srfs({"A", "B"});
    w.points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}).polygons({{{0, 1, corner}, surface, {}}});
    return LoadBytes(w.bytes()) != nullptr;
  };
  EXPECT_TRUE(loads(2, 2));
  EXPECT_FALSE(loads(3, 2));
  EXPECT_FALSE(loads(0xFFFF, 1));
  EXPECT_FALSE(loads(2, 3));
  EXPECT_FALSE(loads(2, 0));
  EXPECT_TRUE(loads(2, -2));
  EXPECT_FALSE(loads(2, -3));
  EXPECT_FALSE(loads(2, -32768));
  EXPECT_TRUE(loads(2, 1, false));  // no names: one unnamed surface
  EXPECT_FALSE(loads(2, 2, false));
}

TEST(LightWaveOlder, MalformedChunksAndSubchunks) {
  const auto pols_loads = [](const Body& body) {
    LwobWriter w;
    w.points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}).chunk("POLS", body);
    return LoadBytes(w.bytes()) != nullptr;
  };
  EXPECT_FALSE(pols_loads([](IffBytes& b) { b.u2(3).u2(0).u2(1).u2(2); }));           // no surface number
  EXPECT_FALSE(pols_loads([](IffBytes& b) { b.u2(3).u2(0).u2(1); }));                  // an index short
  EXPECT_FALSE(pols_loads([](IffBytes& b) { b.u2(3).u2(0).u2(1).u2(2).u2(0xFFFF); }));  // no detail count
  EXPECT_FALSE(pols_loads([](IffBytes& b) { b.u2(3).u2(0).u2(1).u2(2).u2(1).u1(0); }));  // odd tail
  EXPECT_TRUE(pols_loads([](IffBytes&) {}));
  // The detail count (7 here, for one polygon) is skipped, not trusted.
  EXPECT_TRUE(pols_loads([](IffBytes& b) {
    b.u2(3).u2(0).u2(1).u2(2).u2(0xFFFF).u2(7);
    b.u2(3).u2(2).u2(1).u2(0).u2(1);
  }));

  const auto surface_loads = [](const std::vector<Body>& subs) {
    return LoadBytes(Surfaces({subs}).bytes()) != nullptr;
  };
  EXPECT_FALSE(surface_loads({Sub("COLR", [](IffBytes& d) { d.u1(1).u1(2); })}));
  EXPECT_FALSE(surface_loads({Str("CTEX", "Planar Image Map"), F4("TVEL", {1, 0})}));
  EXPECT_FALSE(surface_loads({Sub("RIMG", [](IffBytes& d) { d.raw("ab"); })}));
  EXPECT_TRUE(surface_loads({Sub("CTEX", {}), Sub("SHDR", {}), Sub("SDAT", {})}));  // empty texts and data

  TempDir dir;
  LwoWriter lwo2;
  lwo2.points({{1, 1, 1}});
  EXPECT_EQ(so_lwo_load_older(dir.Write("new.lwo", lwo2.bytes()).c_str()), nullptr);
  EXPECT_EQ(so_lwo_load_older("/nonexistent/object.lwo"), nullptr);
  EXPECT_EQ(so_lwo_load_older(nullptr), nullptr);
}

}  // namespace
}  // namespace so3d::test
