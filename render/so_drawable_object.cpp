#include "render/so_drawable_object.h"

soDrawableObject::soDrawableObject(soObject* source)
    : soObject(source != nullptr ? source->Name().CString() : ""), wrapped(source) {}

soDrawableObject::~soDrawableObject() = default;

void soDrawableObject::Draw(const so_drawing_state& /*state*/) {}

bool soDrawableObject::LoadObject(const char* path, std::int32_t handedness) {
  return wrapped != nullptr && wrapped->LoadObject(path, handedness);
}

std::int32_t soDrawableObject::SurfaceCount() const { return wrapped != nullptr ? wrapped->SurfaceCount() : 0; }

so_surface* soDrawableObject::SurfaceAt(std::int32_t index) {
  return wrapped != nullptr ? wrapped->SurfaceAt(index) : nullptr;
}

void soDrawableObject::RebuildTextureCoords(so_surface& surface, float u_scale, float v_scale, std::int32_t width,
                                            std::int32_t height, float crop_left, float crop_top, float crop_right,
                                            float crop_bottom) {
  if (wrapped != nullptr) {
    wrapped->RebuildTextureCoords(surface, u_scale, v_scale, width, height, crop_left, crop_top, crop_right,
                                  crop_bottom);
  }
}

void soDrawableObject::GetBoundingBox(so_vector3& min, so_vector3& max) {
  if (wrapped != nullptr) wrapped->GetBoundingBox(min, max);
}

void soDrawableObject::ReleaseDeviceDependentResources() {}
