#pragma once
// Counts taken from an object file (either form) by a deliberately plain
// walk over its chunks, independent of the reader, to check loads of the
// public objects against.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace so3d::test {

inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

struct WalkedObject {
  bool older = false;                    // LWOB rather than LWO2
  std::vector<std::size_t> points{0};    // per layer
  std::vector<std::size_t> polygons{0};  // per layer
  std::size_t layr_chunks = 0;
  long long fan_triangles = 0;    // (corners - 2) over polygons of 3 corners or more
  std::vector<std::string> tags;  // TAGS, or SRFS
  std::vector<std::string> surf_names;
  std::size_t surfaces = 0;  // SURF chunks, then one per unknown tag polygons use
};

inline WalkedObject WalkObject(const std::string& s) {
  const auto be = [&](std::size_t at, int n) {
    std::uint32_t v = 0;
    for (int i = 0; i < n; ++i) v = (v << 8) | static_cast<unsigned char>(s.at(at + static_cast<std::size_t>(i)));
    return v;
  };
  const auto index_length = [&](std::size_t at) -> std::size_t { return std::uint8_t(s.at(at)) == 0xFF ? 4 : 2; };
  const auto index = [&](std::size_t at) { return index_length(at) == 4 ? be(at + 1, 3) : be(at, 2); };
  const auto padded = [](const std::string& name) { return (name.size() + 2) & ~std::size_t{1}; };
  WalkedObject e;
  e.older = s.compare(8, 4, "LWOB") == 0;
  std::vector<std::map<std::size_t, std::uint32_t>> tagged(1);  // per layer: polygon -> tag
  std::size_t tag_offset = 0, polygon_offset = 0;
  const std::size_t end = 8 + be(4, 4);
  for (std::size_t at = 12; at + 8 <= end;) {
    const std::string id = s.substr(at, 4);
    const std::size_t size = be(at + 4, 4), data = at + 8;
    if (id == "LAYR" && e.layr_chunks++ > 0) {
      e.points.push_back(0), e.polygons.push_back(0), tagged.emplace_back();
    } else if (id == "PNTS") {
      e.points.back() += size / 12;
    } else if (id == "POLS") {
      polygon_offset = e.polygons.back();
      for (std::size_t p = data + (e.older ? 0 : 4); p < data + size; ++e.polygons.back()) {
        const std::size_t corners = be(p, 2) & (e.older ? 0xFFFF : 0x3FF);
        p += 2;
        for (std::size_t k = 0; k < corners; ++k) p += e.older ? 2 : index_length(p);
        if (corners >= 3) e.fan_triangles += static_cast<long long>(corners) - 2;
        if (e.older) {  // a surface number, negative before detail polygons
          const int number = static_cast<std::int16_t>(be(p, 2));
          p += number < 0 ? 4 : 2;
          tagged[0][e.polygons.back()] = static_cast<std::uint32_t>(std::abs(number) - 1);
        }
      }
    } else if (id == "TAGS" || id == "SRFS") {
      tag_offset = e.tags.size();
      for (std::size_t p = data; p < data + size; p += padded(e.tags.back())) e.tags.push_back(s.c_str() + p);
    } else if (id == "PTAG" && s.substr(data, 4) == "SURF") {
      for (std::size_t p = data + 4; p < data + size; p += index_length(p)) {
        const std::size_t polygon = index(p) + polygon_offset;
        p += index_length(p);
        tagged.back()[polygon] = static_cast<std::uint32_t>(index(p) + tag_offset);
      }
    } else if (id == "SURF") {
      e.surf_names.push_back(s.c_str() + data);
    }
    at = data + size + (size & 1);
  }
  std::set<std::uint32_t> used;  // untagged polygons take tag 0
  for (std::size_t l = 0; l < e.polygons.size(); ++l)
    for (std::size_t p = 0; p < e.polygons[l]; ++p) used.insert(tagged[l].count(p) ? tagged[l][p] : 0);
  const std::set<std::string> named(e.surf_names.begin(), e.surf_names.end());
  e.surfaces = e.surf_names.size();
  if (e.tags.empty()) e.surfaces += used.empty() ? 0 : 1;
  for (std::uint32_t t : used) e.surfaces += !e.tags.empty() && (e.tags.at(t).empty() || !named.count(e.tags[t]));
  return e;
}

}  // namespace so3d::test
