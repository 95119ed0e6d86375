#pragma once
// soSceneRenderer: the abstract base of scene renderers. It keeps the
// drawing order of the frame being drawn (entries the scene fills), matches
// objects against the frame's screens, and prepares tile data. The order of
// the virtual operations is part of the exported interface.
//
// Nothing passed in is owned: scene, screens, records and callbacks belong
// to the host. One thread at a time, the one that owns the device.
#include <cstdint>

#include "base/so3d_export.h"
#include "base/so_records.h"
#include "base/so_surface.h"
#include "scene/so_scene.h"

class soDrawingCallback;
class soXIDrawingFunctions;
class zRecord;

class SO3D_API soSceneRenderer {
 public:
  // Room for 4 drawing-order entries inside the object; larger scenes grow
  // a heap block in steps of 4 that is kept until destruction.
  static constexpr std::uint32_t depth_sort_inline_entries = 4;
  static constexpr std::uint32_t depth_sort_step = 4;

  soSceneRenderer();
  // A copy would share the heap block of the drawing order.
  soSceneRenderer(const soSceneRenderer&) = delete;
  soSceneRenderer& operator=(const soSceneRenderer&) = delete;
  virtual ~soSceneRenderer();

  // Fixed device state; the sizes are the output's.
  virtual void Initalize(std::int32_t width, std::int32_t height) = 0;
  // Keeps the projection in step with the output size.
  virtual void UpdateProjectionSize(std::int32_t width, std::int32_t height) = 0;
  // Draws one frame of `scene` (null draws nothing) at `time`. `screens`
  // (`screenCount` entries; may be null) give each object its picture and
  // settings record. `duration` is the transition's length, which places
  // nested sub-scenes. `drawingFunctions` may be null; pass 0 for
  // `reserved`. `viewMatrix` is null or a D3DMATRIX used as the view instead
  // of the scene's camera. Nothing is kept after the call.
  virtual void Draw(soScene* scene, const so_screen_data* screens, std::int32_t screenCount, float time, float duration,
                    std::uint32_t flags, soXIDrawingFunctions* drawingFunctions, std::int32_t reserved,
                    void* viewMatrix) = 0;

  // Keeps `callbacks` for the host, replacing the previous pointer; not
  // owned and never called.
  void SetDrawingCallbacks(soDrawingCallback* callbacks) { callbacks_ = callbacks; }

 protected:
  // Fills the drawing order of `scene` for `time`: ObjectCount entries, in
  // the order the scene's DepthSort leaves them. When the storage cannot
  // grow to that many the count becomes 0 and nothing is drawn.
  void DoDepthSort(soScene& scene, float time);
  // True when `i` is below the entry count of the last DoDepthSort.
  bool DepthSort_ValidIndex(std::uint32_t i) const { return i < depth_count_; }
  // The object index of entry `i`. Not checked against the count: an `i`
  // past the capacity grows the storage (new entries read 0). 0xFFFFFFFF,
  // which no scene object has, when it cannot grow.
  std::uint32_t DepthSort_ConvertIndex(std::uint32_t i);

  // The settings records of the screens that show `object`: every screen
  // with the object's screen and slot, in array order, up to `maxRecords`
  // (null records count); if none, the record of the first screen with the
  // object's screen alone, written even when `maxRecords` is 0 or less.
  // Returns the number written; 0 for no screens or a null array.
  std::int32_t FindRecordsForScreen(const so_screen_data* screens, std::int32_t screenCount,
                                    const so_object_data& object, const zRecord** records,
                                    std::int32_t maxRecords) const;
  // The same criteria, but the last match of each: the record of the last
  // screen with the object's screen and slot, else of the last with its
  // screen, else null.
  const zRecord* FindRecordForScreen(const so_screen_data* screens, std::int32_t screenCount,
                                     const so_object_data& object) const;
  // How many screens belong to `transition`. *first is set to the first of
  // them, or to `screens` when there is none.
  std::int32_t GetScreensForTransition(const so_screen_data* screens, std::int32_t screenCount, std::int32_t transition,
                                       const so_screen_data** first) const;
  // Tile data of a tiled object: its vectors, its tile steps, and the
  // scene's frame as the area to fill.
  void MakeTileData(so_tile_data& tile, so_vectors& vectors, const so_object_data& object, const soScene& scene) const;

  // Entries the drawing order has room for without growing.
  std::uint32_t depth_sort_capacity() const { return depth_capacity_; }

 private:
  // Makes room for `needed` entries, adding the step (or more, when the
  // step is not enough). False, with the storage as it was, on failure.
  bool grow_depth_sort(std::uint64_t needed);

  so_depth_entry depth_inline_[depth_sort_inline_entries] = {};
  so_depth_entry* depth_entries_;  // depth_inline_ or a malloc block
  std::uint32_t depth_capacity_ = depth_sort_inline_entries;
  std::uint32_t depth_step_ = depth_sort_step;
  std::uint32_t depth_count_ = 0;
  soDrawingCallback* callbacks_ = nullptr;
};
