#include "render/so_scene_renderer.h"

#include <cstdlib>
#include <cstring>
#include <limits>

#include "platform/foundation/z_stacker_debug_stats.h"

soSceneRenderer::soSceneRenderer() : depth_entries_(depth_inline_) {}

soSceneRenderer::~soSceneRenderer() {
  if (depth_entries_ != depth_inline_) {
    zStackerDebugStats::FreeHeap();
    std::free(depth_entries_);
  }
}

bool soSceneRenderer::grow_depth_sort(std::uint64_t needed) {
  if (needed <= depth_capacity_) return true;
  std::uint64_t capacity = std::uint64_t{depth_capacity_} + depth_step_;
  if (capacity < needed) capacity = needed + depth_step_;
  // The capacity is an unsigned 32-bit count; larger requests cannot be met.
  if (capacity > std::numeric_limits<std::uint32_t>::max()) return false;

  const std::size_t bytes = static_cast<std::size_t>(capacity) * sizeof(so_depth_entry);
  so_depth_entry* grown = nullptr;
  if (depth_entries_ == depth_inline_) {
    grown = static_cast<so_depth_entry*>(std::malloc(bytes));
    if (!grown) return false;
    std::memcpy(grown, depth_inline_, sizeof depth_inline_);
  } else {
    grown = static_cast<so_depth_entry*>(std::realloc(depth_entries_, bytes));
    if (!grown) return false;  // the old block stays in use
  }
  // Entries past the old capacity are read before any scene writes them
  // when reached through DepthSort_ConvertIndex.
  std::memset(grown + depth_capacity_, 0, bytes - std::size_t{depth_capacity_} * sizeof(so_depth_entry));
  depth_entries_ = grown;
  depth_capacity_ = static_cast<std::uint32_t>(capacity);
  return true;
}

void soSceneRenderer::DoDepthSort(soScene& scene, float time) {
  const std::uint32_t n = scene.ObjectCount();
  if (!grow_depth_sort(n)) {
    depth_count_ = 0;
    return;
  }
  depth_count_ = n;
  scene.DepthSort(depth_entries_, n, time);
}

std::uint32_t soSceneRenderer::DepthSort_ConvertIndex(std::uint32_t i) {
  if (!grow_depth_sort(std::uint64_t{i} + 1)) return std::numeric_limits<std::uint32_t>::max();
  return depth_entries_[i].index;
}

std::int32_t soSceneRenderer::FindRecordsForScreen(const so_screen_data* screens, std::int32_t screenCount,
                                                   const so_object_data& object, const zRecord** records,
                                                   std::int32_t maxRecords) const {
  if (!screens || !records || screenCount <= 0) return 0;
  std::int32_t written = 0;
  for (std::int32_t i = 0; i < screenCount && written < maxRecords; ++i) {
    if (screens[i].screen == object.screen && screens[i].slot == object.slot) records[written++] = screens[i].record;
  }
  if (written > 0) return written;
  for (std::int32_t i = 0; i < screenCount; ++i) {
    if (screens[i].screen == object.screen) {
      records[0] = screens[i].record;
      return 1;
    }
  }
  return 0;
}

const zRecord* soSceneRenderer::FindRecordForScreen(const so_screen_data* screens, std::int32_t screenCount,
                                                    const so_object_data& object) const {
  if (!screens) return nullptr;
  const so_screen_data* exact = nullptr;
  const so_screen_data* by_screen = nullptr;
  for (std::int32_t i = 0; i < screenCount; ++i) {
    if (screens[i].screen != object.screen) continue;
    by_screen = &screens[i];
    if (screens[i].slot == object.slot) exact = &screens[i];
  }
  if (exact) return exact->record;
  return by_screen ? by_screen->record : nullptr;
}

std::int32_t soSceneRenderer::GetScreensForTransition(const so_screen_data* screens, std::int32_t screenCount,
                                                      std::int32_t transition, const so_screen_data** first) const {
  if (first) *first = screens;
  if (!screens) return 0;
  std::int32_t count = 0;
  for (std::int32_t i = 0; i < screenCount; ++i) {
    if (screens[i].transition != transition) continue;
    if (count++ == 0 && first) *first = &screens[i];
  }
  return count;
}

void soSceneRenderer::MakeTileData(so_tile_data& tile, so_vectors& vectors, const so_object_data& object,
                                   const soScene& scene) const {
  // The scene's frame queries only read, but the scene interface does not
  // mark them const.
  auto& frame = const_cast<soScene&>(scene);
  tile.vectors = vectors;
  tile.tile_x = object.tile_x;
  tile.tile_y = object.tile_y;
  tile.area_width = frame.FrameWidth();
  tile.area_height = frame.FrameHeight();
}
