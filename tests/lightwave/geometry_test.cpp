// Geometry chunks and the finishing steps, on files built by the writer.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/lightwave/lwo_test_util.h"

namespace so3d::test {
namespace {

// A unit square in the XY plane, counter-clockwise seen from +z.
const std::vector<Vec3> kSquare = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};

std::vector<float> Vec(const float* v, int n = 3) { return std::vector<float>(v, v + n); }

TEST(LightWaveGeometry, LayersPointsAndPolygonsLandWhereTheChunksSay) {
  LwoWriter w;
  w.points(kSquare)  // before any LAYR: the first layer, which LAYR then names
      .layer(7, "base")
      .chunk("JUNK", [](IffBytes& b) { b.raw("abc"); })  // odd size: a pad byte follows
      .points({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}})
      .polygons({{0, 1, 2}})  // counts from the latest PNTS chunk
      .chunk("POLS", [](IffBytes& b) { b.id("PTCH").u2(0x8003).index4(2).index(1).index4(0); })
      .layer(8, "child", 7)
      .points({{5, 5, 5}});
  auto file = LoadBytes(w.bytes());
  ASSERT_TRUE(file && file->layer_count == 2);
  const so_lwo_layer& first = *file->layers[0];
  ASSERT_TRUE(first.name == "base" && first.points.size() == 7u && first.polygons.size() == 2u);
  std::vector<std::int32_t> corners;
  for (const so_lwo_corner& c : first.corners) corners.push_back(c.point);
  EXPECT_EQ(corners, (std::vector<std::int32_t>{4, 5, 6, 6, 5, 4}));
  EXPECT_TRUE(first.polygons[1].kind == zFourCC("PTCH") && first.polygons[1].flags == 0x8000);
  EXPECT_EQ(file->layers[1]->parent, 7);

  file = LoadBytes(LwoWriter().points(kSquare).bytes() + "trailing bytes past the form");  // no LAYR
  ASSERT_TRUE(file && file->layer_count == 1);
}

TEST(LightWaveGeometry, BoundsAndPolygonNormals) {
  LwoWriter w;
  w.points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 0, -1}})
      .polygons({{0, 1, 2, 3}, {0, 3, 2, 1}, {0, 1, 4}, {0, 1}})
      .bbox({0, 0, 0}, {0, 0, 0});  // all zero: replaced
  auto file = LoadBytes(w.bytes());
  ASSERT_NE(file, nullptr);
  const so_lwo_layer& layer = *file->layers[0];
  EXPECT_EQ(Vec(layer.bounds, 6), (std::vector<float>{0, 0, -1, 2, 1, 0}));
  std::vector<std::vector<float>> normals;  // the last polygon has two corners
  for (const so_lwo_polygon& p : layer.polygons) normals.push_back(Vec(p.normal));
  EXPECT_EQ(normals, (std::vector<std::vector<float>>{{0, 0, 1}, {0, 0, -1}, {0, 1, 0}, {0, 0, 0}}));

  file = LoadBytes(LwoWriter().points(kSquare).bbox({0, 0, 0}, {0, 0, 3}).bytes());  // one value set: kept
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(Vec(file->layers[0]->bounds, 6), (std::vector<float>{0, 0, 0, 0, 0, 3}));
}

TEST(LightWaveGeometry, TagsBindSurfacesAndUnknownTagsGetOneDefaultEach) {
  LwoWriter w;
  w.points(kSquare)
      .polygons({{0, 1, 2}, {0, 2, 3}, {1, 2, 3}, {0, 1, 3}})
      .tags({"Known", "Missing"})
      .ptag("SURF", {{1, 1}, {2, 1}})  // polygon 0 keeps tag 0
      .ptag("COLR", {{0, 1}})          // other types are skipped
      .tags({""})                      // later tag values count from here
      .ptag("SURF", {{3, 0}})
      .ptag("SMGP", {{1, 4}})
      .polygons({{0, 1, 2}, {1, 2, 3}})
      .ptag("SURF", {{1, 0}})  // polygons count from the latest POLS
      .surface("Other")
      .surface("Known")
      .surface("Known");
  auto file = LoadBytes(w.bytes());
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(file->surface_count, 5);
  EXPECT_TRUE(file->surfaces[3]->name == "Missing" && file->surfaces[3]->glossiness.value == 0.4f);  // defaults
  std::vector<std::int32_t> surfaces;
  for (const so_lwo_polygon& p : file->layers[0]->polygons) surfaces.push_back(p.surface);
  EXPECT_EQ(surfaces, (std::vector<std::int32_t>{1, 3, 3, 4, 1, 4}));  // the first "Known"; one default, shared
  EXPECT_EQ(file->layers[0]->polygons[1].smoothing_group, 6);

  // No TAGS at all: one unnamed surface for every layer.
  LwoWriter untagged;
  untagged.layer(1).points(kSquare).polygons({{0, 1, 2}}).layer(2).points(kSquare).polygons({{0, 1, 2}});
  file = LoadBytes(untagged.bytes());
  ASSERT_TRUE(file && file->surface_count == 1);
  EXPECT_EQ(file->layers.at(1)->polygons[0].surface, 0);
}

