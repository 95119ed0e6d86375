// Malformed files fail cleanly: nothing crashes, nothing is read out of
// bounds (run under the sanitizers), and only whole files load.
#include <gtest/gtest.h>

#include "tests/lightwave/lwo_test_util.h"
#include "tests/support/lwo_writer.h"

namespace so3d::test {
namespace {

// A file that uses every chunk the reader knows.
LwoWriter EveryChunk() {
  LwoWriter w;
  w.layer(1, "one")
      .points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}})
      .polygons({{0, 1, 2, 3}, {0, 2, 1}})
      .bbox({0, 0, 0}, {1, 1, 0})
      .tags({"Skin", "Bone"})
      .ptag("SURF", {{1, 1}})
      .ptag("SMGP", {{0, 1}})
      .vmap("TXUV", 2, "uv", {{0, 0, {0, 0}}, {2, 0, {1, 1}}})
      .vmap("TXUV", 2, "uv", {{2, 1, {1, 1}}}, true)
      .chunk("CLIP", [](IffBytes& b) {
        b.u4(1).sub("STIL", [](IffBytes& d) { d.str("a.png"); });
        b.sub("GAMM", [](IffBytes& d) { d.f4(2.2f).index(0); });
      })
      .chunk("ENVL", [](IffBytes& b) {
        b.index(1).sub("KEY ", [](IffBytes& d) { d.f4(0).f4(1); });
        b.sub("SPAN", [](IffBytes& d) { d.id("TCB ").f4(0).f4(0).f4(0); });
      })
      .surface("Skin", [](IffBytes& b) {
        b.sub("SMAN", [](IffBytes& d) { d.f4(1.0f); });
        b.sub("BLOK", [](IffBytes& k) {
          k.sub("IMAP", [](IffBytes& h) {
            h.str("\x80");
            h.sub("CHAN", [](IffBytes& c) { c.id("COLR"); });
          });
          k.sub("TMAP", [](IffBytes& t) { t.sub("SIZE", [](IffBytes& d) { d.f4(1).f4(1).f4(1).index(0); }); });
          k.sub("IMAG", [](IffBytes& d) { d.index(1); });
        });
      })
      .layer(2, "two", 1)
      .points({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}})
      .polygons({{0, 1, 2}});
  return w;
}

TEST(LightWaveMalformed, EveryTruncationFailsAndOnlyTheWholeFileLoads) {
  const LwoWriter w = EveryChunk();
  const std::string bytes = w.bytes();
  ASSERT_NE(LoadBytes(bytes), nullptr);
  TempDir dir;
  for (std::size_t n = 0; n < bytes.size(); ++n) {
    const std::string path = dir.Write("cut.lwo", std::string_view(bytes).substr(0, n));
    so_lwo_file* file = so_lwo_load(path.c_str());
    EXPECT_EQ(file, nullptr) << "prefix of " << n << " bytes loaded";
    so_lwo_release(file);
  }
  // Cut at a chunk boundary with the form size to match, each prefix is a
  // whole file again: the failures above came from the missing bytes alone.
  for (std::size_t end : w.chunk_ends()) {
    std::string cut = bytes.substr(0, end);
    const std::uint32_t form_size = static_cast<std::uint32_t>(end - 8);
    for (int i = 0; i < 4; ++i) cut[4 + i] = static_cast<char>(form_size >> (24 - 8 * i));
    EXPECT_NE(LoadBytes(cut), nullptr) << "cut at " << end;
  }
}

TEST(LightWaveMalformed, CorruptedBytesNeverCrash) {
  // Every byte replaced by values that make sizes, counts and indexes
  // extreme; the outcome may be either, but must be clean.
  const std::string bytes = EveryChunk().bytes();
  TempDir dir;
  int loaded = 0;
  for (std::size_t i = 12; i < bytes.size(); ++i) {
    for (char v : {'\x00', '\x01', '\x7F', '\x80', '\xFF'}) {
      std::string bad = bytes;
      bad[i] = v;
      so_lwo_file* file = so_lwo_load(dir.Write("bad.lwo", bad).c_str());
      loaded += file != nullptr;
      so_lwo_release(file);
    }
  }
  EXPECT_GT(loaded, 0);
}

