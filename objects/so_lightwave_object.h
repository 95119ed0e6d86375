#pragma once
// soLightWaveObject: a drawable object whose geometry comes from a LightWave
// object file. LoadObject reads the file once, registers its still images
// with the texture registry and turns every file surface into one
// so_surface holding a flat triangle list, with interleaved vertices and
// texture coordinates built. All layers of the file merge into one object.
#include <cstdint>
#include <memory>

#include "base/so3d_export.h"
#include "objects/so_object.h"

class soTextureManager;

class SO3D_API soLightWaveObject : public soObject {
 public:
  // `texture_manager` (not owned, may be null) receives the file's still
  // images; it must outlive the object's LoadObject calls.
  soLightWaveObject(const char* name, soTextureManager* texture_manager);
  soLightWaveObject(const soLightWaveObject&) = delete;
  soLightWaveObject& operator=(const soLightWaveObject&) = delete;
  ~soLightWaveObject() override;

  // Loads the geometry of the object file at `path`. Once loaded the object
  // is never reloaded: later calls return true and change nothing, whatever
  // the path. The handedness code so_handedness_right negates z and reverses
  // each triangle's winding; any other code keeps the file's coordinates.
  // False when the file cannot be read or memory is short; nothing remains
  // of the attempt and a later call tries again.
  bool LoadObject(const char* path, std::int32_t handedness) override;
  std::int32_t SurfaceCount() const override;
  // Null unless 0 <= index < SurfaceCount().
  so_surface* SurfaceAt(std::int32_t index) override;
  // Box of every vertex of every surface, computed on the first call and
  // returned unchanged ever after (even once a later load adds geometry).
  // Starts from minimum (1e6, 1e6, 1e6) and maximum (-1e5, -1e5, -1e5), so
  // an object without vertices reports those.
  void GetBoundingBox(so_vector3& min, so_vector3& max) override;

 private:
  // Frees every block of `count` surfaces, then the array.
  struct surfaces_deleter {
    std::int32_t count;
    void operator()(so_surface* records) const noexcept;
  };

  // Null until loaded; then one record per file surface (possibly none).
  std::unique_ptr<so_surface[], surfaces_deleter> surfaces{nullptr, surfaces_deleter{0}};
  std::int32_t surface_count = 0;
  soTextureManager* texture_manager;
  so_vector3 bounds_min{};
  so_vector3 bounds_max{};
  bool bounds_valid = false;
};
