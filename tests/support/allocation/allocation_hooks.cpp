#include "tests/support/allocation/allocation_hooks.h"

#include <atomic>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SO3D_HOOK_MALLOC 0
#else
#define SO3D_HOOK_MALLOC 1
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
}
#endif

namespace {

// The allocator underneath, never counted twice.
void* raw_malloc(std::size_t size) noexcept {
#if SO3D_HOOK_MALLOC
  return __libc_malloc(size);
#else
  return std::malloc(size);
#endif
}

std::atomic<bool> counting{false};
std::atomic<long> count{0};
std::atomic<long> until_failure{0};
std::atomic<bool> failure{false};

// False when this allocation is the one that must fail.
bool note() noexcept {
  if (counting.load(std::memory_order_relaxed)) count.fetch_add(1, std::memory_order_relaxed);
  if (until_failure.load(std::memory_order_relaxed) > 0 && until_failure.fetch_sub(1) == 1) {
    failure = true;
    return false;
  }
  return true;
}
void* allocate(std::size_t size) noexcept { return note() ? raw_malloc(size ? size : 1) : nullptr; }
void* allocate(std::size_t size, std::align_val_t align) noexcept {
  const auto a = static_cast<std::size_t>(align);
  return note() ? std::aligned_alloc(a, (size + a - 1) / a * a) : nullptr;
}
template <class... A>
void* allocate_or_throw(std::size_t size, A... align) {
  if (void* p = allocate(size, align...)) return p;
  throw std::bad_alloc();
}

// Out of line, so the compiler does not see free() meet memory from new.
[[gnu::noinline]] void release(void* p) noexcept { std::free(p); }

}  // namespace

namespace so3d::test::allocation {

void start_counting() {
  count = 0;
  counting = true;
}
long stop_counting() {
  counting = false;
  return count.load();
}
void fail_at(long k) {
  failure = false;
  until_failure = k;
}
bool failed() { return failure.load(); }

}  // namespace so3d::test::allocation

// Each form of new and delete, single and array alike.
void* operator new(std::size_t s) { return allocate_or_throw(s); }
void* operator new[](std::size_t s) { return allocate_or_throw(s); }
void* operator new(std::size_t s, const std::nothrow_t&) noexcept { return allocate(s); }
void* operator new[](std::size_t s, const std::nothrow_t&) noexcept { return allocate(s); }
void* operator new(std::size_t s, std::align_val_t a) { return allocate_or_throw(s, a); }
void* operator new[](std::size_t s, std::align_val_t a) { return allocate_or_throw(s, a); }
#define SO3D_DELETE(...)                                                            \
  void operator delete(void* p __VA_OPT__(, ) __VA_ARGS__) noexcept { release(p); } \
  void operator delete[](void* p __VA_OPT__(, ) __VA_ARGS__) noexcept { release(p); }
SO3D_DELETE()
SO3D_DELETE(std::size_t)
SO3D_DELETE(std::align_val_t)
SO3D_DELETE(std::size_t, std::align_val_t)

bool so3d::test::allocation::covers_malloc() { return SO3D_HOOK_MALLOC; }

#if SO3D_HOOK_MALLOC
// Everything else allocates through these; the C library's own entry points
// serve them.
extern "C" {
void* malloc(std::size_t size) { return note() ? __libc_malloc(size) : nullptr; }
void* calloc(std::size_t n, std::size_t size) { return note() ? __libc_calloc(n, size) : nullptr; }
void* realloc(void* p, std::size_t size) { return note() ? __libc_realloc(p, size) : nullptr; }
}
#endif
