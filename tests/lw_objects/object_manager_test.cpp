#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "objects/so_lightwave_object.h"
#include "objects/so_object_manager.h"
#include "objects/so_overlay_object.h"
#include "tests/textures/memory_texture_manager.h"

namespace {

// A thin drawable that owns its source and logs its life.
class Wrapper : public soOverlayObject {
 public:
  Wrapper(soObject* wrapped_object, std::vector<std::string>& calls)
      : soOverlayObject(wrapped_object->Name().CString()), source(wrapped_object), log(calls) {}
  ~Wrapper() override { log.push_back("destroy " + std::string(Name().CString())); }
  void ReleaseDeviceDependentResources() override { log.push_back("release " + std::string(Name().CString())); }
  std::unique_ptr<soObject> source;
  std::vector<std::string>& log;
};

// The log lives outside: drawables still write to it while the base
// destructor runs.
class TestManager : public soObjectManager {
 public:
  explicit TestManager(std::vector<std::string>& calls) : log(calls) {}
  std::int32_t ObjectHandedness() const override { return so_handedness_left; }
  soTextureManager& TextureManager() const override { return *textures; }
  so3d::test::MemoryManagerPtr textures = so3d::test::MakeMemoryManager();
  std::vector<std::string>& log;
  bool refuse = false;

 private:
  soObject* create_drawable_object(soObject* source) override { return refuse ? nullptr : new Wrapper(source, log); }
};

soObject* Find(soObjectManager& manager, const char* name) {
  soObject* out = nullptr;
  EXPECT_EQ(manager.FindObject(name, &out), 0) << name;
  return out;
}

}  // namespace

TEST(soObjectManager, SharesOneLightWaveObjectPerExactNameCountsReferencesAndDestroys) {
  std::vector<std::string> log;
  {
    TestManager manager(log);
    soObject* a = Find(manager, "objects/a.lwo");
    EXPECT_EQ(Find(manager, "objects/a.lwo"), a);
    for (const char* other : {"objects/A.lwo", "./objects/a.lwo", "objects/a"}) {
      soObject* o = Find(manager, other);
      EXPECT_NE(o, a);
      EXPECT_EQ(manager.ReleaseObject(o), 0);
    }
    const soObject* source = static_cast<Wrapper*>(a)->source.get();
    ASSERT_NE(dynamic_cast<const soLightWaveObject*>(source), nullptr);
    EXPECT_TRUE(source->Name() == "objects/a.lwo" && source->SurfaceCount() == 0);  // not loaded yet
    soObject* b = Find(manager, "b");
    soObject* c = Find(manager, "c");
    EXPECT_EQ(manager.ReferenceObject(c), 1);  // the count before this reference
    EXPECT_EQ(manager.ReleaseObject(a), 1);
    log.clear();
    EXPECT_EQ(manager.ReleaseObject(a), 0);
    EXPECT_EQ(log, std::vector<std::string>{"destroy objects/a.lwo"});
    EXPECT_TRUE(manager.ReleaseObject(a) == -1 && manager.ReferenceObject(a) == -1);  // gone
    EXPECT_EQ(manager.ReferenceObject(nullptr), 0);
    soOverlayObject stranger("b");
    EXPECT_EQ(manager.ReferenceObject(&stranger), -1);

    Find(manager, "a");  // a fresh object, last in order
    EXPECT_EQ(manager.ReleaseObject(b), 0);
    log.clear();
    manager.ReleaseAllDeviceDependentResources();
    EXPECT_EQ(log, (std::vector<std::string>{"release c", "release a"}));

    // Host objects register like any other; nothing does when no drawable is made.
    auto* overlay = new soOverlayObject("overlay");
    soObject* drawable = nullptr;
    ASSERT_EQ(manager.CreateDrawable(overlay, &drawable), 0);
    EXPECT_EQ(static_cast<Wrapper*>(drawable)->source.get(), overlay);
    EXPECT_EQ(Find(manager, "overlay"), drawable);
    EXPECT_EQ(manager.ReleaseObject(drawable), 1);
    manager.refuse = true;
    soOverlayObject kept("kept");  // stays the caller's
    soObject* out = &kept;
    EXPECT_TRUE(manager.CreateDrawable(&kept, &out) == -1 && out == nullptr);
    EXPECT_TRUE(manager.FindObject("x.lwo", &out) == -1 && manager.FindObject(nullptr, &out) == -1);  // nothing leaked
    manager.refuse = false;
    EXPECT_EQ(manager.ReferenceObject(Find(manager, "x.lwo")), 1);  // no stale entry
    log.clear();
  }
  EXPECT_EQ(log, (std::vector<std::string>{"destroy c", "destroy a", "destroy overlay", "destroy x.lwo"}));
}
