#pragma once
// soD3DDrawableObject: draws a wrapped object on the device of each draw
// call. It keeps one managed vertex buffer per surface, made at the first
// Draw and kept until ReleaseDeviceDependentResources (device change or
// reset) or destruction; a buffer is rebuilt only when its surface's texture
// coordinates change. The wrapped object's surface count must not change
// while buffers exist.
//
// Per surface, Draw binds the texture the texture manager gives it on stage
// 0 (a screen surface "One" without a screen texture is skipped), and for an
// object with a settings record, while multitexturing is on, the
// antialiasing mask or the host's decor texture on stage 1, enlarging the
// device's world transform so the soft frame falls outside the picture. One
// triangle-list draw call per surface.
//
// The texture manager is not owned and must outlive the drawable; the device
// of the draw call must be the one the texture manager binds on.
#include <cstdint>
#include <vector>

#include "base/so3d_export.h"
#include "platform/d3d9/d3d9.h"
#include "render/so_drawable_object.h"

class soD3DTextureManager;
class soXIOGLDrawingFunctions;

class SO3D_API soD3DDrawableObject : public soDrawableObject {
 public:
  // Stage-1 enlargement of the world: 1 + 6/720 and 1 + 6/480, the frame of
  // the mask pushed just past the edges of a full-frame picture.
  static constexpr std::uint32_t mask_scale_x_bits = 0x3F811112;
  static constexpr std::uint32_t mask_scale_y_bits = 0x3F819999;

  // Takes ownership of `wrapped` (see soDrawableObject). `textures` may be
  // null: then nothing is textured and screen surfaces are not drawn.
  // soD3DObjectManager makes one for every object it registers.
  soD3DDrawableObject(soObject* wrapped, soD3DTextureManager* textures);
  soD3DDrawableObject(const soD3DDrawableObject&) = delete;
  soD3DDrawableObject& operator=(const soD3DDrawableObject&) = delete;
  // Releases the vertex buffers, then deletes the wrapped object.
  ~soD3DDrawableObject() override;

  // Draws every surface on state.device; nothing without a device or
  // without state.object_data. Failures draw less and report nothing.
  void Draw(const so_drawing_state& state) override;
  // Releases the vertex buffers; the next Draw makes them again.
  void ReleaseDeviceDependentResources() override;

 private:
  struct surface_buffer {
    IDirect3DVertexBuffer9* buffer;  // one reference held; null when it could not be made
    std::int32_t vertex_count;       // vertices copied into it
  };

  void release_vertex_buffers();
  // A managed, write-only buffer holding the surface's interleaved vertices
  // (at most as many as its interleaved block holds). A buffer whose lock
  // fails is returned without contents. Null when there is nothing to copy
  // or the device refuses.
  surface_buffer create_vertex_buffer(so_surface& surface, IDirect3DDevice9& device);
  // Writes the stage-1 coordinates into the interleaved vertices first: the
  // unit square's two triangles on the first six, each later vertex's own
  // uv0 after them, so the mask follows the planar projection of larger
  // meshes.
  surface_buffer create_masked_vertex_buffer(so_surface& surface, IDirect3DDevice9& device);
  // Binds the decor texture named by the record's border_decor value, or the
  // antialiasing mask when it is 0, on stage 1 and enlarges the world
  // transform. False (stage 1 and the world untouched) when there is no such
  // texture.
  bool bind_mask_texture(const so_drawing_state& state, soXIOGLDrawingFunctions* decor);
  // Makes one buffer per surface; false when the list cannot be allocated.
  bool create_vertex_buffers(IDirect3DDevice9& device);
  void draw_surface(const so_drawing_state& state, std::int32_t index, soXIOGLDrawingFunctions* decor);

  soD3DTextureManager* texture_manager;
  std::int32_t vertex_buffer_count = 0;
  std::vector<surface_buffer> vertex_buffers;
};
