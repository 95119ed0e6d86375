#include "textures/so_texture_manager.h"

#include <new>

#include "base/so_file_paths.h"
#include "platform/foundation/z_id_generator.h"

soTextureManager::soTextureManager() {
  // Without memory for the lock the registry still works, unguarded, for
  // the single caller that the module has.
  try {
    lock_ = zCritical::Factory(1);
  } catch (const std::bad_alloc&) {}
}

soTextureManager::~soTextureManager() = default;

soTextureManager& soTextureManager::operator=(const soTextureManager& other) {
  if (&other == this) return *this;
  try {
    std::vector<std::unique_ptr<_ro_texture_entry>> copy;
    copy.reserve(other.entries_.size());
    for (const auto& entry : other.entries_) copy.push_back(std::make_unique<_ro_texture_entry>(*entry));
    entries_ = std::move(copy);
  } catch (const std::bad_alloc&) {
    // Short of memory the registry keeps what it had.
  }
  multitexturing_ = other.multitexturing_;
  return *this;
}

bool soTextureManager::UsingPremultipledAlpha() const { return false; }

std::int32_t soTextureManager::AddDecorTexture(const char* name, std::int32_t id) {
  zAutoCritical guard(lock_.get());
  if (find_entry(id)) return 0;
  try {
    entries_.push_back(std::make_unique<_ro_texture_entry>(_ro_texture_entry{zString(name), id}));
  } catch (const std::bad_alloc&) { return -1; }
  return 0;
}

std::int32_t soTextureManager::QueryInterface(const char* iid, void** out) { return Concrete_QueryInterface(iid, out); }

std::int32_t soTextureManager::AddRef() { return Concrete_AddRef(); }

std::int32_t soTextureManager::Release() { return Concrete_Release(); }

std::int32_t soTextureManager::AddTexture(const char* name, std::int32_t* id) {
  if (!id) return -1;
  try {
    const std::int32_t fresh = zIDGenerator::Generate('x');
    entries_.push_back(std::make_unique<_ro_texture_entry>(_ro_texture_entry{zString(name), fresh}));
    *id = fresh;
  } catch (const std::bad_alloc&) { return -1; }
  return 0;
}

std::uint32_t soTextureManager::TextureCount() const { return std::uint32_t(entries_.size()); }

std::int32_t soTextureManager::TextureIDAt(std::uint32_t index) {
  return index < entries_.size() ? entries_[index]->id : 0;
}

std::int32_t soTextureManager::OpenAndUploadTexture(std::int32_t id, const char* base_path) {
  const _ro_texture_entry* entry = find_entry(id);
  if (!entry) return -1;
  try {
    // The stored name is never tried as it stands: it names a file on the
    // machine that authored the object.
    zString candidate;
    resolve_absolute_path(entry->name.CString(), candidate);
    if (make_bitmap(candidate.CString(), id)) return 0;
    if (!base_path) return -1;
    candidate = zString();
    resolve_relative_to_base(entry->name.CString(), candidate, base_path);
    return make_bitmap(candidate.CString(), id) ? 0 : -1;
  } catch (const std::bad_alloc&) { return -1; }
}

const char* soTextureManager::TextureName(std::int32_t id) const {
  const _ro_texture_entry* entry = find_entry(id);
  return entry ? entry->name.CString() : nullptr;
}

std::int32_t soTextureManager::UploadTextureFrom(std::int32_t id, const char* path) {
  if (!path || !find_entry(id)) return -1;
  return make_bitmap(path, id) ? 0 : -1;
}

std::int32_t soTextureManager::UnloadAndDeleteTexture(std::int32_t id) {
  for (auto it = entries_.begin(); it != entries_.end(); ++it) {
    if ((*it)->id != id) continue;
    delete_texture(id);
    entries_.erase(it);
    return 0;
  }
  return -1;
}

void soTextureManager::SetMultitexturingEnabled(bool enabled) { multitexturing_ = enabled; }

bool soTextureManager::MultitexturingEnabled() const { return multitexturing_; }

void soTextureManager::delete_texture(std::int32_t /*id*/) {}

_ro_texture_entry* soTextureManager::get_texture_entry(std::int32_t id) {
  zAutoCritical guard(lock_.get());
  return find_entry(id);
}

_ro_texture_entry* soTextureManager::find_entry(std::int32_t id) const {
  for (const auto& entry : entries_)
    if (entry->id == id) return entry.get();
  return nullptr;
}
