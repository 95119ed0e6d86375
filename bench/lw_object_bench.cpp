// Loading a 1,000,000-quad object: the file reader alone, then the whole
// soLightWaveObject::LoadObject (read, triangulate, interleave, texture
// coordinates). The goal is the second within twice the first.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "objects/lightwave/so_lightwave_object.h"
#include "objects/lightwave/so_lwo_file.h"

namespace {

constexpr std::uint32_t kSide = 1000;  // quads per row and per column

class Bytes {
 public:
  void u2(std::uint32_t v) { put(v, 2); }
  void u4(std::uint32_t v) { put(v, 4); }
  void f4(float f) {
    std::uint32_t v;
    std::memcpy(&v, &f, 4);
    u4(v);
  }
  void id(const char* four) { data.append(four, 4); }
  // Variable-length index: two bytes below 0xFF00, else four.
  void vx(std::uint32_t v) { v < 0xFF00 ? u2(v) : u4(0xFF000000u | v); }
  void chunk(const char* four, const Bytes& body) {
    id(four);
    u4(static_cast<std::uint32_t>(body.data.size()));
    data += body.data;
    if (body.data.size() % 2 != 0) data += '\0';
  }
  std::string data;

 private:
  void put(std::uint32_t v, int n) {
    for (int i = n - 1; i >= 0; --i) data += static_cast<char>((v >> (8 * i)) & 0xFF);
  }
};

// A flat grid of kSide x kSide quads on one surface named "One", so that
// texture coordinates are generated too.
std::string grid_object() {
  Bytes tags, layer, points, polygons, ptag, surface;
  tags.id("One");
  tags.u2(0);  // "One" + NUL, already even
  layer.u2(0);
  layer.u2(0);
  for (int i = 0; i < 3; ++i) layer.f4(0);
  layer.u2(0);  // empty name
  for (std::uint32_t y = 0; y <= kSide; ++y) {
    for (std::uint32_t x = 0; x <= kSide; ++x) {
      points.f4(static_cast<float>(x) * 0.01f);
      points.f4(static_cast<float>(y) * 0.01f);
      points.f4(0.0f);
    }
  }
  polygons.id("FACE");
  ptag.id("SURF");
  for (std::uint32_t y = 0; y < kSide; ++y) {
    for (std::uint32_t x = 0; x < kSide; ++x) {
      const std::uint32_t p = y * (kSide + 1) + x;
      polygons.u2(4);
      polygons.vx(p);
      polygons.vx(p + kSide + 1);
      polygons.vx(p + kSide + 2);
      polygons.vx(p + 1);
      ptag.vx(y * kSide + x);
      ptag.u2(0);
    }
  }
  surface.id("One");
  surface.u2(0);  // name
  surface.u2(0);  // source
  Bytes form;
  form.chunk("TAGS", tags);
  form.chunk("LAYR", layer);
  form.chunk("PNTS", points);
  form.chunk("POLS", polygons);
  form.chunk("PTAG", ptag);
  form.chunk("SURF", surface);
  Bytes file;
  file.id("FORM");
  file.u4(static_cast<std::uint32_t>(form.data.size() + 4));
  file.id("LWO2");
  file.data += form.data;
  return file.data;
}

// Written once per run, removed when the program ends.
struct GridFile {
  GridFile() : path((std::filesystem::temp_directory_path() / "so3d_lw_object_bench.lwo").string()) {
    const std::string bytes = grid_object();
    if (std::FILE* f = std::fopen(path.c_str(), "wb")) {
      std::fwrite(bytes.data(), 1, bytes.size(), f);
      std::fclose(f);
    }
  }
  ~GridFile() { std::remove(path.c_str()); }
  std::string path;
};

const std::string& grid_path() {
  static const GridFile file;
  return file.path;
}

void BM_ReadFile(benchmark::State& state) {
  const std::string& path = grid_path();
  for (auto _ : state) {
    so_lwo_file* file = so_lwo_load(path.c_str());
    if (file == nullptr) {
      state.SkipWithError("the grid object did not load");
      return;
    }
    benchmark::DoNotOptimize(file);
    so_lwo_release(file);
  }
}

// The object is destroyed outside the timed part: its release is not part
// of loading, whereas the file record's release is.
void BM_LoadObject(benchmark::State& state) {
  const std::string& path = grid_path();
  for (auto _ : state) {
    auto object = std::make_unique<soLightWaveObject>("grid", nullptr);
    if (!object->LoadObject(path.c_str(), so_handedness_left)) {
      state.SkipWithError("the grid object did not load");
      return;
    }
    benchmark::DoNotOptimize(object->SurfaceAt(0));
    state.counters["triangles"] = static_cast<double>(object->SurfaceAt(0)->vertex_count / 3);
    state.PauseTiming();
    object.reset();
    state.ResumeTiming();
  }
}

}  // namespace

BENCHMARK(BM_ReadFile)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_LoadObject)->Unit(benchmark::kMillisecond)->MinTime(2.0);
