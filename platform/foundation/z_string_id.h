#pragma once
#include "platform/foundation/z_export.h"
// zStringID: the process-wide table of names for four-character ids.
// Thread-safe.
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

class Z_API zStringID {
 public:
  static zStringID* Default();

  // Registers `name` for `id`; a repeated id takes the new name. Returns 0,
  // or -1 for a null name.
  std::int32_t Add(std::int32_t id, const char* name);
  // The name of `id`, or "" when unknown. The returned copy stays valid.
  std::string Name(std::int32_t id) const;
  bool Has(std::int32_t id) const;
  // The id registered for `name`, or 0.
  std::int32_t Find(const char* name) const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::pair<std::int32_t, std::string>> names_;
};
