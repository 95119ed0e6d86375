#pragma once
// so3dtransition: a video aggregator that plays an so3d effect between its
// inputs. Each request pad sink_%u is a screen (its number, unless the pad's
// `screen` property says otherwise); the output is the effect drawn at
// `position`, 0 to 2, set directly, automated with a GstController, or run
// over `duration` of running time after the `start` action signal (or at
// once with `auto-start`).
#include <gst/gst.h>
#include <gst/video/gstvideoaggregator.h>

G_BEGIN_DECLS

#define SO3D_TYPE_TRANSITION (so3d_transition_get_type())
G_DECLARE_FINAL_TYPE(So3dTransition, so3d_transition, SO3D, TRANSITION, GstVideoAggregator)

#define SO3D_TYPE_TRANSITION_PAD (so3d_transition_pad_get_type())
G_DECLARE_FINAL_TYPE(So3dTransitionPad, so3d_transition_pad, SO3D, TRANSITION_PAD, GstVideoAggregatorPad)

// Registers the element with `plugin` (null: for this process only).
gboolean so3d_transition_register(GstPlugin* plugin);

G_END_DECLS