TEST(LightWaveGeometry, SmoothedNormalsFollowTheArcCosineTestAndPlainDivision) {
  // A flat pentagon and a fan of polygons around its point 0 at many angles
  // to it; the last fan polygon is in another smoothing group. For each
  // limit, a neighbour blends exactly when acos(dot) <= limit, and the sum
  // is divided by its length, bit for bit.
  std::vector<Vec3> points = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0.5f, 1.5f, 0}, {0, 1, 0}};
  std::vector<std::vector<std::uint32_t>> polygons = {{0, 1, 2, 3, 4}};
  for (int i = 1; i <= 41; ++i) {
    const float a = 0.0785f * static_cast<float>(i % 41);
    points.push_back({1, 0, 0});
    points.push_back({0, std::cos(a), std::sin(a)});
    const auto last = static_cast<std::uint32_t>(points.size() - 1);
    polygons.push_back({0, last - 1, last});
  }
  for (float limit : {0.3f, 1.0f, 1.5707964f, 2.5f, 3.2f, 0.0f}) {
    LwoWriter w;
    w.points(points).polygons(polygons).tags({"S"}).ptag("SMGP", {{41, 1}}).surface("S", [limit](IffBytes& b) {
      b.sub("SMAN", [limit](IffBytes& d) { d.f4(limit); });
    });
    auto file = LoadBytes(w.bytes());
    ASSERT_NE(file, nullptr);
    const so_lwo_layer& layer = *file->layers[0];
    const float* n0 = layer.polygons[0].normal;
    float sum[3] = {n0[0], n0[1], n0[2]};
    for (std::size_t h = 1; h < 41 && limit > 0; ++h) {
      const float* m = layer.polygons[h].normal;
      const float dot = n0[0] * m[0] + n0[1] * m[1] + n0[2] * m[2];
      if (std::acos(static_cast<double>(dot)) > static_cast<double>(limit)) continue;
      for (int k = 0; k < 3; ++k) sum[k] += m[k];
    }
    const float length = std::sqrt(sum[0] * sum[0] + sum[1] * sum[1] + sum[2] * sum[2]);
    const float* got = layer.corners[0].normal;
    for (int k = 0; k < 3; ++k) EXPECT_EQ(got[k], sum[k] / length) << "limit " << limit;
    EXPECT_EQ(Vec(layer.corners[1].normal), (std::vector<float>{0, 0, 1}));  // no neighbour there
  }
}

TEST(LightWaveGeometry, PointPolygonListsWithMapsBesideThem) {
  LwoWriter w;
  w.points(kSquare)
      .polygons({{0, 1, 2}, {0, 2, 3}, {0, 0, 1}})
      .vmap("TXUV", 2, "uv", {{2, 0, {0.5f, 0.25f}}, {0, 0, {1, 2}}})
      .vmap("WGHT", 0, "w", {{2, 0, {}}})
      .vmap("TXUV", 2, "uv", {{2, 1, {9, 8}}, {1, 1, {7, 7}}}, true);  // point 1 not in polygon 1
  auto file = LoadBytes(w.bytes());
  ASSERT_NE(file, nullptr);
  const so_lwo_layer& layer = *file->layers[0];
  const auto point0 = so_lwo_point_polygons(layer, 0);
  EXPECT_EQ(std::vector<std::int32_t>(point0.begin(), point0.end()), (std::vector<std::int32_t>{0, 1, 2, 2}));
  EXPECT_EQ(layer.map_count, 3);
}

}  // namespace
}  // namespace so3d::test
