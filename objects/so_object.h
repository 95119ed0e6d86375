#pragma once
// soObject: the abstract base of everything the renderer draws, a named
// object made of surfaces. The order of the virtual operations is part of
// the exported interface. The base owns only the name; a derived class owns
// its surfaces and their blocks (see objects/so_surface.h).
#include <cstdint>

#include "base/so3d_export.h"
#include "base/so_surface.h"
#include "platform/foundation/z_string.h"
#include "platform/foundation/z_types.h"

// Handedness codes: right-handed negates z and reverses triangle winding;
// any other value means left-handed.
inline constexpr std::int32_t so_handedness_left = static_cast<std::int32_t>(zFourCC("lftH"));
inline constexpr std::int32_t so_handedness_right = static_cast<std::int32_t>(zFourCC("rhtH"));

// Objects that scenes draw are registered with an soObjectManager, which owns
// them; a host deletes only objects it made and never registered.
class SO3D_API soObject {
 public:
  // Copies `name` (null gives "").
  explicit soObject(const char* name);
  soObject(const soObject&) = default;  // copies the name
  soObject& operator=(const soObject&) = default;
  virtual ~soObject();

  // Draws the object on state.device, whose world transform the renderer has
  // set. Draws nothing here.
  virtual void Draw(const so_drawing_state& state);
  // Reads the object's geometry from `path`, built for `handedness`; false
  // when it cannot. Fails for every path here.
  virtual bool LoadObject(const char* path, std::int32_t handedness);
  virtual std::int32_t SurfaceCount() const = 0;
  // The surface at `index`, owned by the object and valid while it lives;
  // null when `index` is out of range.
  virtual so_surface* SurfaceAt(std::int32_t index) = 0;
  // Stores the scales and crop terms in the surface's coordinate cache, then
  // regenerates its coordinates with all nine arguments.
  virtual void RebuildTextureCoords(so_surface& surface, float u_scale, float v_scale, std::int32_t width,
                                    std::int32_t height, float crop_left, float crop_top, float crop_right,
                                    float crop_bottom);
  // Leaves both outputs as passed here.
  virtual void GetBoundingBox(so_vector3& min, so_vector3& max);
  // Drops what the object made on a device (before a device reset or
  // change); it is made again on demand. Nothing to release here.
  virtual void ReleaseDeviceDependentResources();

  // The name the registry finds the object by (FindObject).
  const zString& Name() const { return name; }

  // Builds the interleaved block of every surface, for objects whose
  // surfaces were filled outside the module.
  void CreateInterleavedSurfaces();

 protected:
  // Builds (or rebuilds, freeing the old block) the surface's 32-byte
  // aligned interleaved vertices from its positions, normals and texture
  // coordinates. A null surface is ignored. On allocation failure the
  // surface is left without interleaved vertices.
  void create_interleaved_surface(so_surface* surface);

  // Regenerates the surface's coordinates through RebuildTextureCoords when
  // the crop (state.vectors->crop scaled by the extents) or the scale
  // differs from the cached values; returns true when it did. `normalized`
  // selects scales of 1, else `width` and `height`. `index` is unused. A
  // state without vectors counts as no crop.
  bool update_texture_coordinates(const so_drawing_state& state, so_surface& surface, std::int32_t index,
                                  std::int32_t width, std::int32_t height, float u_extent, float v_extent,
                                  bool normalized);

  // Steps tile.vectors.pos one tile right, or to the first tile of the next
  // row once the current one lies past the right edge. False once the row
  // has moved below the bottom edge.
  bool MoveToNextTile(so_tile_data& tile);
  // True when the unscaled steps fit at least 8 tiles into the area.
  bool HasManyTiles(const so_tile_data& tile) const;

 private:
  zString name;
};

// Planar projection of the surface onto its bounding rectangle in the X-Y
// plane, for surfaces that show a screen or carry an image (others are left
// alone). Top-left of the bounds gets (0, 0), bottom-right (u_scale,
// v_scale); a negative v_scale flips v to run bottom-up. Each non-zero crop
// term (pixels of a width x height picture) moves only the vertices on its
// own edge. Writes texcoords (made on demand, the uv array grown when the
// vertex count grew) and, where built, the interleaved uv0. The coordinate
// cache is not touched. A zero extent gives non-finite coordinates.
SO3D_API void generate_texture_coordinates(so_surface& surface, float u_scale, float v_scale, std::int32_t width,
                                           std::int32_t height, float crop_left, float crop_top, float crop_right,
                                           float crop_bottom);
