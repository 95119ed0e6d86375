// The whole object load (read, triangulate, build surfaces) in both
// handedness codes.
#include "fuzz/fuzz_files.h"
#include "objects/lightwave/so_lwo_nested.h"
#include "objects/so_lightwave_object.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = so3d::fuzz::write("object.lwo", data, size);
  const so3d::lwo::modern_forms_scope modern(true);
  for (const std::int32_t handedness : {so_handedness_left, so_handedness_right}) {
    soLightWaveObject object("fuzz", nullptr);
    object.LoadObject(path.c_str(), handedness);
  }
  return 0;
}
