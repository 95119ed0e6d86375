#pragma once
#include "platform/foundation/z_export.h"
// zBoot: the registry of modules to boot. A module registers itself with a
// static zBoot object; the host calls zBoot::BootAll() once it is ready, and
// every registered module boots once, its dependencies first. The registry
// is locked: any thread may call these, though a host boots from one.
#include <cstdint>

class Z_API zBoot {
 public:
  using BootFn = void (*)();
  using ShutdownFn = void (*)();

  // Registers module `code` with its functions (either may be null); a code
  // already registered keeps its first registration.
  zBoot(BootFn boot, ShutdownFn shutdown, std::int32_t code);
  zBoot(const zBoot&) = delete;
  zBoot& operator=(const zBoot&) = delete;

  // Called from a boot function: makes sure the module `code` has booted
  // (booting it with `boot` now if it has not) before the caller goes on.
  static void Depends(std::int32_t code, BootFn boot);

  // Boots every registered module not yet booted, in registration order.
  static void BootAll();
  // Shuts booted modules down in the reverse of their boot order.
  static void ShutdownAll();

  static bool IsRegistered(std::int32_t code);
  // True from the module's boot until ShutdownAll.
  static bool IsBooted(std::int32_t code);
};

// The foundation's own core module, on which every module depends.
namespace zCore {
inline constexpr std::int32_t kModuleCode = 0x5A434F52;  // 'ZCOR'
Z_API void Boot();
Z_API bool IsBooted();
}  // namespace zCore
