#pragma once
// Loading helpers shared by the object-reader tests.
#include <memory>
#include <string>
#include <string_view>

#include "objects/lightwave/so_lwo_file.h"
#include "tests/support/temp_dir.h"

namespace so3d::test {

struct LwoFileDeleter {
  void operator()(so_lwo_file* f) const { so_lwo_release(f); }
};
using LwoFilePtr = std::unique_ptr<so_lwo_file, LwoFileDeleter>;

// Writes `bytes` to a scratch file and loads it.
inline LwoFilePtr LoadBytes(std::string_view bytes) {
  TempDir dir;
  return LwoFilePtr(so_lwo_load(dir.Write("object.lwo", bytes).c_str()));
}

}  // namespace so3d::test
