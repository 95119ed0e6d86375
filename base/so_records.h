#pragma once
// The plain records that pass between the host, the scene and the renderer.
// Field order and widths are part of the exported interface: every field is
// 4 bytes (IEEE single floats, signed 32-bit integers) except the record
// pointer of so_screen_data.
#include <cstddef>
#include <cstdint>

#include "base/so3d_export.h"

class zRecord;

// A position, an angle triple (radians) or a scale factor triple.
struct so_vector3 {
  float x;
  float y;
  float z;
};

// Margins cut from a picture's edges, in picture pixels.
struct so_crop {
  float left;
  float top;
  float right;
  float bottom;
};

// The seventeen animated channels of a scene item. Memory order follows the
// channel number except rot.x (channel 4, pitch) and rot.y (channel 3,
// heading).
struct so_vectors {
  so_vector3 pos;      // channels 0-2
  so_vector3 rot;      // pitch (4), heading (3), bank (5), radians
  so_vector3 scale;    // channels 6-8
  float trans;         // channel 9, opacity
  so_vector3 rot_off;  // channels 10-12, added after scaling, before rotation
  so_crop crop;        // channels 13-16, picture pixels
};

// Per-object data a scene keeps beside the channels: which screen the object
// shows (the scene file's ShowObject) and how it tiles.
struct so_object_data {
  std::int32_t flags;   // 0x2: tiled
  float tile_x;         // tile step, percent of scale.x
  float tile_y;         // tile step, percent of scale.y
  std::int32_t slot;    // item number within the screen; 0 takes the entry's slot
  std::int32_t screen;  // screen number the object shows; matched against so_screen_data::screen
};

// One entry of the screen table a host passes to transitions and draws: which
// picture (slot) currently shows a screen, and its settings. The module reads
// the entries and their records only during the call that receives them; it
// keeps no pointer to the array.
struct so_screen_data {
  std::int32_t screen;      // screen number that objects' so_object_data::screen names
  std::int32_t slot;        // the host's picture slot, as given to soD3DTextureManager::SetTexture
  const zRecord* record;    // settings record; may be null; owned by the host
  std::int32_t transition;  // groups entries by transition (soSceneRenderer::GetScreensForTransition)
};

static_assert(sizeof(so_vector3) == 12);
static_assert(sizeof(so_vectors) == 68);
static_assert(offsetof(so_vectors, trans) == 36 && offsetof(so_vectors, crop) == 52);
static_assert(sizeof(so_object_data) == 20);

// Flag bit of so_object_data::flags marking a tiled object.
inline constexpr std::int32_t so_object_flag_tiled = 0x2;

// The neutral state of an item whose channels have no envelopes.
constexpr so_vectors so_default_vectors() {
  return so_vectors{{0, 0, 0}, {0, 0, 0}, {1, 1, 1}, 1.0f, {0, 0, 0}, {0, 0, 0, 0}};
}

// The entry of `screens` that an object shows: the first with the object's
// screen and slot, else the first with its screen, else null.
SO3D_API const so_screen_data* so_match_screen(const so_screen_data* screens, std::int32_t count,
                                               const so_object_data& object);
