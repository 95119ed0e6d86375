// Every public object loads, and what it holds agrees with counts taken by a
// separate, deliberately plain walk over the file's chunks.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include "tests/lightwave/lwo_test_util.h"

namespace so3d::test {
namespace {

std::uint32_t Be(const std::string& s, std::size_t at, int n) {
  std::uint32_t v = 0;
  for (int i = 0; i < n; ++i) v = (v << 8) | static_cast<unsigned char>(s.at(at + static_cast<std::size_t>(i)));
  return v;
}

std::size_t IndexLength(const std::string& s, std::size_t at) {
  return static_cast<unsigned char>(s.at(at)) == 0xFF ? 4 : 2;
}

std::uint32_t IndexValue(const std::string& s, std::size_t at) {
  return IndexLength(s, at) == 4 ? Be(s, at + 1, 3) : Be(s, at, 2);
}

struct Expected {
  std::vector<std::size_t> points{0};    // per layer
  std::vector<std::size_t> polygons{0};  // per layer
  std::size_t layr_chunks = 0;
  std::vector<std::string> tags;
  std::vector<std::string> surf_names;
  std::size_t clips_and_envelopes = 0;
  std::set<std::uint32_t> used_tags;  // tag indexes that polygons end up with
};

Expected Walk(const std::string& s) {
  Expected e;
  // Per layer: polygons of the file, and which of them a PTAG SURF record named.
  std::vector<std::map<std::size_t, std::uint32_t>> tagged(1);
  std::size_t tag_offset = 0;
  std::size_t polygon_offset = 0;
  const std::size_t end = 8 + Be(s, 4, 4);
  for (std::size_t at = 12; at + 8 <= end;) {
    const std::string id = s.substr(at, 4);
    const std::size_t size = Be(s, at + 4, 4);
    const std::size_t data = at + 8;
    if (id == "LAYR") {
      if (e.layr_chunks++ > 0) {
        e.points.push_back(0);
        e.polygons.push_back(0);
        tagged.emplace_back();
      }
    } else if (id == "PNTS") {
      e.points.back() += size / 12;
    } else if (id == "POLS") {
      polygon_offset = e.polygons.back();
      for (std::size_t p = data + 4; p < data + size; ++e.polygons.back()) {
        const std::size_t corners = Be(s, p, 2) & 0x3FF;
        p += 2;
        for (std::size_t k = 0; k < corners; ++k) p += IndexLength(s, p);
      }
    } else if (id == "TAGS") {
      tag_offset = e.tags.size();
      for (std::size_t p = data; p < data + size;) {
        const std::string name = s.c_str() + p;
        e.tags.push_back(name);
        p += (name.size() + 2) & ~std::size_t{1};
      }
    } else if (id == "PTAG" && s.substr(data, 4) == "SURF") {
      for (std::size_t p = data + 4; p < data + size;) {
        const std::size_t polygon = IndexValue(s, p) + polygon_offset;
        p += IndexLength(s, p);
        tagged.back()[polygon] = static_cast<std::uint32_t>(IndexValue(s, p) + tag_offset);
        p += IndexLength(s, p);
      }
    } else if (id == "SURF") {
      e.surf_names.push_back(s.c_str() + data);
    } else if (id == "CLIP" || id == "ENVL") {
      ++e.clips_and_envelopes;
    }
    at = data + size + (size & 1);
  }
  for (std::size_t l = 0; l < e.polygons.size(); ++l) {
    for (std::size_t p = 0; p < e.polygons[l]; ++p) {
      const auto found = tagged[l].find(p);
      e.used_tags.insert(found == tagged[l].end() ? 0 : found->second);
    }
  }
  return e;
}

// Surfaces made for tags that no SURF chunk names (or one for a file
// without tags), added after the SURF ones.
std::size_t DefaultSurfaces(const Expected& e) {
  bool any_polygon = false;
  for (std::size_t n : e.polygons) any_polygon |= n > 0;
  if (e.tags.empty()) return any_polygon ? 1 : 0;
  std::size_t made = 0;
  const std::set<std::string> names(e.surf_names.begin(), e.surf_names.end());
  for (std::uint32_t t : e.used_tags) {
    if (e.tags[t].empty() || !names.count(e.tags[t])) ++made;
  }
  return made;
}

TEST(LightWaveCorpus, EveryLwo2ObjectLoadsWithTheCountsItDeclares) {
  SO3D_REQUIRE_LIGHTWAVE_DATA(root);
  int checked = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file() || entry.path().extension() != ".lwo") continue;
    std::ifstream in(entry.path(), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (bytes.size() < 12 || bytes.compare(8, 4, "LWO2") != 0) {
      // Older-form objects are checked below; other forms fail, but cleanly.
      so_lwo_release(so_lwo_load(entry.path().c_str()));
      continue;
    }
    SCOPED_TRACE(entry.path().string());
    ++checked;

    const Expected e = Walk(bytes);
    LwoFilePtr file(so_lwo_load(entry.path().c_str()));
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(file->layers.size(), e.points.size());
    EXPECT_EQ(file->layer_count, static_cast<std::int32_t>(std::max<std::size_t>(1, e.layr_chunks)));
    for (std::size_t l = 0; l < e.points.size(); ++l) {
      const so_lwo_layer& layer = *file->layers[l];
      EXPECT_EQ(layer.points.size(), e.points[l]) << "layer " << l;
      EXPECT_EQ(layer.polygons.size(), e.polygons[l]) << "layer " << l;
      for (const so_lwo_polygon& p : layer.polygons) ASSERT_LT(static_cast<std::size_t>(p.surface), file->surfaces.size());
      EXPECT_EQ(layer.point_polygons.size(), layer.corners.size());
    }
    EXPECT_EQ(file->tags.names, e.tags);
    EXPECT_EQ(file->clips.size() + file->envelopes.size(), e.clips_and_envelopes);
    ASSERT_EQ(file->surfaces.size(), e.surf_names.size() + DefaultSurfaces(e));
    for (std::size_t i = 0; i < e.surf_names.size(); ++i) EXPECT_EQ(file->surfaces[i]->name, e.surf_names[i]);
  }
  EXPECT_GT(checked, 20);
}

struct ExpectedOlder {
  std::size_t points = 0;
  std::size_t polygons = 0;
  std::vector<std::string> names;  // SRFS
  std::vector<std::string> surf_names;
  std::set<std::string> used_names;  // of polygons
  std::size_t clips = 0;      // RIMG, and TIMG after a texture
  std::size_t envelopes = 0;  // three per TVEL after a texture
};

ExpectedOlder WalkOlder(const std::string& s) {
  ExpectedOlder e;
  std::vector<int> surface_numbers;
  const std::size_t end = 8 + Be(s, 4, 4);
  for (std::size_t at = 12; at + 8 <= end;) {
    const std::string id = s.substr(at, 4);
    const std::size_t size = Be(s, at + 4, 4);
    const std::size_t data = at + 8;
    if (id == "PNTS") {
      e.points += size / 12;
    } else if (id == "POLS") {
      for (std::size_t p = data; p < data + size; ++e.polygons) {
        p += 2 + 2 * Be(s, p, 2);
        const int number = static_cast<std::int16_t>(Be(s, p, 2));
        p += number < 0 ? 4 : 2;
        surface_numbers.push_back(number < 0 ? -number : number);
      }
    } else if (id == "SRFS") {
      for (std::size_t p = data; p < data + size;) {
        e.names.push_back(s.c_str() + p);
        p += (e.names.back().size() + 2) & ~std::size_t{1};
      }
    } else if (id == "SURF") {
      e.surf_names.push_back(s.c_str() + data);
      bool texture = false;
      for (std::size_t p = data + ((e.surf_names.back().size() + 2) & ~std::size_t{1}); p + 6 <= data + size;) {
        const std::string sub = s.substr(p, 4);
        texture |= sub.size() == 4 && sub.substr(1) == "TEX";
        e.clips += sub == "RIMG" || (texture && sub == "TIMG");
        e.envelopes += texture && sub == "TVEL" ? 3 : 0;
        const std::size_t sub_size = Be(s, p + 4, 2);
        p += 6 + sub_size + (sub_size & 1);
      }
    }
    at = data + size + (size & 1);
  }
  for (int n : surface_numbers) e.used_names.insert(e.names.at(static_cast<std::size_t>(n - 1)));
  return e;
}

TEST(LightWaveCorpus, EveryOlderFormObjectLoadsWithTheCountsItDeclares) {
  SO3D_REQUIRE_LIGHTWAVE_DATA(root);
  int checked = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file() || entry.path().extension() != ".lwo") continue;
    std::ifstream in(entry.path(), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (bytes.size() < 12 || bytes.compare(8, 4, "LWOB") != 0) continue;
    SCOPED_TRACE(entry.path().string());
    ++checked;

    const ExpectedOlder e = WalkOlder(bytes);
    LwoFilePtr file(so_lwo_load(entry.path().c_str()));
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(file->layers.size(), 1u);
    EXPECT_EQ(file->layer_count, 1);
    const so_lwo_layer& layer = *file->layers[0];
    EXPECT_EQ(layer.points.size(), e.points);
    EXPECT_EQ(layer.polygons.size(), e.polygons);
    EXPECT_EQ(file->tags.names, e.names);
    std::size_t defaults = 0;
    const std::set<std::string> defined(e.surf_names.begin(), e.surf_names.end());
    for (const std::string& name : e.used_names) defaults += defined.count(name) == 0;
    ASSERT_EQ(file->surfaces.size(), e.surf_names.size() + defaults);
    for (std::size_t i = 0; i < e.surf_names.size(); ++i) EXPECT_EQ(file->surfaces[i]->name, e.surf_names[i]);
    for (const so_lwo_polygon& p : layer.polygons) {
      EXPECT_EQ(p.kind, zFourCC("FACE"));
      ASSERT_LT(static_cast<std::size_t>(p.surface), file->surfaces.size());
    }
    EXPECT_EQ(layer.point_polygons.size(), layer.corners.size());
    EXPECT_EQ(file->clips.size(), e.clips);
    EXPECT_EQ(file->envelopes.size(), e.envelopes);
  }
  EXPECT_GE(checked, 3);
}

}  // namespace
}  // namespace so3d::test
