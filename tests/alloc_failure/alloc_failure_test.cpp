// Every public operation that allocates, with its k-th allocation failing,
// for every k: it succeeds or returns its failure result, lets no exception
// out, leaks nothing (LeakSanitizer, in the sanitizer build) and leaves its
// objects usable. Outside sanitizer builds the C library's allocator fails
// too, so file opening and picture decoding are swept as well.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "backends/null/null_device.h"
#include "fixtures/lwo_writer.h"
#include "fixtures/scene_writer.h"
#include "objects/so_lightwave_object.h"
#include "render/so_d3d_object_manager.h"
#include "render/so_d3d_scene_renderer.h"
#include "scene/so_load_options.h"
#include "scene/so_scene.h"
#include "tests/support/allocation/allocation_hooks.h"
#include "tests/support/temp_dir.h"
#include "tests/support/test_images.h"
#include "textures/so_texture_manager.h"

namespace {

using namespace so3d::test;
using namespace so3d::fixtures;
namespace allocation = so3d::test::allocation;

constexpr const char* image_name = "X:Content/Images/wood.png";

const TempDir& files() {
  static const TempDir* dir = [] {
    // The picture is found by the common-folder rule, from the scene's folder.
    auto* d = new TempDir;
    d->Write("Content/Scenes/quad.lwo", QuadObject());
    d->Write("Content/Scenes/textured.lwo", TexturedObject(image_name));
    d->Write("Content/Images/wood.png", EncodePng(TestImage::Filled(4, 4, {200, 100, 50, 255})));
    LwobWriter lwob;
    lwob.srfs({"One"}).points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}).polygons({{{0, 1, 2}, 1, {}}}).surface("One");
    d->Write("Content/Scenes/old.lwo", lwob.bytes());
    SceneWriter w;
    w.Ambient(1, 1, 1, 0.5f).Camera().Place(0, 0, -5).Light(1, 1, 1, 1, 1);
    w.Object("textured.lwo", 0).Channel(0, {{0, 0}, {1, 2}}).Object("quad.lwo", 1).Channel(5, {{0, 0}, {1, 2}});
    d->Write("Content/Scenes/fx.lws", w.Text());
    return d;
  }();
  return *dir;
}
std::string file(const char* name) { return (files().Path() / "Content/Scenes" / name).string(); }

// A null device with its registry and renderer; scenes made here die first.
struct World {
  so3d::backend::NullDevice* device = new so3d::backend::NullDevice;
  std::unique_ptr<soD3DObjectManager> objects = std::make_unique<soD3DObjectManager>(device);
  std::unique_ptr<soD3DSceneRenderer> renderer = std::make_unique<soD3DSceneRenderer>(device);
  std::unique_ptr<soScene> a, b, c;
  so_screen_data screens[2] = {{0, 1, nullptr, 0}, {1, 2, nullptr, 0}};
  so_load_report report;
  so_load_options options{true, "", &report};
  // Made before any allocation is set to fail.
  const std::string fx = file("fx.lws"), textured = file("textured.lwo"), old = file("old.lwo");

  World() {
    renderer->Initalize(64, 48);
    renderer->UpdateProjectionSize(64, 48);
  }
  ~World() {
    a.reset(), b.reset(), c.reset();
    renderer.reset();
    objects.reset();
    device->Release();
  }
  std::unique_ptr<soScene> scene(bool load = true) {
    std::unique_ptr<soScene> s(soScene::Factory(objects->TextureManager(), *objects));
    if (load) { EXPECT_EQ(s->Load(file("fx.lws").c_str(), objects->ObjectHandedness()), 0); }
    return s;
  }
  void draw(soScene* s) {
    device->BeginScene();
    renderer->Draw(s, screens, 2, 0.5f, 2, 0, nullptr, 0, nullptr);
    device->EndScene();
  }
};

// Runs `call` on a fresh World made by `prepare`, with the call's k-th
// allocation failing, for k = 1, 2, ... until a run meets no failure;
// `check(world, result, struck)` runs after each, with allocation restored.
template <class Prepare, class Call, class Check>
void sweep(const char* what, Prepare prepare, Call call, Check check) {
  for (long k = 1; k < 100000; ++k) {
    World w;
    prepare(w);
    allocation::fail_at(k);
    decltype(call(w)) result{};
    try {
      result = call(w);
    } catch (...) {
      allocation::fail_at(0);
      ADD_FAILURE() << what << ": an exception escaped when allocation " << k << " failed";
      return;
    }
    const bool struck = allocation::failed();
    allocation::fail_at(0);
    check(w, result, struck);
    if (::testing::Test::HasFailure()) {
      ADD_FAILURE() << what << ": allocation " << k << " failing";
      return;
    }
    if (!struck) {
      EXPECT_GT(k, 1) << what << " allocates nothing: the hooks are not in place";
      return;
    }
  }
}

