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

#include "fixtures/scene_writer.h"
#include "platform/foundation/z_record.h"
#include "render/so_d3d_scene_renderer.h"
#include "scene/so_object_settings.h"
#include "tests/render/render_fixtures.h"
#include "tests/support/temp_dir.h"

namespace {

std::atomic<bool> counting{false};
std::atomic<long> allocations{0};

void* allocate(std::size_t size) noexcept {
  if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(size ? size : 1);
}

void* allocate_aligned(std::size_t size, std::align_val_t align) noexcept {
  if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1, std::memory_order_relaxed);
  const auto a = static_cast<std::size_t>(align);
  return std::aligned_alloc(a, (size + a - 1) / a * a);
}

// Out of line, so the compiler does not see free() meet memory from new.
[[gnu::noinline]] void release(void* p) noexcept { std::free(p); }

}  // namespace

void* operator new(std::size_t size) {
  if (void* p = allocate(size)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t align) {
  if (void* p = allocate_aligned(size, align)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size, std::align_val_t align) { return operator new(size, align); }
void operator delete(void* p) noexcept { release(p); }
void operator delete[](void* p) noexcept { release(p); }
void operator delete(void* p, std::size_t) noexcept { release(p); }
void operator delete[](void* p, std::size_t) noexcept { release(p); }
void operator delete(void* p, std::align_val_t) noexcept { release(p); }
void operator delete[](void* p, std::align_val_t) noexcept { release(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { release(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { release(p); }

#if !defined(__SANITIZE_ADDRESS__)
// The C library sorts and grows through these; its own entry points serve.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* malloc(std::size_t size) {
  if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_calloc(count, size);
}
void* realloc(void* p, std::size_t size) {
  if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_realloc(p, size);
}
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
  renderer.Initalize(720, 480);
  renderer.UpdateProjectionSize(720, 480);
  auto load = [&](const std::string& name, float sign) {
    SceneWriter w;
    for (int i = 0; i < 6; ++i)
      w.Object("quad.lwo", i % 3)
          .Channel(0, {{sign * float(i), 0}, {-sign * float(i), 2}, {0, 4}})
          .Channel(5, {{0, 0}, {sign, 3}});
    auto scene = r.NewScene();
    EXPECT_EQ(scene->Load(dir.Write(name, w.Text()).c_str(), so_handedness_left), 0);
    return scene;
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
    renderer.Initalize(720, 480);
    renderer.UpdateProjectionSize(720, 480);
    SceneWriter w;
    for (int i = 0; i < count; ++i) w.Object("quad.lwo", i % 2).Channel(0, {{float(i % 7), 0}, {-1, 2}});
    auto scene = r.NewScene();
    ASSERT_EQ(scene->Load(dir.Write("many.lws", w.Text()).c_str(), so_handedness_left), 0);
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
