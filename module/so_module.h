#pragma once
// Module start-up: boot registration. The frame constants and the file-open
// hook it installs live with the records (base/so_frame.h).
#include <cstdint>

#include "base/so3d_export.h"
#include "base/so_frame.h"

// The module's four-character code, 'QVR_'.
inline constexpr std::int32_t so_module_code = 0x5156525F;

// Loading the library registers the module with zBoot under so_module_code;
// the host boots it with zBoot::BootAll() once per process, before loading the
// first scene, and may shut it down with zBoot::ShutdownAll().
class SO3D_API soModule {
 public:
  // Called once by the foundation's boot registry, not by the host: boots the
  // foundation core first, registers the names of the settings-record ids
  // (soObjectSettings::InitalizeRecordNames and 'border_decor') and installs
  // the file-open hook so_fopen.
  static void Boot();
  // Releases nothing: the module keeps no process-wide resources.
  static void Shutdown();
};
