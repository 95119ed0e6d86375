#include "textures/so_d3d_texture_manager.h"

#include <cstring>
#include <new>

#include "base/so_surface.h"

namespace {

constexpr std::uint32_t opaque_white = 0xFFFFFFFF;
constexpr std::uint32_t half_white = 0x7FFFFFFF;
constexpr std::uint32_t clear_white = 0x00FFFFFF;

// Row pointers come from the device and need not be 4-byte aligned.
void put_texel(std::uint8_t* row, std::int32_t x, std::uint32_t value) {
  std::memcpy(row + std::size_t(x) * 4, &value, 4);
}

void fill_row(std::uint8_t* row, std::int32_t texels, std::uint32_t value) {
  for (std::int32_t x = 0; x < texels; ++x) put_texel(row, x, value);
}

}  // namespace

soD3DTextureManager::soD3DTextureManager(IDirect3DDevice9* device) : device_(device) {}

soD3DTextureManager::~soD3DTextureManager() {
  release_mask();
  for (const auto& record : records_)
    if (record->owned && record->texture) {
      if (record->texture == locked_) record->texture->UnlockRect(0);
      record->texture->Release();
    }
}

void soD3DTextureManager::SetTexture(std::int32_t slot, std::int32_t screen, IDirect3DTexture9* texture,
                                     so_alpha_type alpha, std::int32_t width, std::int32_t height, float u_extent,
                                     float v_extent) {
  _directx_texture* record = get_texture(slot);
  if (!record)
    for (const auto& candidate : records_)
      if (!candidate->owned && !candidate->texture) {
        record = candidate.get();
        break;
      }
  _directx_texture spare{};  // stands in when no record can be made
  if (!record) {
    try {
      records_.push_back(std::make_unique<_directx_texture>());
      record = records_.back().get();
    } catch (const std::bad_alloc&) { record = &spare; }
  }
  record->slot = slot;
  record->screen = screen;
  record->texture = texture;
  record->alpha_type = alpha;
  record->width = width;
  record->height = height;
  record->u_extent = u_extent;
  record->v_extent = v_extent;
  if (screen >= 0 && screen < screen_count) screens_[std::size_t(screen)] = *record;
}

const _directx_texture* soD3DTextureManager::choose(const so_surface& surface, const so_object_data& data) {
  if (so_surface_has_name(surface, "One")) {
    if (const _directx_texture* record = get_texture(data.slot)) return record;
    if (data.screen < 0 || data.screen >= screen_count) return nullptr;
    return &screens_[std::size_t(data.screen)];
  }
  return surface.texture_id != 0 ? find_image(surface.texture_id) : nullptr;
}

bool soD3DTextureManager::HasTexture(const so_surface& surface, const so_object_data& data) {
  const _directx_texture* record = choose(surface, data);
  return record && record->texture;
}

bool soD3DTextureManager::BindTexture(const so_surface& surface, const so_object_data& data, so_alpha_type* alpha,
                                      std::int32_t* width, std::int32_t* height, float* u_extent, float* v_extent) {
  if (so_surface_has_name(surface, "One") && data.screen < 0) return false;
  const _directx_texture* record = choose(surface, data);
  if (!record || !record->texture || !device_) return false;
  if (alpha) *alpha = record->alpha_type;
  device_->SetTexture(0, record->texture);
  if (width) *width = record->width;
  if (height) *height = record->height;
  if (u_extent) *u_extent = record->u_extent;
  if (v_extent) *v_extent = record->v_extent;
  return true;
}

void soD3DTextureManager::UnbindAll() {
  for (const auto& record : records_)
    if (!record->owned) record->texture = nullptr;
  for (_directx_texture& entry : screens_) entry.texture = nullptr;
}

IDirect3DTexture9* soD3DTextureManager::GetMaskTexture() {
  if (!mask_) create_antialiasing_mask(mask_width, mask_height);
  return mask_;
}

void soD3DTextureManager::ChangeD3Device(IDirect3DDevice9& device) {
  UnbindAll();
  if (&device == device_) return;
  release_mask();
  device_ = &device;
  create_antialiasing_mask(mask_width, mask_height);
}

void soD3DTextureManager::ReleaseAllD3DResources() { release_mask(); }

void soD3DTextureManager::GenerateTextureCoords(float u, float v, float* out, std::int32_t stride) {
  if (!out || stride < std::int32_t(2 * sizeof(float))) return;
  const float pairs[6][2] = {{0, v}, {0, 0}, {u, 0}, {0, v}, {u, 0}, {u, v}};
  // A host stride need not keep floats aligned.
  auto* bytes = reinterpret_cast<unsigned char*>(out);
  for (std::size_t i = 0; i < 6; ++i) std::memcpy(bytes + i * std::size_t(stride), pairs[i], sizeof pairs[i]);
}

