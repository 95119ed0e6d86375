#pragma once
// The umbrella header a host includes: every exported class, record and
// function of the module, and the foundation classes a host boots the module
// with (zBoot) and builds per-screen settings with (zRecord).
//
// Contract common to every header below:
//   - Threads: the module is not locked. Boot once (zBoot::BootAll), then make,
//     load, draw and destroy scenes, registries and renderers from one thread
//     at a time, the one that uses the device. Only the texture registry's
//     AddDecorTexture and its entry lookup take a lock.
//   - Ownership: pointers passed in stay the caller's unless an operation says
//     it takes them; pointers handed out stay the module's unless it says the
//     caller receives a reference or ownership.
//   - Teardown: scenes, the renderer and the object registry may be destroyed
//     in any order (a scene holds a reference on its texture registry and lets
//     go of its objects when the object registry goes first). Release the
//     device last.
//   - Failures: results say what happened (0 / -1, null, false, HRESULT, as
//     each operation states); no exception leaves an operation of the module
//     unless stated (memory short included), and the library prints nothing.
#include "module/so_module.h"
#include "platform/foundation/z_boot.h"
#include "platform/foundation/z_record.h"

// Scenes, their records and the per-screen settings.
#include "base/so_envelope.h"
#include "base/so_records.h"
#include "scene/so_object_settings.h"
#include "scene/so_scene.h"
#include "scene/so_scene_item.h"

// Objects and their registry.
#include "base/so_surface.h"
#include "objects/so_lightwave_object.h"
#include "objects/so_object.h"
#include "objects/so_object_manager.h"
#include "objects/so_overlay_object.h"

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
