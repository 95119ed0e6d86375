#include "scene/so_scene.h"

#include <new>

#include "objects/so_object_manager.h"
#include "scene/so_lightwave_scene.h"
#include "textures/so_texture_manager.h"

soScene* soScene::Factory(soTextureManager& textures, soObjectManager& objects) {
  try {
    return new soLightWaveScene(textures, objects);
  } catch (const std::bad_alloc&) { return nullptr; }
}

// A scene keeps its texture registry alive and is told when its object
// registry dies first, so a host may destroy them in any order. A scene
// whose registry is gone (or could not take it in) holds and finds nothing.
soScene::soScene(soTextureManager& textures, soObjectManager& objects) : textures_(textures), objects_(objects) {
  textures_.AddRef();
  registry_alive_ = objects_.AttachHolder(&registry_holder_) == 0;
}

soScene::soScene(const soScene& other)
    : textures_(other.textures_), objects_(other.objects_), interpolations_(other.interpolations_) {
  textures_.AddRef();
  registry_alive_ = other.registry_alive_ && objects_.AttachHolder(&registry_holder_) == 0;
}

soScene::~soScene() {
  if (registry_alive_) objects_.DetachHolder(&registry_holder_);
  textures_.Release();
}

void soScene::registry_gone(void* scene) {
  auto* self = static_cast<soScene*>(scene);
  self->registry_alive_ = false;
  if (auto* lightwave = dynamic_cast<soLightWaveScene*>(self)) lightwave->forget_objects();
}

const soScene& soScene::operator=(const soScene& other) {
  // Registries are shared by reference; the object registry cannot be
  // copied (it owns its drawables), so only distinct texture registries
  // take the other's entries.
  if (&other.textures_ != &textures_) textures_ = other.textures_;
  return *this;
}

std::int32_t soScene::TileObject(const so_object_data&, so_vectors&) { return -1; }

std::int32_t soScene::FindObject(const char* name, soObject** out) {
  if (registry_alive_) return objects_.FindObject(name, out);
  if (out) *out = nullptr;
  return -1;
}

std::int32_t soScene::ReleaseObject(soObject* object) { return registry_alive_ ? objects_.ReleaseObject(object) : 0; }

std::int32_t soScene::ReferenceObject(soObject* object) {
  return registry_alive_ ? objects_.ReferenceObject(object) : -1;
}
