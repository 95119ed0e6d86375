#include "render/so_d3d_object_manager.h"

#include <exception>
#include <new>

#include "render/so_d3d_drawable_object.h"
#include "textures/so_d3d_texture_manager.h"

namespace {

// Stands in for a texture manager that could not be made: no device, so it
// neither makes nor binds anything. Never released by the module.
class inert_texture_manager final : public soD3DTextureManager {
 public:
  inert_texture_manager() : soD3DTextureManager(nullptr) {}
  ~inert_texture_manager() override = default;
};

}  // namespace

soD3DObjectManager::soD3DObjectManager(IDirect3DDevice9* d3d_device)
    : device(d3d_device), texture_manager(new (std::nothrow) soD3DTextureManager(d3d_device)) {}

soD3DObjectManager::~soD3DObjectManager() {
  // The drawables that the base destroys afterwards keep a pointer to the
  // texture manager but do not use it while being destroyed.
  if (texture_manager != nullptr) texture_manager->Release();
}

std::int32_t soD3DObjectManager::ObjectHandedness() const { return so_handedness_left; }

soTextureManager& soD3DObjectManager::TextureManager() const { return D3DTextureManager(); }

soD3DTextureManager& soD3DObjectManager::D3DTextureManager() const {
  if (texture_manager != nullptr) return *texture_manager;
  static inert_texture_manager inert;
  return inert;
}

void soD3DObjectManager::ReleaseAllD3DResources() {
  ReleaseAllDeviceDependentResources();
  if (texture_manager != nullptr) texture_manager->ReleaseAllD3DResources();
}

void soD3DObjectManager::ChangeD3Device(IDirect3DDevice9& new_device) {
  device = &new_device;
  if (texture_manager != nullptr) texture_manager->ChangeD3Device(new_device);
  ReleaseAllDeviceDependentResources();
}

soObject* soD3DObjectManager::create_drawable_object(soObject* source) {
  // Copying the name may throw before the drawable takes `source` over.
  try {
    return new soD3DDrawableObject(source, texture_manager);
  } catch (const std::exception&) { return nullptr; }
}
