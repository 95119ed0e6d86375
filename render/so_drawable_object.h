#pragma once
// soDrawableObject: lends another object's geometry to a device-bound
// drawable. It owns the wrapped object and forwards every geometry operation
// to it; drawing and device resources are left to derived classes.
#include <cstdint>
#include <memory>

#include "base/so3d_export.h"
#include "objects/so_object.h"

class SO3D_API soDrawableObject : public soObject {
 public:
  // Takes ownership of `wrapped` (which may be null: then every forwarded
  // operation answers as for an empty object) and copies its name.
  explicit soDrawableObject(soObject* wrapped);
  soDrawableObject(const soDrawableObject&) = delete;
  soDrawableObject& operator=(const soDrawableObject&) = delete;
  // Deletes the wrapped object.
  ~soDrawableObject() override;

  // Draws nothing here.
  void Draw(const so_drawing_state& state) override;
  // Forwarded to the wrapped object.
  bool LoadObject(const char* path, std::int32_t handedness) override;
  std::int32_t SurfaceCount() const override;
  so_surface* SurfaceAt(std::int32_t index) override;
  void RebuildTextureCoords(so_surface& surface, float u_scale, float v_scale, std::int32_t width, std::int32_t height,
                            float crop_left, float crop_top, float crop_right, float crop_bottom) override;
  void GetBoundingBox(so_vector3& min, so_vector3& max) override;
  // Nothing to release here; the wrapped object keeps its own resources.
  void ReleaseDeviceDependentResources() override;

  // The wrapped object, still owned by the drawable; may be null.
  soObject* Wrapped() const { return wrapped.get(); }

 private:
  std::unique_ptr<soObject> wrapped;
};