TEST(AllocationFailure, ObjectLoadsFailCleanly) {
  for (const char* name : {"textured.lwo", "old.lwo"}) {
    for (const std::int32_t handedness : {so_handedness_left, so_handedness_right}) {
      std::unique_ptr<soLightWaveObject> object;
      sweep(
          name, [&](World& w) { object = std::make_unique<soLightWaveObject>("o", &w.objects->TextureManager()); },
          [&](World& w) { return object->LoadObject((name[0] == 't' ? w.textured : w.old).c_str(), handedness); },
          [&](World&, bool loaded, bool struck) {
            EXPECT_TRUE(loaded || struck);
            EXPECT_TRUE(!loaded || object->SurfaceCount() > 0);
            object.reset();
          });
    }
  }
}

TEST(AllocationFailure, SceneLoadsFailCleanly) {
  for (const bool with_options : {false, true}) {
    sweep(
        "scene load",
        [&](World& w) {
          w.a = w.scene(false);
          if (with_options) w.a->SetLoadOptions(&w.options);
        },
        [](World& w) { return w.a->Load(w.fx.c_str(), w.objects->ObjectHandedness()); },
        [](World& w, std::int32_t result, bool struck) {
          // A load adds to the scene: a failed one keeps what it had read.
          EXPECT_TRUE(result == 0 || struck);
          EXPECT_LE(w.a->ObjectCount(), 2u);
          w.draw(w.a.get());
          w.b = w.scene();
          EXPECT_EQ(w.b->ObjectCount(), 2u);
          w.draw(w.b.get());
        });
  }
}

TEST(AllocationFailure, TexturesTransitionsCopiesAndTheFirstFrame) {
  sweep(
      "LoadTextures", [](World& w) { w.a = w.scene(); }, [](World& w) { return (w.a->LoadTextures(), true); },
      [](World& w, bool, bool) {
        w.a->LoadTextures();
        w.draw(w.a.get());
      });
  sweep(
      "first frame", [](World& w) { w.a = w.scene(), w.a->LoadTextures(); },
      [](World& w) { return (w.draw(w.a.get()), true); }, [](World& w, bool, bool) { w.draw(w.a.get()); });
  sweep(
      "Interpolate", [](World& w) { w.a = w.scene(), w.b = w.scene(), w.c = w.scene(false); },
      [](World& w) { return w.c->Interpolate(w.a.get(), w.screens, 2, 0.5f, w.b.get(), w.screens, 2, 1.0f); },
      [](World& w, std::int32_t result, bool struck) {
        EXPECT_TRUE(result == 0 || struck);
        if (result != 0) {
          EXPECT_EQ(w.c->Interpolate(w.a.get(), w.screens, 2, 0.5f, w.b.get(), w.screens, 2, 1.0f), 0);
        }
        w.draw(w.c.get());
      });
  sweep(
      "AddSubScene", [](World& w) { w.a = w.scene(), w.b = w.scene(), w.c = w.scene(); },
      [](World& w) { return (w.c->AddSubScene(w.a.get(), nullptr, 0, 0.5f, w.b.get(), nullptr, 0, 1.0f), true); },
      [](World& w, bool, bool) { w.draw(w.c.get()); });
  sweep(
      "scene copy", [](World& w) { w.a = w.scene(), w.b = w.scene(false); },
      [](World& w) { return (*w.b = *w.a, true); },
      [](World& w, bool, bool struck) {
        EXPECT_TRUE(w.b->ObjectCount() == 2u || (struck && w.b->ObjectCount() == 0u));  // all or nothing
        w.draw(w.b.get());
      });
  sweep(
      "texture registry", [](World&) {},
      [](World& w) {
        soTextureManager& t = w.objects->TextureManager();
        std::int32_t id = 0;
        t.AddTexture(image_name, &id);
        t.OpenAndUploadTexture(id, w.fx.c_str());
        t.AddDecorTexture("frame.png", 77);
        t.UnloadAndDeleteTexture(77);
        return id;
      },
      [](World& w, std::int32_t, bool) {
        std::int32_t id = 0;
        soTextureManager& t = w.objects->TextureManager();
        EXPECT_EQ(t.AddTexture(image_name, &id), 0);
        EXPECT_EQ(t.OpenAndUploadTexture(id, w.fx.c_str()), 0);
      });
}

}  // namespace
