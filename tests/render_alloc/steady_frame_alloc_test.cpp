// Steady frames allocate nothing: every global operator new of this
// program, and (where no sanitizer owns it) the C library's malloc family,
// is counted while frames are drawn.
#include <gtest/gtest.h>

#include "backends/null/null_device.h"

#include "platform/foundation/z_record.h"
#include "scene/so_object_settings.h"
#include "tests/render/render_fixtures.h"
#include "tests/support/allocation/allocation_hooks.h"
#include "tests/support/scene_setup.h"

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
  so3d::test::allocation::start_counting();
  auto a = load("a.lws", 1);
  ASSERT_GT(so3d::test::allocation::stop_counting(), 0) << "the counter must see the library's allocations";
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
    so3d::test::allocation::start_counting();
    for (int i = 1; i <= 100; ++i) renderer.Draw(c.scene, frame, 3, float(i) * 0.02f, 2, c.flags, nullptr, 0, nullptr);
    EXPECT_EQ(so3d::test::allocation::stop_counting(), 0) << "case drawing " << c.draws;
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
    so3d::test::allocation::start_counting();
    for (int i = 1; i <= 3; ++i) {
      r.log.draws.clear();
      renderer.Draw(scene.get(), screens, 2, float(i) * 0.5f, 2, 0, nullptr, 0, nullptr);
    }
    EXPECT_EQ(so3d::test::allocation::stop_counting(), 0) << count << " objects";
    scene.reset();
    device.Release();
  }
}

}  // namespace
