#pragma once
// A texture manager whose device textures live in memory, rows padded past
// their width so that copies must honour the pitch. It logs the device calls.
#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "textures/so_texture_manager.h"

namespace so3d::test {

class MemoryTextureManager : public soTextureManager {
 public:
  static constexpr std::uint8_t fill = 0xCD;
  struct Texture {
    int pitch = 0;
    std::vector<std::uint8_t> bytes;
  };
  std::map<std::int32_t, Texture> textures;
  std::vector<std::string> calls;  // e.g. "create 7", "lock 7", "unlock 7", "delete 7"

  using soTextureManager::get_texture_entry;
  using soTextureManager::make_bitmap;

  // B, G, R, A of texel (x, y).
  std::array<int, 4> Texel(std::int32_t id, int x, int y) const {
    const Texture& t = textures.at(id);
    const std::uint8_t* p = &t.bytes.at(std::size_t(y) * std::size_t(t.pitch) + std::size_t(x) * 4);
    return {p[0], p[1], p[2], p[3]};
  }

  bool BindTexture(const so_surface&, const so_object_data&, so_alpha_type*, std::int32_t*, std::int32_t*, float*,
                   float*) override {
    return false;
  }
  void UnbindAll() override {}
  bool HasTexture(const so_surface&, const so_object_data&) override { return false; }

 protected:
  bool create_new_texture(std::int32_t width, std::int32_t height, std::int32_t id) override {
    calls.push_back("create " + std::to_string(id));
    if (width != 256 || height != 256) return false;
    textures[id] = Texture{width * 4 + 48, std::vector<std::uint8_t>(std::size_t(width * 4 + 48) * height, fill)};
    return true;
  }
  void* lock_bits_for(std::int32_t id, std::int32_t* pitch) override {
    calls.push_back("lock " + std::to_string(id));
    if (!textures.count(id)) return nullptr;
    *pitch = textures[id].pitch;
    return textures[id].bytes.data();
  }
  void unlock_bits_for(std::int32_t id) override { calls.push_back("unlock " + std::to_string(id)); }
  void delete_texture(std::int32_t id) override { calls.push_back("delete " + std::to_string(id)); }
};

struct ReleaseManager {
  void operator()(soTextureManager* manager) const { manager->Release(); }
};
using MemoryManagerPtr = std::unique_ptr<MemoryTextureManager, ReleaseManager>;
inline MemoryManagerPtr MakeMemoryManager() { return MemoryManagerPtr(new MemoryTextureManager); }

}  // namespace so3d::test
