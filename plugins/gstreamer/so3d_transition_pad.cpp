// The element's sink pads: which screen each one feeds, and that screen's
// settings as pad properties, in the words and units of so3d-render's
// settings file.
#include <mutex>
#include <string>

#include "plugins/gstreamer/so3d_transition.h"
#include "plugins/gstreamer/so3d_transition_private.h"

struct _So3dTransitionPad {
  GstVideoAggregatorPad parent;
  So3dPadState* state;
};

G_DEFINE_TYPE(So3dTransitionPad, so3d_transition_pad, GST_TYPE_VIDEO_AGGREGATOR_PAD)

namespace {

enum { prop_0, prop_screen, prop_first_setting };

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
  So3dPadState& s = *SO3D_TRANSITION_PAD(object)->state;
  const std::lock_guard<std::mutex> lock(s.mutex);
  if (id == prop_screen) {
    s.screen = g_value_get_int(value);
    return;
  }
  const std::size_t key = id - prop_first_setting;
  if (key >= so3d::tools::setting_keys.size()) {
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    return;
  }
  const char* text = g_value_get_string(value);
  std::string error;
  // The pad's own record: its screen is chosen when the frame is drawn.
  if (!s.settings.Set(0, so3d::tools::setting_keys[key].name, text ? text : "", error)) {
    GST_WARNING_OBJECT(object, "%s: %s", so3d::tools::setting_keys[key].name, error.c_str());
    return;
  }
  s.texts[key] = text ? text : "";
  ++s.changes;
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
  So3dPadState& s = *SO3D_TRANSITION_PAD(object)->state;
  const std::lock_guard<std::mutex> lock(s.mutex);
  if (id == prop_screen) return g_value_set_int(value, s.screen);
  const std::size_t key = id - prop_first_setting;
  if (key >= so3d::tools::setting_keys.size()) {
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    return;
  }
  g_value_set_string(value, s.texts[key].c_str());
}

void finalize(GObject* object) {
  delete SO3D_TRANSITION_PAD(object)->state;
  G_OBJECT_CLASS(so3d_transition_pad_parent_class)->finalize(object);
}

}  // namespace

static void so3d_transition_pad_class_init(So3dTransitionPadClass* klass) {
  GObjectClass* object = G_OBJECT_CLASS(klass);
  object->set_property = set_property;
  object->get_property = get_property;
  object->finalize = finalize;
  const auto flags = GParamFlags(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
  g_object_class_install_property(
      object, prop_screen,
      g_param_spec_int("screen", "Screen", "The screen this input shows (0 to 5); -1: the pad's number", -1,
                       so3d::gst::TransitionRenderer::screen_count - 1, -1, flags));
  for (std::size_t i = 0; i < so3d::tools::setting_keys.size(); ++i) {
    const so3d::tools::SettingKey& k = so3d::tools::setting_keys[i];
    g_object_class_install_property(object, guint(prop_first_setting + i),
                                    g_param_spec_string(k.name, k.name, k.meaning, "", flags));
  }
}

static void so3d_transition_pad_init(So3dTransitionPad* pad) { pad->state = new So3dPadState; }

So3dPadState& so3d_pad_state(So3dTransitionPad* pad) { return *pad->state; }
