// CLIP and ENVL chunks.
#include <gtest/gtest.h>

#include "tests/lightwave/lwo_test_util.h"
#include "tests/support/lwo_writer.h"

namespace so3d::test {
namespace {

using Body = std::function<void(IffBytes&)>;

LwoFilePtr WithChunk(std::string_view id, const Body& body, std::optional<std::uint32_t> declared = {}) {
  LwoWriter w;
  w.chunk(id, body, declared).points({{1, 1, 1}});
  return LoadBytes(w.bytes());
}

TEST(LightWaveClip, SourceKinds) {
  auto file = WithChunk("CLIP", [](IffBytes& b) {
    b.u4(3).sub("STIL", [](IffBytes& d) { d.str("images/wood.png"); });
  });
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(file->clip_count, 1);
  const so_lwo_clip& still = *file->clips[0];
  EXPECT_EQ(still.index, 3);
  EXPECT_EQ(still.kind, so_lwo_clip_still);
  EXPECT_EQ(still.file_name, "images/wood.png");
  EXPECT_EQ(still.contrast.value, 1.0f);
  EXPECT_EQ(still.hue.value, 0.0f);

  file = WithChunk("CLIP", [](IffBytes& b) {
    b.u4(1).sub("ISEQ", [](IffBytes& d) { d.u1(3).u1(1).u2(0xFFFE).u2(1).u2(30).str("frame").str(".png"); });
  });
  ASSERT_NE(file, nullptr);
  const so_lwo_clip& seq = *file->clips[0];
  EXPECT_EQ(seq.frame_offset, -2);  // signed
  EXPECT_EQ(seq.last_frame, 30);
  EXPECT_EQ(seq.suffix, ".png");

}

TEST(LightWaveClip, AdjustmentsAndFiltersAfterTheSource) {
  auto file = WithChunk("CLIP", [](IffBytes& b) {
    b.u4(1).sub("STIL", [](IffBytes& d) { d.str("a.png"); });
    b.sub("BRIT", [](IffBytes& d) { d.f4(0.5f).index(7); });
    b.sub("NEGA", [](IffBytes& d) { d.u2(1); });
    b.sub("STIL", [](IffBytes& d) { d.str("ignored.png"); });  // only the first is the source
    b.sub("IFLT", [](IffBytes& d) { d.str("Blur").u2(3).raw("\x09\x08"); });
    b.sub("PFLT", [](IffBytes& d) { d.str("Tint").u2(0); });  // nothing after the fixed fields
  });
  ASSERT_NE(file, nullptr);
  const so_lwo_clip& c = *file->clips[0];
  EXPECT_EQ(c.file_name, "a.png");
  EXPECT_EQ(c.brightness.value, 0.5f);
  EXPECT_EQ(c.brightness.envelope, 7);
  ASSERT_EQ(c.image_filter_count, 1);
  EXPECT_EQ(c.image_filters[0].flags, 3u);
  EXPECT_EQ(c.image_filters[0].data, (std::vector<std::uint8_t>{9, 8}));
  ASSERT_EQ(c.pixel_filter_count, 1);
  EXPECT_TRUE(c.pixel_filters[0].data.empty());
}

TEST(LightWaveClip, SubchunksMustEndExactlyAtTheChunkSize) {
  const Body body = [](IffBytes& b) {
    b.u4(1).sub("STIL", [](IffBytes& d) { d.str("a.png"); });
    b.sub("CONT", [](IffBytes& d) { d.f4(2).index(0); });
  };
  // 4 + 12 + 12 = 28 bytes; a smaller declared size fails, unlike a surface.
  EXPECT_EQ(WithChunk("CLIP", body, 26), nullptr);
  EXPECT_EQ(WithChunk("CLIP", body, 18), nullptr);  // a 2-byte tail holds no sub-chunk
  auto file = WithChunk("CLIP", body, 28);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->clips[0]->contrast.value, 2.0f);
  // A clip that ends right after its index has no source.
  file = WithChunk("CLIP", [](IffBytes& b) { b.u4(9); });
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->clips[0]->kind, 0u);
}

// An envelope chunk with index 1 and the given sub-chunks.
Body Envelope(const Body& subchunks) {
  return [=](IffBytes& b) {
    b.index(1);
    subchunks(b);
  };
}

void Key(IffBytes& b, float time, float value) {
  b.sub("KEY ", [=](IffBytes& d) { d.f4(time).f4(value); });
}

void Span(IffBytes& b, std::string_view shape, std::vector<float> params) {
  b.sub("SPAN", [&](IffBytes& d) {
    d.id(shape);
    for (float p : params) d.f4(p);
  });
}

TEST(LightWaveEnvelope, KeysInTimeOrderWithSpanParametersByShape) {
  auto file = WithChunk("ENVL", Envelope([](IffBytes& b) {
    b.sub("NAME", [](IffBytes& d) { d.str("Position.X"); });
    b.sub("POST", [](IffBytes& d) { d.u2(5); });
    b.sub("CHAN", [](IffBytes& d) { d.str("Noise").u2(1).raw("\x01\x02\x03\x04"); });
    Key(b, 1, 10);
    Span(b, "BEZ2", {1, 2, 3, 4, 5, 6});  // size 28: only four kept
    Key(b, 2, 20);
    Span(b, "TCB ", {0.5f});  // missing parameters stay zero
    Key(b, 1, 11);            // equal time: after the earlier key
    Span(b, "TCB ", {0.1f, 0.2f, 0.3f, 0.4f});
    Key(b, 0, 0);  // earlier time: goes first
    Span(b, "LINE", {7, 8});
  }));
  ASSERT_NE(file, nullptr);
  const so_envelope& e = *file->envelopes[0];
  EXPECT_EQ(e.index, 1);
  EXPECT_EQ(e.name, "Position.X");
  EXPECT_EQ(e.post, 5);
  ASSERT_EQ(e.filter_count, 1);
  EXPECT_EQ(e.filters[0].data.size(), 4u);
  ASSERT_EQ(e.key_count, 4);
  std::vector<const so_envelope_key*> keys;
  for (const so_envelope_key* k = e.keys; k; k = k->next) keys.push_back(k);
  ASSERT_EQ(keys.size(), 4u);
  EXPECT_EQ(keys[0]->shape, so_shape_line);
  EXPECT_EQ(keys[0]->param[0], 0.0f);
  EXPECT_EQ(keys[1]->value, 10.0f);
  EXPECT_EQ(std::vector<float>(keys[1]->param, keys[1]->param + 4), (std::vector<float>{1, 2, 3, 4}));
  EXPECT_EQ(keys[2]->value, 11.0f);
  EXPECT_EQ(keys[2]->bias, 0.3f);
  EXPECT_EQ(keys[2]->param[0], 0.0f);
  EXPECT_EQ(keys[3]->tension, 0.5f);
  EXPECT_EQ(keys[3]->continuity, 0.0f);
}

TEST(LightWaveEnvelope, SpanBeforeAnyKeyOrOverrunFails) {
  EXPECT_EQ(WithChunk("ENVL", Envelope([](IffBytes& b) { Span(b, "TCB ", {0, 0, 0}); })), nullptr);
  EXPECT_EQ(WithChunk("ENVL", Envelope([](IffBytes& b) { Key(b, 0, 0); }), 12), nullptr);
}

}  // namespace
}  // namespace so3d::test
