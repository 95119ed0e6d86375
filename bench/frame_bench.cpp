// One output frame on the null device: the module's own per-frame work
// (envelopes, drawing order, matrices, drawables filling vertex buffers)
// without any pixel work. A loaded scene and a morph of two scenes, at 10,
// 100 and 1,000 objects that each move on three keyed channels.
#include <benchmark/benchmark.h>

#include <unistd.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "backends/null/null_device.h"
#include "fixtures/lwo_writer.h"
#include "fixtures/scene_writer.h"
#include "render/so_d3d_object_manager.h"
#include "render/so_d3d_scene_renderer.h"
#include "scene/so_scene.h"

namespace {

namespace fs = std::filesystem;
using so3d::fixtures::SceneWriter;

void write_file(const fs::path& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

// Scene files of `count` quads spread over screens 0 and 1, in a scratch
// folder that lives as long as the benchmark program.
fs::path scene_file(int count, float sign) {
  static const fs::path dir = [] {
    fs::path d = fs::temp_directory_path() / ("so3d-frame-bench-" + std::to_string(::getpid()));
    fs::create_directories(d);
    write_file(d / "quad.lwo", so3d::fixtures::QuadObject());
    return d;
  }();
  const fs::path path = dir / (std::to_string(count) + (sign > 0 ? "a" : "b") + ".lws");
  if (fs::exists(path)) return path;
  SceneWriter w;
  w.Camera();
  for (int i = 0; i < count; ++i) {
    const float x = sign * float(i % 20) * 0.3f;
    w.Object("quad.lwo", i % 2)
        .Channel(0, {{x, 0}, {-x, 2}})
        .Channel(2, {{float(i / 20), 0}, {float(i / 20) + 1, 2}})
        .Channel(3, {{0, 0}, {sign * 3.14f, 2}});
  }
  write_file(path, w.Text());
  return path;
}

struct Frame {
  so3d::backend::NullDevice* device = new so3d::backend::NullDevice;
  std::unique_ptr<soD3DObjectManager> objects = std::make_unique<soD3DObjectManager>(device);
  std::unique_ptr<soScene> a, b, morph;
  std::unique_ptr<soD3DSceneRenderer> renderer = std::make_unique<soD3DSceneRenderer>(device);
  so_screen_data screens[2] = {{0, 1, nullptr, 0}, {1, 2, nullptr, 0}};

  explicit Frame(int count) {
    a = load(scene_file(count, 1));
    b = load(scene_file(count, -1));
    morph.reset(soScene::Factory(objects->TextureManager(), *objects));
    morph->Interpolate(a.get(), screens, 2, 0.0f, b.get(), screens, 2, 0.0f);
    renderer->Initalize(720, 480);
    renderer->UpdateProjectionSize(720, 480);
  }
  // Scenes, then the renderer and the object manager, then the device.
  ~Frame() {
    morph.reset();
    b.reset();
    a.reset();
    renderer.reset();
    objects.reset();
    device->Release();
  }
  std::unique_ptr<soScene> load(const fs::path& path) {
    std::unique_ptr<soScene> s(soScene::Factory(objects->TextureManager(), *objects));
    s->Load(path.c_str(), objects->ObjectHandedness());
    return s;
  }
};

void run(benchmark::State& state, bool transition) {
  Frame f(int(state.range(0)));
  soScene* scene = transition ? f.morph.get() : f.a.get();
  if (scene->ObjectCount() == 0) {
    state.SkipWithError("the scene loaded no objects");
    return;
  }
  float time = 0.0f;
  for (auto _ : state) {
    f.renderer->Draw(scene, f.screens, 2, time, 2.0f, 0, nullptr, 0, nullptr);
    time = time < 1.99f ? time + 0.01f : 0.0f;
  }
  state.counters["objects"] = double(scene->ObjectCount());
}

void BM_PlainScene(benchmark::State& state) { run(state, false); }
void BM_Transition(benchmark::State& state) { run(state, true); }

}  // namespace

BENCHMARK(BM_PlainScene)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Transition)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
