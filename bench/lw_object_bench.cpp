// Loading the reader benchmark's 1,000,000-quad grid: the file reader alone,
// then the whole soLightWaveObject::LoadObject (read, triangulate, interleave,
// texture coordinates). The goal is the second within twice the first.
// Argument 1 names the grid's surfaces as screens, so that every vertex also
// gets texture coordinates.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "bench/grid_object.h"
#include "objects/lightwave/so_lwo_file.h"
#include "objects/so_lightwave_object.h"

namespace {

constexpr int kSide = 1000;  // quads per row and per column

std::string grid_path(bool screens) {
  static so3d::bench::GridFiles plain, screen;
  screen.screens = true;
  return (screens ? screen : plain).Get(kSide).string();
}

void BM_ReadFile(benchmark::State& state) {
  const std::string path = grid_path(state.range(0) != 0);
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
  const std::string path = grid_path(state.range(0) != 0);
  for (auto _ : state) {
    auto object = std::make_unique<soLightWaveObject>("grid", nullptr);
    if (!object->LoadObject(path.c_str(), so_handedness_left)) {
      state.SkipWithError("the grid object did not load");
      return;
    }
    std::int64_t triangles = 0;
    for (std::int32_t i = 0; i < object->SurfaceCount(); ++i) triangles += object->SurfaceAt(i)->vertex_count / 3;
    state.counters["triangles"] = static_cast<double>(triangles);
    state.PauseTiming();
    object.reset();
    state.ResumeTiming();
  }
}

}  // namespace

BENCHMARK(BM_ReadFile)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_LoadObject)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MinTime(2.0);
