#pragma once
// soD3DSceneRenderer: draws scenes into the current render target of the
// host's Direct3D 9 device. The host frames each frame (BeginScene,
// EndScene, Clear, Present); the renderer sets the fixed pipeline state,
// the projection, the view, one world transform per object, and calls each
// object's Draw.
//
// Host order: construct → Initalize → UpdateProjectionSize → Draw per frame.
// After a device change: UpdateDirect3DDevice, then Initalize and
// UpdateProjectionSize again. The device is not reference-counted; with no
// device every operation does nothing.
#include <cstdint>

#include "base/so3d_export.h"
#include "platform/d3d9/d3d9.h"
#include "platform/d3dx/d3dx_math.h"
#include "render/so_scene_renderer.h"

class soObject;

class SO3D_API soD3DSceneRenderer : public soSceneRenderer {
 public:
  // Flag bits of Draw.
  static constexpr std::uint32_t flag_keep_transforms = 0x10;  // records do not move objects
  static constexpr std::uint32_t flag_both_scenes = 0x6;       // both bits: sub-scene objects draw both scenes
  // Sub-scenes nested deeper than this are not drawn, so a scene that
  // contains itself cannot recurse without end.
  static constexpr std::uint32_t max_nesting = 8;

  // Draws on `device` (may be null), which the host keeps alive while the
  // renderer uses it.
  explicit soD3DSceneRenderer(IDirect3DDevice9* device);
  // Touches neither the device nor any scene.
  ~soD3DSceneRenderer() override;

  // Replaces the device; sets no state on it.
  void UpdateDirect3DDevice(IDirect3DDevice9& device) { device_ = &device; }
  // Lighting on, no culling, alpha blending off, fixed function, linear
  // clamped sampling on stage 0, and stage 0 × material, stage 1 × stage 0.
  void Setup3DState();

  // Setup3DState; the sizes are not used.
  void Initalize(std::int32_t width, std::int32_t height) override;
  // A 27-degree vertical field of view at the output's aspect, near 0.1,
  // far 100. Sizes that are not positive leave the projection as it is.
  void UpdateProjectionSize(std::int32_t width, std::int32_t height) override;
  // Sets the view (the host's matrix, else the scene's camera; no camera
  // draws nothing), orders the objects and draws them at `time`. Flag 0x10
  // keeps the matched settings records from moving objects; all flags pass
  // into the nested draws of a sub-scene transition, with 0x10 added, and
  // `duration` turns the time into the nested scenes' position.
  void Draw(soScene* scene, const so_screen_data* screens, std::int32_t screenCount, float time, float duration,
            std::uint32_t flags, soXIDrawingFunctions* drawingFunctions, std::int32_t reserved,
            void* viewMatrix) override;

 protected:
  // Sets the world transform of `vectors` and draws `object` with `state`,
  // its device set to the renderer's.
  void draw_object_with_transform(soObject& object, const so_vectors& vectors, so_drawing_state& state);

 private:
  // Sets the view from the scene's camera at `time`, multiplied by `base`
  // on the right. 0, or the scene's failure status with nothing set.
  std::int32_t place_camera(soScene* scene, float time, const D3DXMATRIX& base);
  void draw_objects(soScene* scene, const so_screen_data* screens, std::int32_t screenCount, float time, float duration,
                    std::uint32_t flags, soXIDrawingFunctions* drawingFunctions, std::int32_t reserved);
  void draw_objects_sub(soScene& scene, const so_screen_data* screens, std::int32_t screenCount, float time,
                        float duration, std::uint32_t flags, soXIDrawingFunctions* drawingFunctions,
                        std::int32_t reserved);

  IDirect3DDevice9* device_;
  std::uint32_t nesting_ = 0;  // Draw calls in progress
};
