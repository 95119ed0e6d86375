// The GStreamer plugin "so3d": one element, so3dtransition.
#include "plugins/gstreamer/so3d_transition.h"

#ifndef SO3D_VERSION
#define SO3D_VERSION "0"
#endif
#define PACKAGE "so3d"

namespace {
gboolean plugin_init(GstPlugin* plugin) { return so3d_transition_register(plugin); }
}  // namespace

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, so3d, "3D transitions and effects between live video pictures",
                  plugin_init, SO3D_VERSION, "unknown", "so3d", "so3d")
