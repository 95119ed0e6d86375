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
  while (live > peak && !heap_peak.compare_exchange_weak(peak, live)) {
  }
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
// surface each, all smoothed at 60 degrees.
std::string MakeGrid(int n) {
  Bytes b;
  b.id("FORM");
  b.u4(0);
  b.id("LWO2");
  std::size_t c = b.begin_chunk("TAGS");
  for (int s = 0; s < 4; ++s) b.str("Surface" + std::to_string(s));
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
    b.str("Surface" + std::to_string(s));
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
  std::map<int, std::filesystem::path> paths;
  ~GridFiles() {
    std::error_code ec;
    for (const auto& [n, p] : paths) std::filesystem::remove(p, ec);
  }
  const std::filesystem::path& Get(int n) {
    auto found = paths.find(n);
    if (found != paths.end()) return found->second;
    const std::filesystem::path p =
        std::filesystem::temp_directory_path() / ("so3d-bench-grid-" + std::to_string(n) + ".lwo");
    {
      const std::string bytes = MakeGrid(n);
      std::ofstream(p, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    return paths[n] = p;
  }
} grid_files;

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
