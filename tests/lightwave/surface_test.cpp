// SURF chunks: attributes, defaults, texture layers and shaders.
#include <gtest/gtest.h>

#include "tests/lightwave/lwo_test_util.h"
#include "tests/support/lwo_writer.h"

namespace so3d::test {
namespace {

using Body = std::function<void(IffBytes&)>;

// Loads a file that holds one surface and returns it (the file stays alive
// in `holder`).
const so_lwo_surface* OneSurface(LwoFilePtr& holder, const Body& body) {
  LwoWriter w;
  w.surface("Skin", body);
  holder = LoadBytes(w.bytes());
  if (!holder || holder->surfaces.size() != 1) return nullptr;
  return holder->surfaces[0].get();
}

// A BLOK with a texture layer header (ordinal, channel) and attributes.
Body TextureBlock(std::string_view kind, std::string_view ordinal, std::string_view channel,
                  const Body& attributes = {}) {
  return [=](IffBytes& b) {
    b.sub("BLOK", [&](IffBytes& k) {
      k.sub(kind, [&](IffBytes& h) {
        h.str(ordinal);
        h.sub("CHAN", [&](IffBytes& c) { c.id(channel); });
        h.sub("OPAC", [](IffBytes& c) { c.u2(1).f4(0.5f).index(3); });
        h.sub("ENAB", [](IffBytes& c) { c.u2(0); });
      });
      if (attributes) attributes(k);
    });
  };
}

TEST(LightWaveSurface, UnknownSubchunkOnlyLeavesTheDefaults) {
  LwoFilePtr file;
  const so_lwo_surface* s = OneSurface(file, [](IffBytes& b) { b.sub("XYZW", [](IffBytes& d) { d.u4(7); }); });
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->name, "Skin");
  EXPECT_TRUE(s->source_name.empty());
  for (float c : s->color.rgb) EXPECT_EQ(c, 0.78431f);
  EXPECT_EQ(s->diffuse.value, 1.0f);
  EXPECT_EQ(s->glossiness.value, 0.4f);
  EXPECT_EQ(s->bump.value, 1.0f);
  EXPECT_EQ(s->refraction_index.value, 1.0f);
  EXPECT_EQ(s->sidedness, 1);
  EXPECT_EQ(s->specular.value, 0.0f);
}

TEST(LightWaveSurface, AlphaLineAndOverrunningSubchunks) {
  LwoFilePtr file;
  const so_lwo_surface* s = OneSurface(file, [](IffBytes& b) {
    b.sub("ALPH", [](IffBytes& d) { d.u2(2).f4(0.25f); });
    b.sub("AVAL", [](IffBytes& d) { d.f4(0.75f); });  // alpha only
    b.sub("LINE", {});                                  // size 0: enables, nothing more
  });
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->alpha_mode, 2);
  EXPECT_EQ(s->alpha, 0.75f);
  EXPECT_EQ(s->line.enabled, 1);
  EXPECT_EQ(s->line.line_flags, 0);

  s = OneSurface(file, [](IffBytes& b) { b.sub("LINE", [](IffBytes& d) { d.u2(5).f4(2.0f); }); });
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->line.line_flags, 5);
  EXPECT_EQ(s->line.size.value, 2.0f);
  EXPECT_EQ(s->line.size.envelope, 0);  // size 6 holds no envelope

  // A sub-chunk that reads more than its declared size fails the surface,
  // and so does a texture block whose attributes run past its end.
  EXPECT_EQ(OneSurface(file, [](IffBytes& b) { b.begin_sub("COLR").f4(1).f4(1).f4(1).index(0).end_sub(4); }),
            nullptr);
  EXPECT_EQ(OneSurface(file, [](IffBytes& b) {
              b.begin_sub("BLOK");
              b.sub("IMAP", [](IffBytes& h) { h.str("\x80"); });
              b.sub("PROJ", [](IffBytes& d) { d.u2(1); });
              b.end_sub(14);  // PROJ starts inside and ends 2 bytes past
              b.sub("PROJ", [](IffBytes& d) { d.u2(1); });
            }),
            nullptr);
}