bool soD3DTextureManager::create_new_texture(std::int32_t width, std::int32_t height, std::int32_t id) {
  if (!device_ || width <= 0 || height <= 0) return false;
  IDirect3DTexture9* texture = nullptr;
  if (FAILED(device_->CreateTexture(UINT(width), UINT(height), 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture,
                                    nullptr)) ||
      !texture)
    return false;
  _directx_texture* record = find_image(id);
  if (record) {
    if (record->texture == locked_) {
      record->texture->UnlockRect(0);
      locked_ = nullptr;
    }
    if (record->texture) record->texture->Release();
  } else {
    try {
      records_.push_back(std::make_unique<_directx_texture>());
    } catch (const std::bad_alloc&) {
      texture->Release();
      return false;
    }
    record = records_.back().get();
  }
  // Image records serve no slot or screen; they are found by id only.
  *record = _directx_texture{-1, -1, id, width, height, true, so_alpha_straight, texture, 1.0f, 1.0f};
  return true;
}

void* soD3DTextureManager::lock_bits_for(std::int32_t id, std::int32_t* pitch) {
  const _directx_texture* record = find_image(id);
  if (!pitch || !record || !record->texture || locked_) return nullptr;
  D3DLOCKED_RECT locked{};
  if (FAILED(record->texture->LockRect(0, &locked, nullptr, 0))) return nullptr;
  if (!locked.pBits) {
    record->texture->UnlockRect(0);
    return nullptr;
  }
  locked_ = record->texture;
  *pitch = locked.Pitch;
  return locked.pBits;
}

void soD3DTextureManager::unlock_bits_for(std::int32_t id) {
  const _directx_texture* record = find_image(id);
  if (!record || !record->texture || record->texture != locked_) return;
  locked_->UnlockRect(0);
  locked_ = nullptr;
}

void soD3DTextureManager::delete_texture(std::int32_t id) {
  for (auto it = records_.begin(); it != records_.end(); ++it) {
    _directx_texture& record = **it;
    if (!record.owned || record.texture_id != id) continue;
    if (record.texture) {
      if (record.texture == locked_) {
        record.texture->UnlockRect(0);
        locked_ = nullptr;
      }
      record.texture->Release();
    }
    records_.erase(it);
    return;
  }
}

_directx_texture* soD3DTextureManager::get_texture(std::int32_t slot) {
  for (const auto& record : records_)
    if (!record->owned && record->slot == slot) return record.get();
  return nullptr;
}

_directx_texture* soD3DTextureManager::find_image(std::int32_t id) {
  for (const auto& record : records_)
    if (record->owned && record->texture_id == id) return record.get();
  return nullptr;
}

std::int32_t soD3DTextureManager::create_antialiasing_mask(std::int32_t width, std::int32_t height) {
  release_mask();
  // The frame is two texels deep on every side.
  if (!device_ || width < 2 || height < 2) return -1;
  IDirect3DTexture9* texture = nullptr;
  if (FAILED(device_->CreateTexture(UINT(width), UINT(height), 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture,
                                    nullptr)) ||
      !texture)
    return -1;
  mask_ = texture;
  D3DLOCKED_RECT locked{};
  if (FAILED(texture->LockRect(0, &locked, nullptr, 0))) return 0;
  // A pitch shorter than a row would write past the rows the device gave.
  if (!locked.pBits || locked.Pitch < width * 4) {
    texture->UnlockRect(0);
    return 0;
  }
  auto* base = static_cast<std::uint8_t*>(locked.pBits);
  const std::size_t pitch = std::size_t(locked.Pitch);
  auto row = [&](std::int32_t y) { return base + std::size_t(y) * pitch; };
  // The order matters where the frame overlaps itself: row 0 keeps alpha 127
  // at texels 1 and width - 2, row height - 2 is 127 right across.
  for (std::int32_t y = 0; y < height; ++y) fill_row(row(y), locked.Pitch / 4, opaque_white);
  fill_row(row(0), width, clear_white);
  fill_row(row(1), width, half_white);
  for (std::int32_t y = 0; y < height; ++y) {
    put_texel(row(y), 0, clear_white);
    put_texel(row(y), 1, half_white);
    put_texel(row(y), width - 2, half_white);
    put_texel(row(y), width - 1, clear_white);
  }
  fill_row(row(height - 2), width, half_white);
  fill_row(row(height - 1), width, clear_white);
  texture->UnlockRect(0);
  return 0;
}

void soD3DTextureManager::release_mask() {
  if (mask_) mask_->Release();
  mask_ = nullptr;
}
