// The object-file reader alone, in every form it knows (LWOB, LWO2, LWO3).
#include "fuzz/fuzz_files.h"
#include "objects/lightwave/so_lwo_file.h"
#include "objects/lightwave/so_lwo_nested.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = so3d::fuzz::write("object.lwo", data, size);
  const so3d::lwo::modern_forms_scope modern(true);
  so3d::read_failure failure;
  so_lwo_release(so_lwo_load(path.c_str(), &failure));
  return 0;
}
