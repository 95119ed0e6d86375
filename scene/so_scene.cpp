#include "scene/so_scene.h"

#include <new>

#include "objects/so_object_manager.h"
#include "scene/so_lightwave_scene.h"
#include "textures/so_texture_manager.h"

soScene* soScene::Factory(soTextureManager& textures, soObjectManager& objects) {
  try {
    return new soLightWaveScene(textures, objects);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

soScene::soScene(soTextureManager& textures, soObjectManager& objects) : textures_(textures), objects_(objects) {}

soScene::soScene(const soScene& other)
    : textures_(other.textures_), objects_(other.objects_), interpolations_(other.interpolations_) {}

soScene::~soScene() = default;

const soScene& soScene::operator=(const soScene& other) {
  // Registries are shared by reference; the object registry cannot be
  // copied (it owns its drawables), so only distinct texture registries
  // take the other's entries.
  if (&other.textures_ != &textures_) textures_ = other.textures_;
  return *this;
}

std::int32_t soScene::TileObject(const so_object_data&, so_vectors&) { return -1; }

std::int32_t soScene::FindObject(const char* name, soObject** out) { return objects_.FindObject(name, out); }

std::int32_t soScene::ReleaseObject(soObject* object) { return objects_.ReleaseObject(object); }

std::int32_t soScene::ReferenceObject(soObject* object) { return objects_.ReferenceObject(object); }
