#include "objects/so_object_manager.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "objects/so_lightwave_object.h"

soObjectManager::soObjectManager() = default;

soObjectManager::~soObjectManager() {
  // Holders let go first, so that none of them reaches an object below.
  std::vector<so_registry_holder*> holders;
  holders.swap(holders_);
  for (so_registry_holder* h : holders) h->gone(h->owner);
  std::vector<_so_object_map> doomed;
  doomed.swap(entries);
  for (const _so_object_map& entry : doomed) delete entry.object;
}

std::int32_t soObjectManager::CreateDrawable(soObject* source, soObject** out) {
  if (out == nullptr) return -1;
  *out = nullptr;
  if (source == nullptr) return -1;
  // Room for the entry first, so that a drawable, once made, is always
  // registered.
  try {
    entries.reserve(entries.size() + 1);
  } catch (const std::exception&) { return -1; }
  soObject* drawable = create_drawable_object(source);
  if (drawable == nullptr) return -1;
  entries.push_back(_so_object_map{1, drawable});
  *out = drawable;
  return 0;
}

std::int32_t soObjectManager::FindObject(const char* name, soObject** out) {
  if (out == nullptr) return -1;
  *out = nullptr;
  if (name == nullptr) return -1;
  if (_so_object_map* entry = get_map(name)) {
    ++entry->references;
    *out = entry->object;
    return 0;
  }
  soLightWaveObject* object = nullptr;
  try {
    object = new soLightWaveObject(name, &TextureManager());
  } catch (const std::exception&) { return -1; }
  const std::int32_t result = CreateDrawable(object, out);
  if (result != 0) delete object;
  return result;
}

std::int32_t soObjectManager::ReferenceObject(soObject* object) {
  if (object == nullptr) return 0;
  _so_object_map* entry = get_map(object);
  if (entry == nullptr) return -1;
  return entry->references++;
}

std::int32_t soObjectManager::ReleaseObject(soObject* object) {
  if (object == nullptr) return 0;
  _so_object_map* entry = get_map(object);
  if (entry == nullptr) return -1;
  const std::int32_t remaining = --entry->references;
  if (remaining == 0) {
    // Unregister before destroying, so the registry is consistent should the
    // object's destructor reach back into it.
    entries.erase(entries.begin() + (entry - entries.data()));
    delete object;
  }
  return remaining;
}

void soObjectManager::ReleaseAllDeviceDependentResources() {
  for (const _so_object_map& entry : entries) {
    if (entry.object != nullptr) entry.object->ReleaseDeviceDependentResources();
  }
}

_so_object_map* soObjectManager::get_map(const char* name) {
  const auto found = std::find_if(entries.begin(), entries.end(), [name](const _so_object_map& e) {
    return e.object != nullptr && e.object->Name() == name;
  });
  return found != entries.end() ? &*found : nullptr;
}

_so_object_map* soObjectManager::get_map(soObject* object) {
  if (object == nullptr) return nullptr;
  const auto found =
      std::find_if(entries.begin(), entries.end(), [object](const _so_object_map& e) { return e.object == object; });
  return found != entries.end() ? &*found : nullptr;
}

std::int32_t soObjectManager::AttachHolder(so_registry_holder* holder) {
  try {
    holders_.push_back(holder);
    return 0;
  } catch (const std::bad_alloc&) { return -1; }
}

void soObjectManager::DetachHolder(so_registry_holder* holder) { std::erase(holders_, holder); }
