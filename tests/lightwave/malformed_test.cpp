// Malformed files failing cleanly: nothing crashes, nothing is read out of
// bounds (run under the sanitizers), and only whole files load.
#include <gtest/gtest.h>

#include "tests/lightwave/lwo_test_util.h"

namespace so3d::test {
namespace {

TEST(LightWaveMalformed, EveryTruncationFailsAndOnlyTheWholeFileLoads) {
  LwoWriter w;  // every chunk the reader knows
  w.layer(1, "one").points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}).polygons({{0, 1, 2, 3}, {0, 2, 1}});
  w.bbox({0, 0, 0}, {1, 1, 0}).tags({"Skin", "Bone"}).ptag("SURF", {{1, 1}}).ptag("SMGP", {{0, 1}});
  w.vmap("TXUV", 2, "uv", {{0, 0, {0, 0}}, {2, 0, {1, 1}}}).vmap("TXUV", 2, "uv", {{2, 1, {1, 1}}}, true);
  w.chunk("CLIP", [](IffBytes& b) {
    b.u4(1).sub("STIL", [](IffBytes& d) { d.str("a.png"); }).sub("GAMM", [](IffBytes& d) { d.f4(2.2f).index(0); });
  });
  w.chunk("ENVL", [](IffBytes& b) {
    b.index(1).sub("KEY ", [](IffBytes& d) { d.f4(0).f4(1); });
    b.sub("SPAN", [](IffBytes& d) { d.id("TCB ").f4(0).f4(0).f4(0); });
  });
  w.surface("Skin", [](IffBytes& b) {
    b.sub("SMAN", [](IffBytes& d) { d.f4(1.0f); }).sub("BLOK", [](IffBytes& k) {
      k.sub("IMAP", [](IffBytes& h) { h.str("\x80").sub("CHAN", [](IffBytes& c) { c.id("COLR"); }); });
      k.sub("TMAP", [](IffBytes& t) { t.sub("SIZE", [](IffBytes& d) { d.f4(1).f4(1).f4(1).index(0); }); });
      k.sub("IMAG", [](IffBytes& d) { d.index(1); });
    });
    b.sub("BLOK", [](IffBytes& k) {
      k.sub("PROC", [](IffBytes& h) { h.str("\x81").sub("CHAN", [](IffBytes& c) { c.id("DIFF"); }); });
      k.sub("FUNC", [](IffBytes& d) { d.str("Noise").raw("\x01\x02"); });
    });
    b.sub("BLOK", [](IffBytes& k) {
      k.sub("GRAD", [](IffBytes& h) { h.str("\x82").sub("CHAN", [](IffBytes& c) { c.id("BUMP"); }); });
      k.sub("FKEY", [](IffBytes& d) { d.f4(0).f4(1).f4(1).f4(1).f4(1); });
    });
  });
  w.layer(2, "two", 1).points({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}}).polygons({{0, 1, 2}});
  ExpectOnlyWholeFilesLoad(w.bytes(), w.chunk_ends());
}

TEST(LightWaveMalformed, HeadersFormsAndDeclaredSizes) {
  read_failure missing;
  EXPECT_EQ(so_lwo_load("/nonexistent/object.lwo", &missing), nullptr);
  EXPECT_EQ(missing.kind, read_error::cannot_open);
  EXPECT_EQ(so_lwo_load(nullptr), nullptr);
  const LwoWriter form = LwoWriter().points({{1, 1, 1}});  // a form size past the data: a missing header
  struct Whole {
    std::string bytes;
    read_error kind;
    std::uint32_t chunk;
    std::uint64_t offset;
  };
  const Whole files[] = {
      {std::string("FORM\0\0\0\x04LW", 10), read_error::truncated, 0, 8},  // short header: the form type is cut
      {IffBytes().id("RIFF").u4(12).id("LWO2").id("PNTS").u4(0).bytes(), read_error::bad_header, 0, 0},
      {LwoWriter("ILBM").points({{1, 1, 1}}).bytes(), read_error::unsupported_form, zFourCC("ILBM"), 8},
      {LwoWriter().bytes(), read_error::truncated, 0, 12},  // no chunk at all
      {form.bytes(static_cast<std::uint32_t>(form.bytes().size())), read_error::truncated, 0, 32},
  };
  for (const Whole& f : files) {
    const read_failure got = LoadFailure(f.bytes);
    EXPECT_EQ(got.kind, f.kind) << describe(got.kind);
    EXPECT_EQ(got.chunk, f.chunk);
    EXPECT_EQ(got.offset, f.offset);
  }

  // Chunks declared past the file, or shorter than their readers need, fail
  // at their own id; empty POLS and TAGS load, empty PNTS, VMAP and VMAD do not.
  struct Case {
    char id[5];
    Body body;
    std::optional<std::uint32_t> declared;
    read_error kind;
  };
  const Case cases[] = {
      {"JUNK", [](IffBytes& b) { b.u4(0); }, 1000, read_error::bad_chunk_size},
      {"PNTS", [](IffBytes& b) { b.f4(1).f4(2).f4(3); }, 0xFFFFFFF0u, read_error::bad_chunk_size},
      {"LAYR", [](IffBytes& b) { b.u2(1).u2(0).f4(0).f4(0).f4(0).str("name"); }, 10, read_error::bad_chunk_size},
      {"BBOX", [](IffBytes& b) { b.f4(1).f4(1).f4(1).f4(2).f4(2).f4(2); }, 20, read_error::bad_chunk_size},
      {"POLS", {}, {}, read_error::none},
      {"TAGS", {}, {}, read_error::none},
      {"PNTS", {}, {}, read_error::bad_chunk_size},
      {"VMAP", {}, {}, read_error::bad_chunk_size},
      {"VMAD", {}, {}, read_error::bad_chunk_size},
  };
  for (const Case& c : cases) {
    const read_failure got = LoadFailure(LwoWriter().points({{1, 1, 1}}).chunk(c.id, c.body, c.declared).bytes());
    EXPECT_EQ(got.kind, c.kind) << c.id << ": " << describe(got.kind);
    if (got) { EXPECT_EQ(got.chunk, zFourCC(c.id)) << c.id; }
  }
}

