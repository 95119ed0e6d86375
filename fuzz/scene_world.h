#pragma once
// What the scene targets share: a null device, its object registry and a
// renderer, made once, and the objects that fuzzed scenes name (the quad
// and the public scenes' cube) written beside them.
#include <memory>

#include "backends/null/null_device.h"
#include "fixtures/lwo_writer.h"
#include "fuzz/fuzz_files.h"
#include "render/so_d3d_object_manager.h"
#include "render/so_d3d_scene_renderer.h"
#include "scene/so_load_options.h"
#include "scene/so_scene.h"

namespace so3d::fuzz {

struct SceneWorld {
  backend::NullDevice* device = new backend::NullDevice;
  soD3DObjectManager objects{device};
  soD3DSceneRenderer renderer{device};
  so_load_report report;
  so_load_options options;

  SceneWorld() {
    for (const char* name : {"quad.lwo", "simple_cube.lwo"}) write(name, fixtures::QuadObject());
    options.modern_files = true;
    options.report = &report;
    renderer.Initalize(64, 48);
    renderer.UpdateProjectionSize(64, 48);
  }

  // Loads `data` as a scene file; `modern` turns on the opt-in readings.
  std::unique_ptr<soScene> load(const std::uint8_t* data, std::size_t size, bool modern) {
    const std::string path = write("fx.lws", data, size);
    std::unique_ptr<soScene> scene(soScene::Factory(objects.TextureManager(), objects));
    if (modern) scene->SetLoadOptions(&options);
    scene->Load(path.c_str(), objects.ObjectHandedness());
    return scene;
  }
};

// Never destroyed: libFuzzer leaves by exit, and the device must outlive
// the registry's buffers.
inline SceneWorld& world() {
  static SceneWorld* w = new SceneWorld;
  return *w;
}

}  // namespace so3d::fuzz
