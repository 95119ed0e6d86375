#pragma once
// Reference counting for the device and its resources: one reference when
// made, destroyed by the last Release.
#include <atomic>

#include "platform/d3d9/d3d9.h"

namespace so3d::backend {

template <class Interface>
class RefCounted : public Interface {
 public:
  ULONG AddRef() override { return ++references_; }
  ULONG Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 private:
  std::atomic<ULONG> references_{1};
};

}  // namespace so3d::backend
