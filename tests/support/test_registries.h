#pragma once
// Registries for scene tests: an object registry whose drawables are the
// plain objects themselves, and a box-shaped object with no surfaces.
#include <memory>

#include "objects/so_object.h"
#include "objects/so_object_manager.h"
#include "tests/textures/memory_texture_manager.h"

namespace so3d::test {

class TestObjectManager : public soObjectManager {
 public:
  explicit TestObjectManager(soTextureManager& textures) : textures_(textures) {}
  std::int32_t ObjectHandedness() const override { return so_handedness_left; }
  soTextureManager& TextureManager() const override { return textures_; }

 private:
  soObject* create_drawable_object(soObject* source) override { return source; }
  soTextureManager& textures_;
};

// An object that is only a bounding box.
class BoxObject : public soObject {
 public:
  BoxObject(const char* object_name, so_vector3 min, so_vector3 max) : soObject(object_name), min_(min), max_(max) {}
  std::int32_t SurfaceCount() const override { return 0; }
  so_surface* SurfaceAt(std::int32_t) override { return nullptr; }
  void GetBoundingBox(so_vector3& min, so_vector3& max) override {
    min = min_;
    max = max_;
  }

 private:
  so_vector3 min_, max_;
};

// A texture registry and an object registry that live together.
struct TestRegistries {
  MemoryManagerPtr textures = MakeMemoryManager();
  TestObjectManager objects{*textures};

  // Registers a box of the given size centred on the origin.
  soObject* Box(const char* name, float width = 2, float height = 1) {
    soObject* out = nullptr;
    objects.CreateDrawable(new BoxObject(name, {-width / 2, -height / 2, 0}, {width / 2, height / 2, 0}), &out);
    return out;
  }
};

}  // namespace so3d::test
