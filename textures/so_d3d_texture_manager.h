#pragma once
// soD3DTextureManager: the texture manager of one Direct3D 9 device that the
// host owns. It holds the host's screen textures (handed in every frame with
// SetTexture), binds them to screen surfaces, makes the antialiasing mask
// that drawables put on stage 1, and keeps the device textures of the image
// files in the registry.
//
// Which texture a surface gets on stage 0:
//   - a surface named exactly "One" shows a screen: the host record for the
//     object's slot if one exists (even while it is unbound), else the screen
//     table entry of the object's screen (0 to 5);
//   - any other surface with a non-zero texture_id shows the image texture
//     made for that id;
//   - every other surface has none.
//
// The manager takes no reference on the device or on host textures; the host
// keeps a handed-in texture alive until UnbindAll or the next SetTexture for
// its slot. Textures the manager made (the mask, image textures) it releases
// itself. One caller at a time, on the thread that owns the device.
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/so3d_export.h"
#include "platform/d3d9/d3d9.h"
#include "textures/so_texture_manager.h"

// One texture the manager knows: a host texture for a slot, or an image
// texture it made for a registry id. Copied by value into the screen table.
struct _directx_texture {
  std::int32_t slot;        // so_object_data.slot served; the key of slot lookups (host records)
  std::int32_t screen;      // screen number it was handed in for
  std::int32_t texture_id;  // registry id it was made for (owned records)
  std::int32_t width;       // picture size in pixels
  std::int32_t height;
  bool owned;  // made (and released) by the manager; false for host textures
  soTextureManager::so_alpha_type alpha_type;
  IDirect3DTexture9* texture;  // null when unbound
  float u_extent;              // part of the texture the picture covers
  float v_extent;
};

class SO3D_API soD3DTextureManager : public soTextureManager {
 public:
  static constexpr std::int32_t screen_count = 6;
  static constexpr std::int32_t mask_width = 720;
  static constexpr std::int32_t mask_height = 480;

  // Stores `device` (which may be null: then nothing can be made or bound).
  // The device must outlive the manager, whose last Release frees the
  // textures it made there. A host normally reaches the manager through
  // soD3DObjectManager::D3DTextureManager rather than making one.
  explicit soD3DTextureManager(IDirect3DDevice9* device);
  soD3DTextureManager(const soD3DTextureManager&) = delete;
  soD3DTextureManager& operator=(const soD3DTextureManager&) = delete;

  // Hands in the texture that currently shows `screen` for objects of
  // `slot`, with how to read its alpha, its picture size in pixels and the
  // part of the texture the picture covers (1, 1: all of it); no reference
  // is taken. Updates the record of the slot (or reuses a record freed by
  // UnbindAll, or makes one) and copies it into the screen table. A screen
  // outside 0 to 5 has no table entry: only the slot record is updated.
  // When memory is short for a new record, only the screen table is.
  void SetTexture(std::int32_t slot, std::int32_t screen, IDirect3DTexture9* texture, so_alpha_type alpha,
                  std::int32_t width, std::int32_t height, float u_extent, float v_extent);

  // Binds the surface's texture (see above) on stage 0 and reports its alpha
  // type, pixel size and extents; each pointer may be null. False when there
  // is none, and for a screen surface of an object whose screen is negative
  // (even when its slot has a record).
  bool BindTexture(const so_surface& surface, const so_object_data& data, so_alpha_type* alpha, std::int32_t* width,
                   std::int32_t* height, float* u_extent, float* v_extent) override;
  // Forgets every host texture; the records stay for reuse.
  void UnbindAll() override;
  // Whether the surface has a texture. Unlike BindTexture it does not test
  // the sign of the object's screen when a slot record exists.
  bool HasTexture(const so_surface& surface, const so_object_data& data) override;

  // The antialiasing mask, made at mask_width x mask_height first if there
  // is none: opaque white inside a two-texel frame, transparent outermost,
  // half-transparent next. Null when it cannot be made. The manager keeps
  // the reference.
  IDirect3DTexture9* GetMaskTexture();

  // Unbinds the host textures; with a device other than the stored one, also
  // replaces the mask by a new one made on `device`. Image textures made on
  // the old device are left as they are.
  void ChangeD3Device(IDirect3DDevice9& device);
  // Releases the mask before a device reset; it is made again on demand.
  void ReleaseAllD3DResources();

  // Writes the texture coordinates of a quad of two triangles, six (u, v)
  // float pairs `stride` bytes apart from `out`: (0, v), (0, 0), (u, 0),
  // (0, v), (u, 0), (u, v). Nothing is written when `out` is null or
  // `stride` is shorter than a pair.
  static void GenerateTextureCoords(float u, float v, float* out, std::int32_t stride);

 protected:
  ~soD3DTextureManager() override;

  // Image textures: one record per id; making one again for an id replaces
  // its texture. They report alpha type so_alpha_straight, their size and
  // extents of 1.
  bool create_new_texture(std::int32_t width, std::int32_t height, std::int32_t id) override;
  // Locks level 0 of the texture made for `id`.
  void* lock_bits_for(std::int32_t id, std::int32_t* pitch) override;
  void unlock_bits_for(std::int32_t id) override;
  // Releases the texture made for `id` and forgets its record.
  void delete_texture(std::int32_t id) override;

 private:
  // First host record for `slot`, bound or not; null if none.
  _directx_texture* get_texture(std::int32_t slot);
  // Record of the image texture made for `id`, or null.
  _directx_texture* find_image(std::int32_t id);
  // The record that holds the surface's texture, or null.
  const _directx_texture* choose(const so_surface& surface, const so_object_data& data);
  // Makes (or remakes) the mask. 0, or -1 when the device cannot create it;
  // a mask whose texels cannot be reached is kept unfilled.
  std::int32_t create_antialiasing_mask(std::int32_t width, std::int32_t height);
  void release_mask();

  std::array<_directx_texture, screen_count> screens_{};
  std::vector<std::unique_ptr<_directx_texture>> records_;
  IDirect3DDevice9* device_;
  IDirect3DTexture9* mask_ = nullptr;
  IDirect3DTexture9* locked_ = nullptr;  // image texture between lock_bits_for and unlock_bits_for
};
