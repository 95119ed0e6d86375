#pragma once
// soD3DObjectManager: the object registry of one Direct3D 9 device. It owns
// the device's soD3DTextureManager and wraps every registered object in a
// soD3DDrawableObject that draws with it.
//
// The host owns the device and keeps it alive while the manager or its
// drawables use it; the manager takes no reference on it. Non-copyable: a
// copy would share the registry's drawables and the texture manager without
// owning them. Not locked: one caller at a time, on the thread that owns
// the device. Scenes made on it may be destroyed before or after it; the
// device goes after both.
#include <cstdint>

#include "base/so3d_export.h"
#include "objects/so_object_manager.h"
#include "platform/d3d9/d3d9.h"

class soD3DTextureManager;

class SO3D_API soD3DObjectManager : public soObjectManager {
 public:
  // Makes the texture manager for `device` (may be null: nothing is made or
  // bound) and holds its first reference.
  explicit soD3DObjectManager(IDirect3DDevice9* device);
  soD3DObjectManager(const soD3DObjectManager&) = delete;
  soD3DObjectManager& operator=(const soD3DObjectManager&) = delete;
  // Gives up the texture manager's reference (it lives on while scenes or
  // others hold one), then tells the attached scenes and destroys the
  // registered drawables.
  ~soD3DObjectManager() override;

  // The device in use; no reference is added.
  IDirect3DDevice9* Device() const { return device; }
  // 'lftH': Direct3D's left-handed coordinates. The host passes it to a
  // scene's Load so that objects are built to match this device.
  std::int32_t ObjectHandedness() const override;
  // The device's texture manager. Should it not have been made (memory
  // short at construction), an inert manager that binds nothing stands in.
  soTextureManager& TextureManager() const override;
  // The same manager with its Direct3D side, through which the host hands
  // in each screen's texture (soD3DTextureManager::SetTexture).
  soD3DTextureManager& D3DTextureManager() const;

  // Before a device reset: releases every drawable's vertex buffers, then
  // the antialiasing mask. Both are made again on demand.
  void ReleaseAllD3DResources();
  // After a reset or when the host moves to another device: stores the
  // device, unbinds the host textures (a different device also gets a new
  // mask) and releases every drawable's vertex buffers.
  void ChangeD3Device(IDirect3DDevice9& device);

 private:
  // A soD3DDrawableObject over `source`, named like it, drawing with this
  // manager's textures; null when memory is short (`source` stays with the
  // caller then).
  soObject* create_drawable_object(soObject* source) override;

  IDirect3DDevice9* device;
  soD3DTextureManager* texture_manager;  // one reference held; null if it could not be made
};
