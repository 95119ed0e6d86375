#pragma once
// Module start-up: boot registration. The frame constants and the file-open
// hook it installs live with the records (base/so_frame.h).
#include <cstdint>

#include "base/so3d_export.h"
#include "base/so_frame.h"

// The module's four-character code, 'QVR_'.
inline constexpr std::int32_t so_module_code = 0x5156525F;

class SO3D_API soModule {
 public:
  // Called once by the foundation's boot registry.
  static void Boot();
  static void Shutdown();
};
