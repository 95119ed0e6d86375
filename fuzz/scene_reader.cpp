// The scene reader, faithful and with the opt-in readings, with fixed
// objects beside the scene.
#include "fuzz/scene_world.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  for (const bool modern : {false, true}) so3d::fuzz::world().load(data, size, modern);
  return 0;
}
