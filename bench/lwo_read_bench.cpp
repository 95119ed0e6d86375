// Object-file reading speed and memory: so_lwo_load on a generated LWO2 grid
// of quads in four smoothed surfaces (1,000 x 1,000 quads is about 36 MB).
// Reports bytes per second, and for one load the heap peak and the growth of
// the resident peak, each relative to the file size.
//
// When a general-purpose importer library (libassimp) can be loaded at run
// time, the same files are read with it too (no post-processing), for
// comparison in the same run; the build never depends on it.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <malloc.h>

#include <atomic>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <new>
#include <string>

#include "bench/grid_object.h"
#include "objects/lightwave/so_lwo_file.h"

// Heap accounting for the whole program: live bytes and their high mark.
namespace {
std::atomic<std::size_t> heap_live{0};
std::atomic<std::size_t> heap_peak{0};

// Out of line, so that the compiler does not pair malloc and free with new
// and delete across the replaced operators.
[[gnu::noinline]] void* counted_alloc(std::size_t n) {
  void* p = std::malloc(n ? n : 1);
  if (!p) return nullptr;
  const std::size_t live = heap_live += malloc_usable_size(p);
  std::size_t peak = heap_peak.load();
  while (live > peak && !heap_peak.compare_exchange_weak(peak, live)) {}
  return p;
}

[[gnu::noinline]] void counted_free(void* p) {
  if (!p) return;
  heap_live -= malloc_usable_size(p);
  std::free(p);
}
}  // namespace

void* operator new(std::size_t n) {
  if (void* p = counted_alloc(n)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t n) { return operator new(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return counted_alloc(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return counted_alloc(n); }
void operator delete(void* p) noexcept { counted_free(p); }
void operator delete[](void* p) noexcept { counted_free(p); }
void operator delete(void* p, std::size_t) noexcept { counted_free(p); }
void operator delete[](void* p, std::size_t) noexcept { counted_free(p); }

namespace {

using so3d::bench::GridFiles;
using so3d::bench::MakeGrid;
GridFiles grid_files;

// A field of /proc/self/status in kB: VmRSS (resident now) or VmHWM
// (resident peak, reset by writing 5 to clear_refs).
long StatusKb(const std::string& field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind(field + ":", 0) == 0) return std::strtol(line.c_str() + field.size() + 1, nullptr, 10);
  }
  return -1;
}

void ResetResidentPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

void BM_so_lwo_load(benchmark::State& state) {
  const std::filesystem::path& path = grid_files.Get(static_cast<int>(state.range(0)));
  const double file_size = static_cast<double>(std::filesystem::file_size(path));

  // One load outside the timing for the memory figures.
  ResetResidentPeak();
  const long resident_before = StatusKb("VmRSS");
  const std::size_t base = heap_live.load();
  heap_peak = base;
  so_lwo_file* file = so_lwo_load(path.c_str());
  if (!file) {
    state.SkipWithError("load failed");
    return;
  }
  const double peak = static_cast<double>(heap_peak.load() - base);
  so_lwo_release(file);
  state.counters["file_MB"] = file_size / 1e6;
  state.counters["heap_peak_x_file"] = peak / file_size;
  state.counters["rss_peak_x_file"] = static_cast<double>(StatusKb("VmHWM") - resident_before) * 1e3 / file_size;

  for (auto _ : state) {
    so_lwo_file* f = so_lwo_load(path.c_str());
    benchmark::DoNotOptimize(f);
    so_lwo_release(f);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(file_size) * state.iterations());
}
BENCHMARK(BM_so_lwo_load)->Arg(316)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();

// The importer's C entry points, found at run time.
struct Importer {
  using import_fn = const void* (*)(const char*, unsigned);
  using release_fn = void (*)(const void*);
  import_fn import = nullptr;
  release_fn release = nullptr;

  Importer() {
    for (const char* name : {"libassimp.so", "libassimp.so.5"}) {
      if (void* lib = dlopen(name, RTLD_NOW | RTLD_LOCAL)) {
        import = reinterpret_cast<import_fn>(dlsym(lib, "aiImportFile"));
        release = reinterpret_cast<release_fn>(dlsym(lib, "aiReleaseImport"));
        break;
      }
    }
  }
  bool Available() const { return import && release; }
};

void BM_general_importer(benchmark::State& state) {
  static const Importer importer;
  if (!importer.Available()) {
    state.SkipWithError("libassimp not installed; comparison skipped");
    return;
  }
  const std::filesystem::path& path = grid_files.Get(static_cast<int>(state.range(0)));
  const double file_size = static_cast<double>(std::filesystem::file_size(path));
  for (auto _ : state) {
    const void* scene = importer.import(path.c_str(), 0);
    if (!scene) {
      state.SkipWithError("importer failed");
      return;
    }
    importer.release(scene);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(file_size) * state.iterations());
}
BENCHMARK(BM_general_importer)->Arg(316)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();

// Reading the bytes alone, the floor for any reader.
void BM_read_bytes(benchmark::State& state) {
  const std::filesystem::path& path = grid_files.Get(static_cast<int>(state.range(0)));
  const std::size_t size = static_cast<std::size_t>(std::filesystem::file_size(path));
  std::unique_ptr<char[]> buffer(new char[size]);
  for (auto _ : state) {
    std::FILE* f = std::fopen(path.c_str(), "rb");
    const std::size_t got = f ? std::fread(buffer.get(), 1, size, f) : 0;
    if (f) std::fclose(f);
    benchmark::DoNotOptimize(got);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}
BENCHMARK(BM_read_bytes)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
