// The LWO3 form (opt-in): the same geometry chunks as LWO2, surfaces and
// clips as nested FORMs with U4 sizes. A file and its LWO2 twin load into the
// same record; broken nesting fails with its kind; off by default.
#include <gtest/gtest.h>

#include <string>

#include "fixtures/lwo_writer.h"
#include "objects/lightwave/so_lwo_nested.h"
#include "tests/lightwave/lwo_test_util.h"

namespace so3d::test {
namespace {

using namespace so3d::fixtures;

// Two triangles on surface "Skin", with a colour image on a UV map.
LwoWriter Geometry(std::string_view form) {
  LwoWriter w(form);
  w.layer(1, "one").points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}).polygons({{0, 1, 2}, {0, 2, 3}});
  w.tags({"Skin"}).ptag("SURF", {{0, 0}, {1, 0}});
  w.vmap("TXUV", 2, "uv", {{0, 0, {0, 0}}, {2, 0, {1, 1}}});
  return w;
}

std::string Lwo3File() {
  LwoWriter w = Geometry("LWO3");
  w.clip3(1, "images/wood.png");
  w.surface3("Skin", [](IffBytes& b) {
    b.chunk4("COLR", [](IffBytes& d) { d.f4(0.5f).f4(0.25f).f4(1).index(0); });
    b.chunk4("SMAN", [](IffBytes& d) { d.f4(1.2f); });
    b.form("NODS", [](IffBytes& n) { n.chunk4("NVER", [](IffBytes& d) { d.u4(1); }); });  // stepped over
    b.form("BLOK", [](IffBytes& k) {
      k.form("IMAP", [](IffBytes& h) {
        h.chunk4("    ", [](IffBytes& d) { d.str("\x80"); }).chunk4("CHAN", [](IffBytes& d) { d.id("COLR"); });
      });
      k.form("TMAP", [](IffBytes& t) {
        t.form("SIZE", [](IffBytes& s) { s.chunk4("    ", [](IffBytes& d) { d.f4(2).f4(3).f4(4).index(0); }); });
      });
      k.chunk4("PROJ", [](IffBytes& d) { d.u2(5); }).chunk4("IMAG", [](IffBytes& d) { d.index(1); });
      k.chunk4("VMAP", [](IffBytes& d) { d.str("uv"); });
    });
  });
  return w.bytes();
}

TEST(Lwo3, LoadsLikeItsLwo2TwinOnlyWithTheModernReading) {
  const std::string bytes = Lwo3File();
  EXPECT_EQ(LoadFailure(bytes).kind, read_error::unsupported_form) << "off by default";

  const lwo::modern_forms_scope modern(true);
  LwoFilePtr three = LoadBytes(bytes);
  LwoFilePtr two = LoadBytes(Geometry("LWO2").surface("Skin").bytes());
  ASSERT_TRUE(three && two);
  ASSERT_EQ(three->layers.size(), two->layers.size());
  const so_lwo_layer &a = *three->layers[0], &b = *two->layers[0];
  EXPECT_EQ(a.points.size(), b.points.size());
  EXPECT_EQ(a.polygons.size(), b.polygons.size());
  EXPECT_EQ(std::vector<float>(a.bounds, a.bounds + 6), std::vector<float>(b.bounds, b.bounds + 6));
  for (std::size_t i = 0; i < a.polygons.size(); ++i) EXPECT_EQ(a.polygons[i].surface, b.polygons[i].surface);

  // What drawing takes from the surface and clip; placement, projection and
  // map name are read past, and the chunk after them must still land.
  ASSERT_EQ(three->surfaces.size(), 1u);
  const so_lwo_surface& s = *three->surfaces[0];
  EXPECT_EQ(s.name, "Skin");
  EXPECT_EQ(std::vector<float>(s.color.rgb, s.color.rgb + 3), (std::vector<float>{0.5f, 0.25f, 1}));
  EXPECT_FLOAT_EQ(s.smoothing_angle, 1.2f);
  ASSERT_EQ(s.color.textures.size(), 1u);
  EXPECT_TRUE(s.color.textures[0].kind == so_lwo_kind_image_map && s.color.textures[0].image_map.clip_index == 1);
  ASSERT_EQ(three->clips.size(), 1u);
  EXPECT_TRUE(three->clips[0]->index == 1 && three->clips[0]->file_name == "images/wood.png");
}

TEST(Lwo3, EveryCutFailsAndNestingPastItsParentIsABadSize) {
  const lwo::modern_forms_scope modern(true);
  const std::string bytes = Lwo3File();
  for (std::size_t n = 0; n < bytes.size(); n += 3) {
    const read_failure f = LoadFailure(bytes.substr(0, n));
    EXPECT_TRUE(f.kind == read_error::truncated || f.kind == read_error::bad_chunk_size) << n;
  }
  // A surface whose anonymous child claims 100 bytes inside a 20-byte form.
  LwoWriter w = Geometry("LWO3");
  w.chunk("FORM", [](IffBytes& b) { b.id("SURF").id("    ").u4(100).str("Skin").str(""); });
  const read_failure f = LoadFailure(w.bytes());
  EXPECT_EQ(f.kind, read_error::bad_chunk_size);
  EXPECT_EQ(f.chunk, zFourCC("FORM"));
}

}  // namespace
}  // namespace so3d::test
