#pragma once
// Interfaces that the host implements and hands to the renderer. The module
// only calls the operations named below, on the thread that calls
// soSceneRenderer::Draw and only during it; the host owns the objects. The
// order of the virtual operations is part of the exported interface.
#include <cstdint>

#include "base/so3d_export.h"
#include "platform/d3d9/d3d9.h"
#include "platform/foundation/x_unknown.h"

// The host's drawing-functions object, passed to soSceneRenderer::Draw (may
// be null: then no decor textures) and carried in every so_drawing_state.
// The module only asks it for "soXIOGLDrawingFunctions" through
// QueryInterface, once per object drawn, and releases what that yields.
class SO3D_API soXIDrawingFunctions : public xIUnknown {};

// Decor textures lent by the host for the second texture stage.
class SO3D_API soXIOGLDrawingFunctions : public xIUnknown {
 public:
  // The texture of `decorId` (the record's so_id_border_decor) and a handle
  // to give back; 0 on success. The module takes no reference on the
  // texture (the device's SetTexture holds its own). Only handles of
  // successful calls, and never 0, are given back.
  virtual std::int32_t GetDecorTexture(std::int32_t decorId, IDirect3DTexture9** texture, std::int32_t* handle) = 0;
  // Gives back a handle that GetDecorTexture handed out, once the texture is
  // bound on stage 1, in the same draw.
  virtual void ReleaseDecorTexture(std::int32_t handle) = 0;
};

// A host object a renderer keeps for the host (SetDrawingCallbacks); the
// module calls none of its operations.
class SO3D_API soDrawingCallback {
 public:
  virtual ~soDrawingCallback() = default;
};
