#pragma once
// The umbrella header a host includes: every exported class, record and
// function of the module, and the foundation classes a host boots the module
// with (zBoot) and builds per-screen settings with (zRecord).
#include "module/so_module.h"
#include "platform/foundation/z_boot.h"
#include "platform/foundation/z_record.h"

// Scenes, their records and the per-screen settings.
#include "base/so_envelope.h"
#include "scene/so_object_settings.h"
#include "base/so_records.h"
#include "scene/so_scene.h"
#include "scene/so_scene_item.h"

// Objects and their registry.
#include "objects/so_lightwave_object.h"
#include "objects/so_object.h"
#include "objects/so_object_manager.h"
#include "objects/so_overlay_object.h"
#include "base/so_surface.h"

// Textures.
#include "textures/so_d3d_texture_manager.h"
#include "textures/so_texture_manager.h"

// Drawing on the host's device.
#include "render/host_interfaces.h"
#include "render/so_d3d_drawable_object.h"
#include "render/so_d3d_object_manager.h"
#include "render/so_d3d_scene_renderer.h"
#include "render/so_d3d_utils.h"
#include "render/so_drawable_object.h"
#include "render/so_scene_renderer.h"
