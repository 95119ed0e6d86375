#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "objects/lightwave/so_lightwave_object.h"
#include "tests/support/temp_dir.h"
#include "tests/textures/memory_texture_manager.h"

namespace {

std::uint32_t U4(const std::string& b, std::size_t at) {
  return (std::uint32_t(std::uint8_t(b[at])) << 24) | (std::uint32_t(std::uint8_t(b[at + 1])) << 16) |
         (std::uint32_t(std::uint8_t(b[at + 2])) << 8) | std::uint8_t(b[at + 3]);
}
std::uint32_t U2(const std::string& b, std::size_t at) {
  return (std::uint32_t(std::uint8_t(b[at])) << 8) | std::uint8_t(b[at + 1]);
}

// Triangles a fan of every polygon makes, counted straight from the POLS
// chunks: sum of (corners - 2) over polygons of three corners or more. -1 for
// a file this walker cannot follow.
long long FanTriangles(const std::string& b) {
  if (b.size() < 12 || b.compare(0, 4, "FORM") != 0) return -1;
  // Older-form records: 16-bit corner count and indexes, then a surface
  // number, followed by a detail-polygon count when it is negative.
  const bool older = b.compare(8, 4, "LWOB") == 0;
  long long triangles = 0;
  std::size_t at = 12;
  while (b.size() - at >= 8) {
    const std::string id = b.substr(at, 4);
    const std::size_t size = U4(b, at + 4);
    const std::size_t data = at + 8;
    if (size > b.size() - data) return -1;
    if (id == "POLS" && older) {
      std::size_t p = data;
      const std::size_t end = data + size;
      while (end - p >= 2) {
        const std::uint32_t corners = U2(b, p);
        if (end - p < 4 + 2 * std::size_t{corners}) return -1;
        p += 2 + 2 * std::size_t{corners};
        p += (U2(b, p) & 0x8000) ? 4 : 2;
        if (corners >= 3) triangles += corners - 2;
      }
    } else if (id == "POLS") {
      std::size_t p = data + 4;
      const std::size_t end = data + size;
      while (end - p >= 2) {
        const std::uint32_t corners = U2(b, p) & 0x3FF;
        p += 2;
        for (std::uint32_t c = 0; c < corners; ++c) {
          if (end - p < 2) return -1;
          p += std::uint8_t(b[p]) == 0xFF ? 4 : 2;
        }
        if (corners >= 3) triangles += corners - 2;
      }
    }
    at = data + size + (size & 1);
  }
  return triangles;
}

}  // namespace

TEST(LightWaveCorpus, EveryObjectBecomesItsFanOfTriangles) {
  SO3D_REQUIRE_LIGHTWAVE_DATA(root);
  int loaded = 0;
  int older = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file() || entry.path().extension() != ".lwo") continue;
    std::ifstream in(entry.path(), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    SCOPED_TRACE(entry.path().string());

    const long long expected = FanTriangles(bytes);
    ASSERT_GE(expected, 0);
    auto textures = so3d::test::MakeMemoryManager();
    for (std::int32_t handedness : {so_handedness_left, so_handedness_right}) {
      soLightWaveObject object(entry.path().c_str(), textures.get());
      ASSERT_TRUE(object.LoadObject(entry.path().c_str(), handedness));
      long long triangles = 0;
      for (std::int32_t i = 0; i < object.SurfaceCount(); ++i) {
        const so_surface& s = *object.SurfaceAt(i);
        EXPECT_TRUE(s.vertex_count % 3 == 0 && s.normal_count == s.vertex_count);
        EXPECT_TRUE(s.vertex_count == 0 || s.interleaved != nullptr);
        triangles += s.vertex_count / 3;
      }
      EXPECT_EQ(triangles, expected);
    }
    ++loaded;
    older += bytes.compare(8, 4, "LWOB") == 0;
  }
  EXPECT_GT(loaded, 0);
  EXPECT_GE(older, 3);
}
