// SURF, CLIP and ENVL chunks: attributes, defaults, texture layers, shaders,
// clip sources and envelope keys.
#include <gtest/gtest.h>

#include "tests/lightwave/lwo_test_util.h"

namespace so3d::test {
namespace {

std::string ChunkFile(std::string_view id, const Body& body, std::optional<std::uint32_t> declared = {}) {
  return LwoWriter().chunk(id, body, declared).points({{1, 1, 1}}).bytes();
}
LwoFilePtr WithChunk(std::string_view id, const Body& body, std::optional<std::uint32_t> declared = {}) {
  return LoadBytes(ChunkFile(id, body, declared));
}

// Loads a file that holds one surface and returns it (the file stays alive
// in `holder`).
const so_lwo_surface* OneSurface(LwoFilePtr& holder, const Body& body) {
  holder = LoadBytes(LwoWriter().surface("Skin", body).bytes());
  return holder && holder->surfaces.size() == 1 ? holder->surfaces[0].get() : nullptr;
}

// A BLOK with a texture layer header (ordinal, channel) and attributes.
Body TextureBlock(std::string_view kind, std::string_view ordinal, std::string_view channel,
                  const Body& attributes = {}) {
  return [=](IffBytes& b) {
    b.sub("BLOK", [&](IffBytes& k) {
      k.sub(kind, [&](IffBytes& h) { h.str(ordinal).sub("CHAN", [&](IffBytes& c) { c.id(channel); }); });
      if (attributes) attributes(k);
    });
  };
}

TEST(LightWaveSurface, SubchunksReadWithinTheirSizesAndTheChunkMayOverrunItsOwn) {
  LwoFilePtr file;
  const so_lwo_surface* s = OneSurface(file, [](IffBytes& b) {
    b.sub("XYZW", [](IffBytes& d) { d.u4(7); });  // unknown: skipped
    b.sub("ALPH", [](IffBytes& d) { d.u2(2).f4(0.25f); });
    b.sub("AVAL", [](IffBytes& d) { d.f4(0.75f); });  // alpha only
    b.sub("LINE", {});                                // size 0: enables, nothing more
  });
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->color.rgb[2], 0.78431f);  // defaults stay
  EXPECT_TRUE(s->alpha_mode == 2 && s->alpha == 0.75f);
  EXPECT_TRUE(s->line.enabled == 1 && s->line.line_flags == 0);
  // A sub-chunk that reads more than its declared size fails the surface,
  // and so does a texture block whose attributes run past its end.
  for (const Body& overrun :
       {Body([](IffBytes& b) { b.begin_sub("COLR").f4(1).f4(1).f4(1).index(0).end_sub(4); }), Body([](IffBytes& b) {
          b.begin_sub("BLOK").sub("IMAP", [](IffBytes& h) { h.str("\x80"); });
          b.sub("PROJ", [](IffBytes& d) { d.u2(1); }).end_sub(14);  // PROJ ends 2 bytes past
          b.sub("PROJ", [](IffBytes& d) { d.u2(1); });
        })})
    EXPECT_EQ(Why(LwoWriter().surface("Skin", overrun).bytes()),
              std::pair(read_error::bad_chunk_size, zFourCC("SURF")));
  // The declared size (16) ends inside the DIFF sub-chunk's data: the
  // surface reads it whole, and reading goes on after it.
  file = WithChunk(
      "SURF", [](IffBytes& b) { b.str("Over").str("").sub("DIFF", [](IffBytes& d) { d.f4(0.25f).index(0); }); }, 16);
  ASSERT_NE(file, nullptr);
  EXPECT_TRUE(file->surfaces[0]->diffuse.value == 0.25f && file->layers[0]->points.size() == 1u);
}

TEST(LightWaveSurface, TextureLayersOfEachKind) {
  LwoFilePtr file;
  const so_lwo_surface* s = OneSurface(file, [](IffBytes& b) {
    TextureBlock("IMAP", "\x80", "COLR", [](IffBytes& k) {
      k.sub("TMAP", [](IffBytes& t) { t.sub("CNTR", [](IffBytes& d) { d.f4(1).f4(2).f4(3).index(0); }); });
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
    })(b);
  });
  ASSERT_NE(s, nullptr);
  const so_lwo_texture& t = s->color.textures.at(0);
  EXPECT_TRUE(t.placement.center.value[2] == 3.0f && t.placement.size.value[0] == 1.0f);  // default kept
  EXPECT_EQ(t.image_map.clip_index, 3);
  const so_lwo_procedural& p = s->diffuse.textures.at(0).procedural;
  EXPECT_TRUE(p.value[0] == 0.5f && p.value[1] == 0.0f);
  EXPECT_EQ(p.function_data, (std::vector<std::uint8_t>{1, 2}));
  const so_lwo_gradient& g = s->bump.textures.at(0).gradient;
  ASSERT_EQ(g.keys.size(), 2u);  // 40 bytes
  EXPECT_EQ(g.keys[1].rgba[3], 9.0f);
}

TEST(LightWaveSurface, LayersAndShadersSortByUnsignedOrdinalKeepingFileOrder) {
  const auto layer = [](std::string_view ordinal, std::uint16_t axis) {
    return TextureBlock("PROC", ordinal, "COLR",
                        [axis](IffBytes& k) { k.sub("AXIS", [axis](IffBytes& d) { d.u2(axis); }); });
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
    for (const Body& block : {layer("\x80", 1), layer("\x70", 2), layer("\x80", 3), layer("", 4),
                              TextureBlock("PROC", "\x01", "XXXX"),  // no such channel: dropped
                              layer("\x70", 5), Body(shader("\x90", "Late")), Body(shader("\x85", "Early"))})
      block(b);
  });
  ASSERT_NE(s, nullptr);
  std::vector<int> order;
  for (const so_lwo_texture& t : s->color.textures) order.push_back(t.procedural.axis);
  EXPECT_EQ(order, (std::vector<int>{4, 2, 5, 1, 3}));
  ASSERT_EQ(s->shader_count, 2);
  EXPECT_TRUE(s->shaders[0].name == "Early" && s->shaders[0].flags == 1u && s->shaders[0].data.empty());
  EXPECT_EQ(s->shaders[1].name, "Late");
}

