#pragma once
// One animated item of a scene: an object, a light, the camera or the
// ambient light, with its seventeen channels.
#include <cstdint>
#include <memory>

#include "base/so_envelope.h"
#include "base/so_records.h"
#include "platform/foundation/z_types.h"

class soObject;

inline constexpr std::uint32_t so_light_distant = zFourCC("dist");
inline constexpr std::uint32_t so_light_point = zFourCC("pnt.");
inline constexpr std::uint32_t so_light_spot = zFourCC("spot");

// What a light is besides its channels (soScene::LightVectors). Carried for
// the host: the renderer lights nothing with it.
struct so_light_data {
  std::uint32_t type = 0;      // so_light_*; 0 until set
  float color[3] = {0, 0, 0};  // r, g, b as the scene file gives them
  float intensity = 0.0f;
  float cone_angle = 180.0f;  // degrees, spot lights
};

// The scene's own record of one item; owned by the scene.
struct so_scene_item {
  so_object_data data{};       // objects only
  soObject* object = nullptr;  // not owned; counted in the object registry
  so_light_data light;
  so_channel_eval eval[so_channel_count] = {};         // per-channel remapper, null = none
  std::unique_ptr<so_envelope> env[so_channel_count];  // per-channel envelope, null = none
};
