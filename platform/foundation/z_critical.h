#pragma once
#include "platform/foundation/z_export.h"
// zCritical: a recursive lock (the same thread may enter it again).
// zAutoCritical holds one for its scope.
#include <cstdint>
#include <memory>
#include <mutex>

class Z_API zCritical {
 public:
  // `kind` is kept for the foundation's signature; every kind is recursive.
  static std::unique_ptr<zCritical> Factory(std::int32_t kind);

  void Enter() { mutex_.lock(); }
  void Leave() { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

class zAutoCritical {
 public:
  explicit zAutoCritical(zCritical* lock) : lock_(lock) {
    if (lock_) lock_->Enter();
  }
  ~zAutoCritical() {
    if (lock_) lock_->Leave();
  }
  zAutoCritical(const zAutoCritical&) = delete;
  zAutoCritical& operator=(const zAutoCritical&) = delete;

 private:
  zCritical* lock_;
};
