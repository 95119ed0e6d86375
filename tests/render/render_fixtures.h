#pragma once
// Shared pieces of the renderer tests: a flat quad object file, drawables
// that remember every Draw they receive, and registries that make them.
#include <memory>
#include <string>
#include <vector>

#include "fixtures/lwo_writer.h"
#include "objects/so_object.h"
#include "objects/so_object_manager.h"
#include "scene/so_scene.h"
#include "tests/support/recording_device.h"
#include "tests/textures/memory_texture_manager.h"

namespace so3d::test {
using namespace so3d::fixtures;

// One Draw as a drawable received it, with the device's transforms at the
// moment of the call. The state's pointers are compared, never followed.
struct DrawnObject {
  std::string name;
  so_drawing_state state;
  so_object_data data{};
  so_tile_data tile{};
  D3DMATRIX world{}, view{};
};

struct DrawLog {
  const RecordingDevice* device = nullptr;  // transforms are read without a logged call
  std::vector<DrawnObject> draws;
};

// Lends the wrapped object's geometry and records each Draw.
class RecordingObject : public soObject {
 public:
  RecordingObject(soObject* wrapped, DrawLog& log)
      : soObject(wrapped->Name().CString()), wrapped_(wrapped), log_(log) {}

  void Draw(const so_drawing_state& state) override {
    DrawnObject& d = log_.draws.emplace_back(DrawnObject{Name().CString(), state});
    if (state.object_data) d.data = *state.object_data;
    if (state.tile_data) d.tile = *state.tile_data;
    if (log_.device) {
      d.world = log_.device->Transform(D3DTS_WORLD);
      d.view = log_.device->Transform(D3DTS_VIEW);
    }
  }
  bool LoadObject(const char* path, std::int32_t handedness) override { return wrapped_->LoadObject(path, handedness); }
  std::int32_t SurfaceCount() const override { return wrapped_->SurfaceCount(); }
  so_surface* SurfaceAt(std::int32_t index) override { return wrapped_->SurfaceAt(index); }
  void GetBoundingBox(so_vector3& min, so_vector3& max) override { wrapped_->GetBoundingBox(min, max); }

 private:
  std::unique_ptr<soObject> wrapped_;
  DrawLog& log_;
};

class RecordingObjectManager : public soObjectManager {
 public:
  RecordingObjectManager(soTextureManager& textures, DrawLog& log) : textures_(textures), log_(log) {}
  std::int32_t ObjectHandedness() const override { return so_handedness_left; }
  soTextureManager& TextureManager() const override { return textures_; }

 private:
  soObject* create_drawable_object(soObject* source) override { return new RecordingObject(source, log_); }
  soTextureManager& textures_;
  DrawLog& log_;
};

// Registries whose drawables record into `log`.
struct RecordingRegistries {
  DrawLog log;
  MemoryManagerPtr textures = MakeMemoryManager();
  RecordingObjectManager objects{*textures, log};

  std::unique_ptr<soScene> NewScene() { return std::unique_ptr<soScene>(soScene::Factory(*textures, objects)); }
};

// The point p (w = 1) transformed by the row-vector matrix m.
inline so_vector3 TransformPoint(const D3DMATRIX& m, so_vector3 p) {
  return {p.x * m._11 + p.y * m._21 + p.z * m._31 + m._41, p.x * m._12 + p.y * m._22 + p.z * m._32 + m._42,
          p.x * m._13 + p.y * m._23 + p.z * m._33 + m._43};
}

}  // namespace so3d::test
