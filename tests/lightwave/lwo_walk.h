#pragma once
// Counts taken from an object file (either form) by a deliberately plain
// walk over its chunks, independent of the reader, to check loads of the
// public objects against. How tags bind surfaces is the synthetic files' test.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
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
  long long fan_triangles = 0;  // (corners - 2) over polygons of 3 corners or more
};

inline WalkedObject WalkObject(const std::string& s) {
  const auto be = [&](std::size_t at, int n) {
    std::uint32_t v = 0;
    for (int i = 0; i < n; ++i) v = (v << 8) | static_cast<unsigned char>(s.at(at + static_cast<std::size_t>(i)));
    return v;
  };
  WalkedObject e;
  e.older = s.compare(8, 4, "LWOB") == 0;
  const std::size_t end = 8 + be(4, 4);
  for (std::size_t at = 12; at + 8 <= end;) {
    const std::string id = s.substr(at, 4);
    const std::size_t size = be(at + 4, 4), data = at + 8;
    if (id == "LAYR" && e.layr_chunks++ > 0) {
      e.points.push_back(0), e.polygons.push_back(0);
    } else if (id == "PNTS") {
      e.points.back() += size / 12;
    } else if (id == "POLS") {
      for (std::size_t p = data + (e.older ? 0 : 4); p < data + size; ++e.polygons.back()) {
        const std::size_t corners = be(p, 2) & (e.older ? 0xFFFF : 0x3FF);
        p += 2;
        for (std::size_t k = 0; k < corners; ++k) p += e.older || std::uint8_t(s.at(p)) != 0xFF ? 2 : 4;
        if (corners >= 3) e.fan_triangles += static_cast<long long>(corners) - 2;
        // The older form's surface number, negative before detail polygons.
        if (e.older) p += static_cast<std::int16_t>(be(p, 2)) < 0 ? 4 : 2;
      }
    }
    at = data + size + (size & 1);
  }
  return e;
}

}  // namespace so3d::test