TEST(LightWaveSurface, TextureLayersOfEachKind) {
  LwoFilePtr file;
  const so_lwo_surface* s = OneSurface(file, [](IffBytes& b) {
    TextureBlock("IMAP", "\x80", "COLR", [](IffBytes& k) {
      k.sub("TMAP", [](IffBytes& t) {
        t.sub("CNTR", [](IffBytes& d) { d.f4(1).f4(2).f4(3).index(0); });
      });
      k.sub("PROJ", [](IffBytes& d) { d.u2(5); });
      k.sub("IMAG", [](IffBytes& d) { d.index(3); });
    })(b);
    TextureBlock("PROC", "\x80", "DIFF", [](IffBytes& k) {
      k.sub("VALU", [](IffBytes& d) { d.f4(0.5f); });  // one value of three
      k.sub("FUNC", [](IffBytes& d) { d.str("Noise").raw("\x01\x02"); });
    })(b);
    TextureBlock("GRAD", "\x81", "BUMP", [](IffBytes& k) {
      k.sub("FKEY", [](IffBytes& d) {
        for (int i = 0; i < 10; ++i) d.f4(static_cast<float>(i));
      });
      k.sub("IKEY", [](IffBytes& d) { d.u2(1).u2(2); });
    })(b);
  });
  ASSERT_NE(s, nullptr);
  ASSERT_EQ(s->color.textures.size(), 1u);
  const so_lwo_texture& t = s->color.textures[0];
  EXPECT_EQ(t.kind, zFourCC("IMAP"));
  EXPECT_EQ(t.opacity.value, 0.5f);
  EXPECT_EQ(t.enabled, 0);
  EXPECT_EQ(t.placement.size.value[0], 1.0f);  // default kept
  EXPECT_EQ(t.placement.center.value[2], 3.0f);
  EXPECT_EQ(t.image_map.projection, 5);
  EXPECT_EQ(t.image_map.clip_index, 3);

  ASSERT_EQ(s->diffuse.textures.size(), 1u);
  const so_lwo_procedural& p = s->diffuse.textures[0].procedural;
  EXPECT_EQ(p.value[0], 0.5f);
  EXPECT_EQ(p.value[1], 0.0f);
  EXPECT_EQ(p.function_data, (std::vector<std::uint8_t>{1, 2}));

  ASSERT_EQ(s->bump.textures.size(), 1u);
  const so_lwo_gradient& g = s->bump.textures[0].gradient;
  ASSERT_EQ(g.keys.size(), 2u);  // 40 bytes
  EXPECT_EQ(g.keys[1].rgba[3], 9.0f);
  EXPECT_EQ(g.key_modes, (std::vector<std::uint16_t>{1, 2}));
}

TEST(LightWaveSurface, LayersAndShadersSortByUnsignedOrdinalKeepingFileOrder) {
  const auto layer = [](std::string_view ordinal, std::uint16_t axis) {
    return TextureBlock("PROC", ordinal, "COLR", [axis](IffBytes& k) { k.sub("AXIS", [axis](IffBytes& d) { d.u2(axis); }); });
  };
  const auto shader = [](std::string_view ordinal, std::string_view name) {
    return [=](IffBytes& b) {
      b.sub("BLOK", [&](IffBytes& k) {
        k.sub("SHDR", [&](IffBytes& h) { h.str(ordinal).sub("ENAB", [](IffBytes& d) { d.u2(1); }); });
        k.sub("FUNC", [&](IffBytes& d) { d.str(name); });  // no data after the name
      });
    };
  };
  LwoFilePtr file;
  const so_lwo_surface* s = OneSurface(file, [&](IffBytes& b) {
    layer("\x80", 1)(b);
    layer("\x70", 2)(b);
    layer("\x80", 3)(b);
    layer("", 4)(b);
    TextureBlock("PROC", "\x01", "XXXX")(b);  // no such channel: dropped
    layer("\x70", 5)(b);
    shader("\x90", "Late")(b);
    shader("\x85", "Early")(b);
  });
  ASSERT_NE(s, nullptr);
  std::vector<int> order;
  for (const so_lwo_texture& t : s->color.textures) order.push_back(t.procedural.axis);
  EXPECT_EQ(order, (std::vector<int>{4, 2, 5, 1, 3}));
  ASSERT_EQ(s->shader_count, 2);
  EXPECT_EQ(s->shaders[0].name, "Early");
  EXPECT_EQ(s->shaders[0].flags, 1u);
  EXPECT_TRUE(s->shaders[0].data.empty());
  EXPECT_EQ(s->shaders[1].name, "Late");
}

TEST(LightWaveSurface, ChunkMayEndAfterItsNamesOrOverrunItsSize) {
  LwoWriter bare;
  bare.surface("Bare").points({{1, 2, 3}});
  auto file = LoadBytes(bare.bytes());
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->surfaces[0]->name, "Bare");
  EXPECT_EQ(file->layers[0]->points.size(), 1u);

  // The declared size (16) ends inside the DIFF sub-chunk's data: the
  // surface reads it whole, and reading goes on after it.
  LwoWriter over;
  over.chunk("SURF", [](IffBytes& b) { b.str("Over").str("").sub("DIFF", [](IffBytes& d) { d.f4(0.25f).index(0); }); },
             16)
      .points({{1, 2, 3}});
  file = LoadBytes(over.bytes());
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->surfaces[0]->diffuse.value, 0.25f);
  EXPECT_EQ(file->layers[0]->points.size(), 1u);
}

}  // namespace
}  // namespace so3d::test
