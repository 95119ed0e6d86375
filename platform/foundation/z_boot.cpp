#include "platform/foundation/z_boot.h"

#include <atomic>
#include <mutex>
#include <vector>

namespace {

struct Module {
  zBoot::BootFn boot;
  zBoot::ShutdownFn shutdown;
  std::int32_t code;
  bool booted;
};

struct Registry {
  std::recursive_mutex mutex;  // boot functions call Depends re-entrantly
  std::vector<Module> modules;
  std::vector<std::int32_t> boot_order;
};

Registry& registry() {
  static Registry r;
  return r;
}

Module* find(Registry& r, std::int32_t code) {
  for (auto& m : r.modules)
    if (m.code == code) return &m;
  return nullptr;
}

std::atomic<bool> core_booted{false};

// Marks `code` booted before calling its function, so a dependency cycle
// cannot recurse forever.
void boot_one(Registry& r, std::int32_t code, zBoot::BootFn fallback) {
  Module* m = find(r, code);
  if (m) {
    if (m->booted) return;
    m->booted = true;
    r.boot_order.push_back(code);
    if (m->boot) m->boot();
    return;
  }
  r.modules.push_back(Module{fallback, nullptr, code, true});
  r.boot_order.push_back(code);
  if (fallback) fallback();
}

}  // namespace

zBoot::zBoot(BootFn boot, ShutdownFn shutdown, std::int32_t code) {
  Registry& r = registry();
  std::lock_guard lock(r.mutex);
  if (!find(r, code)) r.modules.push_back(Module{boot, shutdown, code, false});
}

void zBoot::Depends(std::int32_t code, BootFn boot) {
  Registry& r = registry();
  std::lock_guard lock(r.mutex);
  boot_one(r, code, boot);
}

void zBoot::BootAll() {
  Registry& r = registry();
  std::lock_guard lock(r.mutex);
  // Index loop: boot functions may register further modules.
  for (std::size_t i = 0; i < r.modules.size(); ++i) boot_one(r, r.modules[i].code, nullptr);
}

void zBoot::ShutdownAll() {
  Registry& r = registry();
  std::lock_guard lock(r.mutex);
  for (auto it = r.boot_order.rbegin(); it != r.boot_order.rend(); ++it) {
    Module* m = find(r, *it);
    if (m && m->booted) {
      m->booted = false;
      if (m->shutdown) m->shutdown();
    }
  }
  r.boot_order.clear();
}

bool zBoot::IsRegistered(std::int32_t code) {
  Registry& r = registry();
  std::lock_guard lock(r.mutex);
  return find(r, code) != nullptr;
}

bool zBoot::IsBooted(std::int32_t code) {
  Registry& r = registry();
  std::lock_guard lock(r.mutex);
  const Module* m = find(r, code);
  return m && m->booted;
}

namespace zCore {
void Boot() { core_booted = true; }
bool IsBooted() { return core_booted; }
}  // namespace zCore