TEST(LightWaveClip, SourcesAndSubchunksThatMustEndExactlyAtTheChunkSize) {
  auto file = WithChunk("CLIP", [](IffBytes& b) {
    b.u4(3).sub("STIL", [](IffBytes& d) { d.str("a.png"); });
    b.sub("BRIT", [](IffBytes& d) { d.f4(0.5f).index(7); });
    b.sub("STIL", [](IffBytes& d) { d.str("ignored.png"); });  // only the first is the source
    b.sub("IFLT", [](IffBytes& d) { d.str("Blur").u2(3).raw("\x09\x08"); });
  });
  ASSERT_NE(file, nullptr);
  const so_lwo_clip& c = *file->clips[0];
  EXPECT_TRUE(c.index == 3 && c.kind == so_lwo_clip_still && c.file_name == "a.png");
  EXPECT_TRUE(c.brightness.value == 0.5f && c.brightness.envelope == 7 && c.contrast.value == 1.0f);
  ASSERT_EQ(c.image_filter_count, 1);
  EXPECT_EQ(c.image_filters[0].data, (std::vector<std::uint8_t>{9, 8}));
  file = WithChunk("CLIP", [](IffBytes& b) {
    b.u4(1).sub("ISEQ", [](IffBytes& d) { d.u1(3).u1(1).u2(0xFFFE).u2(1).u2(30).str("frame").str(".png"); });
  });
  ASSERT_NE(file, nullptr);
  EXPECT_TRUE(file->clips[0]->frame_offset == -2 && file->clips[0]->suffix == ".png");  // signed offset

  const Body body = [](IffBytes& b) {
    b.u4(1).sub("STIL", [](IffBytes& d) { d.str("a.png"); });
    b.sub("CONT", [](IffBytes& d) { d.f4(2).index(0); });
  };
  // 4 + 12 + 12 = 28 bytes; a smaller declared size fails, unlike a surface.
  for (std::uint32_t declared : {26u, 18u})  // 18: a 2-byte tail holds no sub-chunk
    EXPECT_EQ(Why(ChunkFile("CLIP", body, declared)), std::pair(read_error::bad_chunk_size, zFourCC("CLIP")));
  file = WithChunk("CLIP", body, 28);
  EXPECT_TRUE(file && file->clips[0]->contrast.value == 2.0f);
  file = WithChunk("CLIP", [](IffBytes& b) { b.u4(9); });  // ends after its index: no source
  EXPECT_TRUE(file && file->clips[0]->kind == 0u);
}

TEST(LightWaveEnvelope, KeysInTimeOrderWithSpanParametersByShape) {
  const auto key = [](IffBytes& b, float time, float value) {
    b.sub("KEY ", [=](IffBytes& d) { d.f4(time).f4(value); });
  };
  const auto span = [](IffBytes& b, std::string_view shape, std::vector<float> params) {
    b.sub("SPAN", [&](IffBytes& d) {
      d.id(shape);
      for (float p : params) d.f4(p);
    });
  };
  auto file = WithChunk("ENVL", [&](IffBytes& b) {
    b.index(1).sub("CHAN", [](IffBytes& d) { d.str("Noise").u2(1).raw("\x01\x02\x03\x04"); });
    key(b, 1, 10);
    span(b, "BEZ2", {1, 2, 3, 4, 5, 6});  // size 28: only four kept
    key(b, 2, 20);
    span(b, "TCB ", {0.5f});  // missing parameters stay zero
    key(b, 1, 11);            // equal time: after the earlier key
    span(b, "TCB ", {0.1f, 0.2f, 0.3f, 0.4f});
    key(b, 0, 0);  // earlier time: goes first
    span(b, "LINE", {7, 8});
  });
  ASSERT_NE(file, nullptr);
  const so_envelope& e = *file->envelopes[0];
  ASSERT_EQ(e.filter_count, 1);
  EXPECT_EQ(e.filters[0].data.size(), 4u);
  std::vector<const so_envelope_key*> keys;
  for (const so_envelope_key* k = e.keys; k; k = k->next) keys.push_back(k);
  ASSERT_EQ(keys.size(), 4u);
  EXPECT_TRUE(keys[0]->shape == so_shape_line && keys[0]->param[0] == 0.0f);
  EXPECT_EQ(keys[1]->value, 10.0f);
  EXPECT_EQ(std::vector<float>(keys[1]->param, keys[1]->param + 4), (std::vector<float>{1, 2, 3, 4}));
  EXPECT_TRUE(keys[2]->value == 11.0f && keys[2]->bias == 0.3f && keys[2]->param[0] == 0.0f);
  EXPECT_TRUE(keys[3]->tension == 0.5f && keys[3]->continuity == 0.0f);
  // A span before any key, or a key past the declared size, fails.
  const Body span_first = [&](IffBytes& b) { span(b.index(1), "TCB ", {0, 0, 0}); };
  const Body one_key = [&](IffBytes& b) { key(b.index(1), 0, 0); };
  for (const std::string& bad : {ChunkFile("ENVL", span_first), ChunkFile("ENVL", one_key, 12)})
    EXPECT_EQ(Why(bad), std::pair(read_error::bad_chunk_size, zFourCC("ENVL")));
}

}  // namespace
}  // namespace so3d::test
