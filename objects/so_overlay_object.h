#pragma once
// soOverlayObject: flat rectangles in the plane z = 0, centred on the
// origin, each a screen surface named "One". Made by the host, which adds
// surfaces with CreateSurface and may hand the object to the registry for a
// device-bound drawable (soObjectManager::CreateDrawable, which then owns
// it; a scene takes it with AddObject). The object owns its surfaces and all
// their blocks.
#include <cstdint>
#include <vector>

#include "base/so3d_export.h"
#include "objects/so_object.h"

class SO3D_API soOverlayObject : public soObject {
 public:
  explicit soOverlayObject(const char* name);
  soOverlayObject(const soOverlayObject&) = delete;
  soOverlayObject& operator=(const soOverlayObject&) = delete;
  ~soOverlayObject() override;

  std::int32_t SurfaceCount() const override;
  // Null unless 0 <= index < SurfaceCount().
  so_surface* SurfaceAt(std::int32_t index) override;
  // The rectangle of the last surface made: (-w/2, -h/2, 0) to (w/2, h/2, 0);
  // all zeros before the first.
  void GetBoundingBox(so_vector3& min, so_vector3& max) override;
  // True: tells overlays from objects read from files.
  virtual bool IsOverlayObject() const;

  // Appends a width x height rectangle, sizes in hundredths of a world unit
  // (720 x 480 fills the 7.2 x 4.8 frame), wound for `handedness`, with
  // texture coordinates and interleaved vertices built. When memory is short
  // nothing is appended.
  void CreateSurface(float width, float height, std::int32_t handedness);

 private:
  std::vector<so_surface_ptr> surfaces;
  float width = 0.0f;
  float height = 0.0f;
};
