// A fuzzed scene loaded and drawn twice on the null device: alone, and as
// the second half of a morph from itself.
#include "fuzz/scene_world.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto& w = so3d::fuzz::world();
  auto scene = w.load(data, size, true);
  so_screen_data screens[2] = {{0, 1, nullptr, 0}, {1, 2, nullptr, 0}};
  std::unique_ptr<soScene> morph(soScene::Factory(w.objects.TextureManager(), w.objects));
  morph->Interpolate(scene.get(), screens, 2, 0.0f, scene.get(), screens, 2, 0.0f);
  for (const float time : {0.0f, 1.3f}) {
    w.device->BeginScene();
    w.renderer.Draw(scene.get(), screens, 2, time, 2, 0, nullptr, 0, nullptr);
    w.renderer.Draw(morph.get(), screens, 2, time, 2, 0, nullptr, 0, nullptr);
    w.device->EndScene();
  }
  return 0;
}