TEST(LightWaveMalformed, RecordsCrossingTheirBlockEnd) {
  // Each fails inside its own chunk, which starts at byte 32 after a PNTS of
  // three points; the offset is where reading stood (the chunk's end).
  const struct {
    char id[5];
    Body body;
  } cases[] = {
      {"POLS", [](IffBytes& b) { b.id("FACE").u2(3).u2(0).u2(1); }},  // third index missing
      {"POLS", [](IffBytes& b) { b.id("FACE").u2(2).u2(0).u2(1).u2(1).raw("\xFF\x00"); }},
      {"POLS", [](IffBytes& b) { b.id("FACE"); }},   // kind without polygons: empty block
      {"TAGS", [](IffBytes& b) { b.raw("abcd"); }},  // no zero
      {"VMAP", [](IffBytes& b) { b.id("TXUV").u2(2).str("uv").u2(0).f4(1); }},
      {"VMAD", [](IffBytes& b) { b.id("TXUV").u2(1).str("uv").u2(0).u2(0).u2(0); }},
      {"PTAG", [](IffBytes& b) { b.id("SURF").u2(0); }},  // record without its tag
  };
  for (const auto& [id, body] : cases) {
    const std::string bytes = LwoWriter().points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}).chunk(id, body).bytes();
    const read_failure got = LoadFailure(bytes);
    EXPECT_TRUE(got.kind == read_error::bad_chunk_size || got.kind == read_error::truncated)
        << id << ": " << describe(got.kind);
    EXPECT_EQ(got.chunk, zFourCC(id)) << id;
    EXPECT_GE(got.offset, 64u) << id;
    EXPECT_LE(got.offset, bytes.size()) << id;
  }
}

TEST(LightWaveMalformed, IndexesPastTheirArraysFailTheLoad) {
  // A triangle with one tag: every index at its last valid value loads, and
  // each one raised to its first invalid value fails.
  struct Indexes {
    std::uint32_t corner = 2, map_point = 2, tag_polygon = 0, map_polygon = 0, tag = 0;
  };
  const auto loads = [](Indexes i, bool with_tags = true) {
    LwoWriter w;
    w.points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}).polygons({{0, 1, i.corner}});
    if (with_tags) w.tags({"A"});
    w.ptag("SURF", {{i.tag_polygon, i.tag}}).vmap("TXUV", 1, "uv", {{i.map_point, i.map_polygon, {0}}}, true);
    return LoadFailure(w.bytes()).kind;
  };
  EXPECT_EQ(loads({}), read_error::none);
  for (Indexes past : {Indexes{.corner = 3}, Indexes{.map_point = 3}, Indexes{.tag_polygon = 1},
                       Indexes{.map_polygon = 1}, Indexes{.tag = 1}})
    EXPECT_EQ(loads(past), read_error::index_out_of_range);
  EXPECT_EQ(loads({}, false), read_error::none);
  EXPECT_EQ(loads({.tag = 1}, false), read_error::index_out_of_range);  // a tag index with no TAGS chunk
}

}  // namespace
}  // namespace so3d::test