TEST(LightWaveMalformed, HeaderAndForm) {
  EXPECT_EQ(so_lwo_load("/nonexistent/object.lwo"), nullptr);
  EXPECT_EQ(so_lwo_load(nullptr), nullptr);
  EXPECT_EQ(LoadBytes(std::string_view("FORM\0\0\0\x04LW", 10)), nullptr);  // short header
  IffBytes rif;
  rif.id("RIFF").u4(12).id("LWO2").id("PNTS").u4(0);
  EXPECT_EQ(LoadBytes(rif.bytes()), nullptr);
  EXPECT_EQ(LoadBytes(LwoWriter("ILBM").points({{1, 1, 1}}).bytes()), nullptr);
  EXPECT_EQ(LoadBytes(LwoWriter().bytes()), nullptr);  // no chunk at all
  // The older form goes to its own reader.
  const LwoFilePtr older = LoadBytes(LwoWriter("LWOB").points({{1, 1, 1}}).bytes());
  ASSERT_NE(older, nullptr);
  EXPECT_EQ(older->layers[0]->points.size(), 1u);
}

TEST(LightWaveMalformed, DeclaredSizesThatDoNotHold) {
  const auto loads = [](LwoWriter& w, std::optional<std::uint32_t> form_size = {}) {
    return LoadBytes(w.bytes(form_size)) != nullptr;
  };
  LwoWriter past_end;
  past_end.points({{1, 1, 1}}).chunk("JUNK", [](IffBytes& b) { b.u4(0); }, 1000);
  EXPECT_FALSE(loads(past_end));
  LwoWriter huge;
  huge.chunk("PNTS", [](IffBytes& b) { b.f4(1).f4(2).f4(3); }, 0xFFFFFFF0u);
  EXPECT_FALSE(loads(huge));
  LwoWriter form;  // a form size beyond the data asks for a header that is not there
  form.points({{1, 1, 1}});
  EXPECT_FALSE(loads(form, static_cast<std::uint32_t>(form.bytes().size())));
  // Chunks whose readers need more than the declared size.
  LwoWriter layer;
  layer.chunk("LAYR", [](IffBytes& b) { b.u2(1).u2(0).f4(0).f4(0).f4(0).str("name"); }, 10);
  EXPECT_FALSE(loads(layer));
  LwoWriter bbox;
  bbox.points({{1, 1, 1}}).chunk("BBOX", [](IffBytes& b) { b.f4(1).f4(1).f4(1).f4(2).f4(2).f4(2); }, 20);
  EXPECT_FALSE(loads(bbox));
}

TEST(LightWaveMalformed, RecordsCrossingTheirBlockEnd) {
  const auto fails = [](const std::function<void(IffBytes&)>& pols_body, std::string_view id = "POLS") {
    LwoWriter w;
    w.points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}).chunk(id, pols_body);
    return LoadBytes(w.bytes()) == nullptr;
  };
  EXPECT_TRUE(fails([](IffBytes& b) { b.id("FACE").u2(3).u2(0).u2(1); }));  // third index missing
  EXPECT_TRUE(fails([](IffBytes& b) { b.id("FACE").u2(2).u2(0).u2(1).u2(1).raw("\xFF\x00"); }));
  EXPECT_TRUE(fails([](IffBytes& b) { b.raw("abcd"); }, "TAGS"));  // no zero
  EXPECT_TRUE(fails([](IffBytes& b) { b.id("TXUV").u2(2).str("uv").u2(0).f4(1); }, "VMAP"));
  EXPECT_TRUE(fails([](IffBytes& b) { b.id("TXUV").u2(1).str("uv").u2(0).u2(0).u2(0); }, "VMAD"));
  EXPECT_TRUE(fails([](IffBytes& b) { b.id("FACE"); }));  // kind without polygons: empty block
  EXPECT_TRUE(fails([](IffBytes& b) { b.id("SURF").u2(0); }, "PTAG"));  // record without its tag
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
    return LoadBytes(w.bytes()) != nullptr;
  };
  EXPECT_TRUE(loads({}));
  EXPECT_FALSE(loads({.corner = 3}));
  EXPECT_FALSE(loads({.map_point = 3}));
  EXPECT_FALSE(loads({.tag_polygon = 1}));
  EXPECT_FALSE(loads({.map_polygon = 1}));
  EXPECT_FALSE(loads({.tag = 1}));
  EXPECT_TRUE(loads({}, false));
  EXPECT_FALSE(loads({.tag = 1}, false));  // a tag index with no TAGS chunk at all
}

}  // namespace
}  // namespace so3d::test
