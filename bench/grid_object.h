#pragma once
// The generated object file of the benchmarks: an LWO2 grid of quads.
#include <bit>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace so3d::bench {

class Bytes {
 public:
  void u2(std::uint16_t v) {
    s_.push_back(static_cast<char>(v >> 8));
    s_.push_back(static_cast<char>(v));
  }
  void u4(std::uint32_t v) {
    u2(static_cast<std::uint16_t>(v >> 16));
    u2(static_cast<std::uint16_t>(v));
  }
  void f4(float v) { u4(std::bit_cast<std::uint32_t>(v)); }
  void id(const char* four) { s_.append(four, 4); }
  void index(std::uint32_t v) {
    if (v < 0xFF00)
      u2(static_cast<std::uint16_t>(v));
    else
      u4(0xFF000000u | v);
  }
  void str(const std::string& v) {
    s_.append(v).push_back('\0');
    if (s_.size() % 2) s_.push_back('\0');
  }
  std::size_t begin_chunk(const char* four) {
    id(four);
    u4(0);
    return s_.size();
  }
  void end_chunk(std::size_t data) {
    const std::uint32_t size = static_cast<std::uint32_t>(s_.size() - data);
    for (int i = 0; i < 4; ++i) s_[data - 4 + static_cast<std::size_t>(i)] = static_cast<char>(size >> (24 - 8 * i));
    if (size % 2) s_.push_back('\0');
  }
  std::string& str() { return s_; }

 private:
  std::string s_;
};

// An n x n grid of quads on a gently waved sheet, in four bands of rows, one
// surface each, all smoothed at 60 degrees. With `screens` the surfaces are
// the four screen surfaces, for which objects also make texture coordinates.
inline std::string MakeGrid(int n, bool screens = false) {
  const auto name = [screens](int s) {
    static const char* const screen_names[4] = {"One", "Two", "Three", "Four"};
    return screens ? std::string(screen_names[s]) : "Surface" + std::to_string(s);
  };
  Bytes b;
  b.id("FORM");
  b.u4(0);
  b.id("LWO2");
  std::size_t c = b.begin_chunk("TAGS");
  for (int s = 0; s < 4; ++s) b.str(name(s));
  b.end_chunk(c);
  c = b.begin_chunk("LAYR");
  b.u2(1);
  b.u2(0);
  b.f4(0);
  b.f4(0);
  b.f4(0);
  b.str("grid");
  b.end_chunk(c);
  const int side = n + 1;
  c = b.begin_chunk("PNTS");
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const float fx = static_cast<float>(x) * 0.01f;
      const float fy = static_cast<float>(y) * 0.01f;
      b.f4(fx);
      b.f4(fy);
      b.f4(0.05f * std::sin(fx * 7.0f) * std::cos(fy * 5.0f));
    }
  }
  b.end_chunk(c);
  c = b.begin_chunk("POLS");
  b.id("FACE");
  for (int y = 0; y < n; ++y) {
    for (int x = 0; x < n; ++x) {
      const std::uint32_t p = static_cast<std::uint32_t>(y * side + x);
      b.u2(4);
      b.index(p);
      b.index(p + 1);
      b.index(p + 1 + static_cast<std::uint32_t>(side));
      b.index(p + static_cast<std::uint32_t>(side));
    }
  }
  b.end_chunk(c);
  c = b.begin_chunk("PTAG");
  b.id("SURF");
  for (int y = 0; y < n; ++y) {
    for (int x = 0; x < n; ++x) {
      b.index(static_cast<std::uint32_t>(y * n + x));
      b.index(static_cast<std::uint32_t>(y * 4 / n));
    }
  }
  b.end_chunk(c);
  for (int s = 0; s < 4; ++s) {
    c = b.begin_chunk("SURF");
    b.str(name(s));
    b.str("");
    b.id("SMAN");
    b.u2(4);
    b.f4(1.0471976f);
    b.id("COLR");
    b.u2(14);
    b.f4(0.25f * static_cast<float>(s));
    b.f4(0.5f);
    b.f4(1.0f);
    b.u2(0);
    b.end_chunk(c);
  }
  std::string& out = b.str();
  const std::uint32_t form = static_cast<std::uint32_t>(out.size() - 8);
  for (int i = 0; i < 4; ++i) out[4 + static_cast<std::size_t>(i)] = static_cast<char>(form >> (24 - 8 * i));
  return std::move(out);
}

// Generated files, removed at exit.
struct GridFiles {
  bool screens = false;
  std::map<int, std::filesystem::path> paths;
  ~GridFiles() {
    std::error_code ec;
    for (const auto& [n, p] : paths) std::filesystem::remove(p, ec);
  }
  const std::filesystem::path& Get(int n) {
    auto found = paths.find(n);
    if (found != paths.end()) return found->second;
    const std::filesystem::path p = std::filesystem::temp_directory_path() /
                                    ("so3d-bench-grid-" + std::to_string(n) + (screens ? "-screens" : "") + ".lwo");
    {
      const std::string bytes = MakeGrid(n, screens);
      std::ofstream(p, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    return paths[n] = p;
  }
};

}  // namespace so3d::bench
