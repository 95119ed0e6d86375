// Steady frames allocate nothing: every global operator new of this
// program, and (where no sanitizer owns it) the C library's malloc family,
// is counted while frames are drawn.
#include <gtest/gtest.h>

#include "backends/null/null_device.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "platform/foundation/z_record.h"
#include "scene/so_object_settings.h"
#include "tests/render/render_fixtures.h"
#include "tests/support/scene_setup.h"

namespace {

std::atomic<bool> counting{false};
std::atomic<long> allocations{0};

void count() noexcept {
  if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1, std::memory_order_relaxed);
}
void* allocate(std::size_t size) noexcept { return count(), std::malloc(size ? size : 1); }
void* allocate(std::size_t size, std::align_val_t align) noexcept {
  const auto a = static_cast<std::size_t>(align);
  return count(), std::aligned_alloc(a, (size + a - 1) / a * a);
}
template <class... A>
void* allocate_or_throw(std::size_t size, A... align) {
  if (void* p = allocate(size, align...)) return p;
  throw std::bad_alloc();
}

// Out of line, so the compiler does not see free() meet memory from new.
[[gnu::noinline]] void release(void* p) noexcept { std::free(p); }

}  // namespace

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

#if !defined(__SANITIZE_ADDRESS__)
// The C library sorts and grows through these; its own entry points serve.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* malloc(std::size_t size) { return count(), __libc_malloc(size); }
void* calloc(std::size_t n, std::size_t size) { return count(), __libc_calloc(n, size); }
void* realloc(void* p, std::size_t size) { return count(), __libc_realloc(p, size); }
}
#endif

namespace {

using namespace so3d::test;
using namespace so3d::fixtures;

// Six animated objects over screens 0-2 (the drawing order outgrows its
// inline room on the first frame), drawn as a loaded scene with records, as
// an interpolated transition and as a sub-scene transition. Frame 0 may
// allocate; frames 1-100 must not.
TEST(SteadyFrames, AllocateNothing) {
  so3d::backend::NullDevice& device = *new so3d::backend::NullDevice;
  RecordingRegistries r;
  TempDir dir;
  soD3DSceneRenderer renderer{&device};
  zRecord moved, faded;
  moved.SetFloatPoint(so_id_pos, {0.5f, 0.25f});
  faded.SetFloat(so_id_trans, 0.5f);
  const so_screen_data frame[3] = {{1, 1, &moved, 0}, {2, 2, &faded, 0}, {2, 2, nullptr, 0}};
  dir.Write("quad.lwo", QuadObject());
  SizeRenderer(renderer, 720, 480);
  auto load = [&](const std::string& name, float sign) {
    SceneWriter w;
    for (int i = 0; i < 6; ++i)
      w.Object("quad.lwo", i % 3)
          .Channel(0, {{sign * float(i), 0}, {-sign * float(i), 2}, {0, 4}})
          .Channel(5, {{0, 0}, {sign, 3}});
    return LoadScene(dir, r.objects, w, name);
  };
  allocations = 0;
  counting = true;
  auto a = load("a.lws", 1);
  counting = false;
  ASSERT_GT(allocations.load(), 0) << "the counter must see the library's allocations";
  auto b = load("b.lws", -1);
  auto interpolated = r.NewScene();
  so_screen_data table[] = {{0, 0, nullptr, 0}, {1, 1, &moved, 0}, {2, 2, &faded, 0}};
  interpolated->Interpolate(a.get(), table, 3, 0.5f, b.get(), table, 3, 1.5f);
  ASSERT_GT(interpolated->ObjectCount(), 4u);
  auto carriers = load("t.lws", 1);  // objects on screens 0 and 1 carry A and B
  carriers->AddSubScene(a.get(), nullptr, 0, 0.25f, b.get(), nullptr, 0, 0.5f);

  const struct {
    soScene* scene;
    std::uint32_t flags;
    std::size_t draws;
  } cases[] = {{a.get(), 0, 6}, {interpolated.get(), 0, interpolated->ObjectCount()}, {carriers.get(), 0x6, 26}};
  r.log.draws.reserve(20000);
  for (const auto& c : cases) {
    r.log.draws.clear();
    renderer.Draw(c.scene, frame, 3, 0, 2, c.flags, nullptr, 0, nullptr);
    allocations = 0;
    counting = true;
    for (int i = 1; i <= 100; ++i) renderer.Draw(c.scene, frame, 3, float(i) * 0.02f, 2, c.flags, nullptr, 0, nullptr);
    counting = false;
    EXPECT_EQ(allocations.load(), 0) << "case drawing " << c.draws;
    EXPECT_EQ(r.log.draws.size(), 101 * c.draws) << "every object drawn every frame";
  }
  device.Release();
}

// Up to 10,000 objects: the drawing order of every count sorts in place.
TEST(SteadyFrames, AllocateNothingAtAnyObjectCount) {
  TempDir dir;
  dir.Write("quad.lwo", QuadObject());
  for (int count : {10, 1000, 10000}) {
    so3d::backend::NullDevice& device = *new so3d::backend::NullDevice;
    RecordingRegistries r;
    soD3DSceneRenderer renderer{&device};
    SizeRenderer(renderer, 720, 480);
    SceneWriter w;
    for (int i = 0; i < count; ++i) w.Object("quad.lwo", i % 2).Channel(0, {{float(i % 7), 0}, {-1, 2}});
    auto scene = LoadScene(dir, r.objects, w);
    ASSERT_EQ(scene->ObjectCount(), std::uint32_t(count));
    const so_screen_data screens[2] = {{0, 1, nullptr, 0}, {1, 2, nullptr, 0}};
    r.log.draws.reserve(std::size_t(count) * 4);
    renderer.Draw(scene.get(), screens, 2, 0, 2, 0, nullptr, 0, nullptr);
    allocations = 0;
    counting = true;
    for (int i = 1; i <= 3; ++i) {
      r.log.draws.clear();
      renderer.Draw(scene.get(), screens, 2, float(i) * 0.5f, 2, 0, nullptr, 0, nullptr);
    }
    counting = false;
    EXPECT_EQ(allocations.load(), 0) << count << " objects";
    scene.reset();
    device.Release();
  }
}

}  // namespace
