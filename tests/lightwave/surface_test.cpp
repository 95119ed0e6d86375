// SURF, CLIP and ENVL chunks: the attributes and clip sources that objects
// are drawn with, and the sizes every sub-chunk must keep to. Fields that
// nothing draws or reports are only read past; the order of texture layers is
// checked through the image an object's colour layer picks.
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

TEST(LightWaveSurface, SubchunksReadWithinTheirSizesAndTheChunkMayOverrunItsOwn) {
  LwoFilePtr file;
  const so_lwo_surface* s = OneSurface(file, [](IffBytes& b) {
    b.sub("XYZW", [](IffBytes& d) { d.u4(7); });  // unknown: skipped
    b.sub("LINE", {});                            // size 0
    b.sub("DIFF", [](IffBytes& d) { d.f4(0.75f).index(0); });
  });
  ASSERT_NE(s, nullptr);
  EXPECT_TRUE(s->color.rgb[2] == 0.78431f && s->diffuse.value == 0.75f);  // defaults stay
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

TEST(LightWaveEnvelope, KeysAndSpansOfEveryShapeLoadAndASpanNeedsItsKey) {
  const auto key = [](IffBytes& b, float time) { b.sub("KEY ", [=](IffBytes& d) { d.f4(time).f4(1); }); };
  const auto span = [](IffBytes& b, std::string_view shape, int params) {
    b.sub("SPAN", [&](IffBytes& d) {
      d.id(shape);
      for (int i = 0; i < params; ++i) d.f4(0.5f);
    });
  };
  auto file = WithChunk("ENVL", [&](IffBytes& b) {
    b.index(1).sub("CHAN", [](IffBytes& d) { d.str("Noise").u2(1).raw("\x01\x02\x03\x04"); });
    key(b, 1), span(b, "BEZ2", 6);  // six parameters where four are kept
    key(b, 2), span(b, "TCB ", 1);  // missing parameters
    key(b, 0), span(b, "LINE", 2);
  });
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->envelopes.at(0)->key_count, 3);
  // A span before any key, or a key past the declared size, fails.
  const Body span_first = [&](IffBytes& b) { span(b.index(1), "TCB ", 3); };
  const Body one_key = [&](IffBytes& b) { key(b.index(1), 0); };
  for (const std::string& bad : {ChunkFile("ENVL", span_first), ChunkFile("ENVL", one_key, 12)})
    EXPECT_EQ(Why(bad), std::pair(read_error::bad_chunk_size, zFourCC("ENVL")));
}

}  // namespace
}  // namespace so3d::test
