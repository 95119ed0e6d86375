#include "platform/foundation/x_unknown.h"

#include <cstring>

std::int32_t xCUnknown::GetInterface(xIUnknown* itf, void** out) {
  if (!out) return -1;
  *out = itf;
  if (!itf) return -1;
  Concrete_AddRef();
  return 0;
}

std::int32_t xCUnknown::Concrete_QueryInterface(const char* name, void** out) {
  if (!out) return -1;
  if (name && std::strcmp(name, "xCUnknown") == 0) {
    *out = this;
    Concrete_AddRef();
    return 0;
  }
  *out = nullptr;
  return -1;
}

std::int32_t xCUnknown::Concrete_AddRef() { return refs_.fetch_add(1, std::memory_order_relaxed) + 1; }

std::int32_t xCUnknown::Concrete_Release() {
  const std::int32_t left = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left == 0) delete this;
  return left;
}
