// The element: properties, the start signal, caps as the compositor
// negotiates them, and one so3d frame per output buffer.
#include "plugins/gstreamer/so3d_transition.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "platform/foundation/z_boot.h"
#include "plugins/gstreamer/so3d_transition_private.h"

GST_DEBUG_CATEGORY_STATIC(so3d_transition_debug);
#define GST_CAT_DEFAULT so3d_transition_debug

namespace {

// Everything the properties set and the streaming thread reads, under one
// lock, and what only the streaming thread (or stop) touches.
struct State {
  std::mutex mutex;
  so3d::gst::EffectFiles files;
  double position = 0.0;
  GstClockTime duration = 2 * GST_SECOND;
  bool auto_start = false;
  bool start_pending = false;
  GstClockTime started_at = GST_CLOCK_TIME_NONE;  // running time the started transition began

  so3d::gst::TransitionRenderer renderer;
  so3d::gst::EffectFiles opened;
  std::vector<so3d::gst::ScreenPicture> pictures;
  std::vector<zRecord> records;
  std::uint64_t settings_version = 0;
};

enum {
  prop_0,
  prop_scene,
  prop_scene_a,
  prop_scene_b,
  prop_carrier,
  prop_content_dir,
  prop_position,
  prop_duration,
  prop_auto_start,
};
enum { signal_start, signal_count };
guint signals[signal_count];

GstStaticPadTemplate sink_template = GST_STATIC_PAD_TEMPLATE(
    "sink_%u", GST_PAD_SINK, GST_PAD_REQUEST, GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE("{ BGRA, RGBA, I420, NV12 }")));
GstStaticPadTemplate src_template =
    GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE("{ BGRA, RGBA }")));

}  // namespace

struct _So3dTransition {
  GstVideoAggregator parent;
  State* state;
};

static void so3d_transition_child_proxy_init(gpointer iface, gpointer data);

// A child proxy over the pads, so that pad properties can be set as
// "sink_1::opacity=0.5" on the element, as gst-launch and the compositor do.
G_DEFINE_TYPE_WITH_CODE(So3dTransition, so3d_transition, GST_TYPE_VIDEO_AGGREGATOR,
                        G_IMPLEMENT_INTERFACE(GST_TYPE_CHILD_PROXY, so3d_transition_child_proxy_init))

namespace {

State& state_of(gpointer self) { return *SO3D_TRANSITION(self)->state; }

std::string* file_property(State& s, guint id) {
  switch (id) {
    case prop_scene: return &s.files.scene;
    case prop_scene_a: return &s.files.a;
    case prop_scene_b: return &s.files.b;
    case prop_carrier: return &s.files.carrier;
    case prop_content_dir: return &s.files.content_dir;
    default: return nullptr;
  }
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
  State& s = state_of(object);
  const std::lock_guard<std::mutex> lock(s.mutex);
  if (std::string* file = file_property(s, id)) {
    const char* text = g_value_get_string(value);
    *file = text ? text : "";
  } else if (id == prop_position) {
    s.position = g_value_get_double(value);
  } else if (id == prop_duration) {
    s.duration = g_value_get_uint64(value);
  } else if (id == prop_auto_start) {
    s.auto_start = g_value_get_boolean(value);
  } else {
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
  }
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
  State& s = state_of(object);
  const std::lock_guard<std::mutex> lock(s.mutex);
  if (const std::string* file = file_property(s, id)) {
    g_value_set_string(value, file->c_str());
  } else if (id == prop_position) {
    g_value_set_double(value, s.position);
  } else if (id == prop_duration) {
    g_value_set_uint64(value, s.duration);
  } else if (id == prop_auto_start) {
    g_value_set_boolean(value, s.auto_start);
  } else {
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
  }
}

void start_transition(So3dTransition* self) {
  State& s = state_of(self);
  const std::lock_guard<std::mutex> lock(s.mutex);
  s.start_pending = true;
}

// The effect is loaded at the first frame of each run, so a file changed
// while the element was stopped is read again.
gboolean start(GstAggregator* aggregator) {
  State& s = state_of(aggregator);
  const std::lock_guard<std::mutex> lock(s.mutex);
  s.start_pending = s.auto_start;
  s.started_at = GST_CLOCK_TIME_NONE;
  return TRUE;
}

gboolean stop(GstAggregator* aggregator) {
  state_of(aggregator).renderer.Close();
  return TRUE;
}

// The output takes the largest input size and the highest input frame rate
// where downstream leaves them open, as the compositor does.
GstCaps* fixate_src_caps(GstAggregator* aggregator, GstCaps* caps) {
  gint width = 0, height = 0, rate_n = 0, rate_d = 1;
  GST_OBJECT_LOCK(aggregator);
  for (GList* l = GST_ELEMENT(aggregator)->sinkpads; l; l = l->next) {
    const GstVideoInfo& info = GST_VIDEO_AGGREGATOR_PAD(l->data)->info;
    if (!GST_VIDEO_INFO_FORMAT(&info)) continue;
    width = std::max(width, GST_VIDEO_INFO_WIDTH(&info));
    height = std::max(height, GST_VIDEO_INFO_HEIGHT(&info));
    if (GST_VIDEO_INFO_FPS_D(&info) &&
        double(GST_VIDEO_INFO_FPS_N(&info)) / GST_VIDEO_INFO_FPS_D(&info) > double(rate_n) / rate_d)
      rate_n = GST_VIDEO_INFO_FPS_N(&info), rate_d = GST_VIDEO_INFO_FPS_D(&info);
  }
  GST_OBJECT_UNLOCK(aggregator);
  caps = gst_caps_make_writable(caps);
  GstStructure* s = gst_caps_get_structure(caps, 0);
  gst_structure_fixate_field_nearest_int(s, "width", width ? width : 1280);
  gst_structure_fixate_field_nearest_int(s, "height", height ? height : 720);
  gst_structure_fixate_field_nearest_fraction(s, "framerate", rate_n ? rate_n : 30, rate_n ? rate_d : 1);
  return gst_caps_fixate(caps);
}

// Inputs of any of the sink formats feed the device; the output is always
// one of the source formats.
GstCaps* update_caps(GstVideoAggregator* aggregator, GstCaps* caps) {
  GstCaps* formats = gst_pad_get_pad_template_caps(GST_AGGREGATOR_SRC_PAD(aggregator));
  GstCaps* result = gst_caps_intersect(caps, formats);
  gst_caps_unref(formats);
  return result;
}

// Each input is converted on the device on its own, so any sink format and
// size is fine whatever the output is; the base class would tie the
// inputs' format to the output's.
gboolean sink_query(GstAggregator* aggregator, GstAggregatorPad* pad, GstQuery* query) {
  if (GST_QUERY_TYPE(query) == GST_QUERY_CAPS) {
    GstCaps* filter = nullptr;
    gst_query_parse_caps(query, &filter);
    GstCaps* caps = gst_pad_get_pad_template_caps(GST_PAD(pad));
    if (filter) {
      GstCaps* both = gst_caps_intersect_full(filter, caps, GST_CAPS_INTERSECT_FIRST);
      gst_caps_unref(caps);
      caps = both;
    }
    gst_query_set_caps_result(query, caps);
    gst_caps_unref(caps);
    return TRUE;
  }
  if (GST_QUERY_TYPE(query) == GST_QUERY_ACCEPT_CAPS) {
    GstCaps* caps = nullptr;
    gst_query_parse_accept_caps(query, &caps);
    GstCaps* formats = gst_pad_get_pad_template_caps(GST_PAD(pad));
    gst_query_set_accept_caps_result(query, gst_caps_is_subset(caps, formats));
    gst_caps_unref(formats);
    return TRUE;
  }
  return GST_AGGREGATOR_CLASS(so3d_transition_parent_class)->sink_query(aggregator, pad, query);
}

so3d::gst::PixelFormat pixel_format(GstVideoFormat format) {
  switch (format) {
    case GST_VIDEO_FORMAT_RGBA: return so3d::gst::PixelFormat::rgba;
    case GST_VIDEO_FORMAT_I420: return so3d::gst::PixelFormat::i420;
    case GST_VIDEO_FORMAT_NV12: return so3d::gst::PixelFormat::nv12;
    default: return so3d::gst::PixelFormat::bgra;
  }
}

// The screens' pictures and settings for this frame.
void gather_pictures(GstVideoAggregator* aggregator, State& s) {
  s.pictures.clear();
  s.records.resize(so3d::gst::TransitionRenderer::screen_count);
  s.settings_version = 0;
  GST_OBJECT_LOCK(aggregator);
  for (GList* l = GST_ELEMENT(aggregator)->sinkpads; l; l = l->next) {
    auto* pad = GST_VIDEO_AGGREGATOR_PAD(l->data);
    GstVideoFrame* frame = gst_video_aggregator_pad_get_prepared_frame(pad);
    if (!frame) continue;
    So3dPadState& p = so3d_pad_state(SO3D_TRANSITION_PAD(pad));
    const std::lock_guard<std::mutex> lock(p.mutex);
    s.settings_version += p.changes;
    int screen = p.screen;
    if (screen < 0) screen = int(std::strtol(GST_PAD_NAME(pad) + 5, nullptr, 10));  // "sink_N"
    if (screen < 0 || screen >= so3d::gst::TransitionRenderer::screen_count) continue;
    so3d::gst::ScreenPicture picture;
    picture.screen = screen;
    picture.format = pixel_format(GST_VIDEO_FRAME_FORMAT(frame));
    picture.width = unsigned(GST_VIDEO_FRAME_WIDTH(frame));
    picture.height = unsigned(GST_VIDEO_FRAME_HEIGHT(frame));
    for (guint i = 0; i < GST_VIDEO_FRAME_N_PLANES(frame) && i < 3; ++i) {
      picture.planes[i] = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(frame, i));
      picture.strides[i] = std::size_t(GST_VIDEO_FRAME_PLANE_STRIDE(frame, i));
    }
    if (p.settings.given[0]) {
      s.records[std::size_t(screen)] = p.settings.records[0];
      picture.settings = &s.records[std::size_t(screen)];
    }
    s.pictures.push_back(picture);
  }
  GST_OBJECT_UNLOCK(aggregator);
}

// Where the effect is for the buffer at `pts`: run by running time once
// started, else the position property (kept by its controller, if any).
double position_at(So3dTransition* self, State& s, GstClockTime pts) {
  const GstSegment& segment = GST_AGGREGATOR_PAD(GST_AGGREGATOR_SRC_PAD(self))->segment;
  if (GST_CLOCK_TIME_IS_VALID(pts))
    gst_object_sync_values(GST_OBJECT(self), gst_segment_to_stream_time(&segment, GST_FORMAT_TIME, pts));
  const std::lock_guard<std::mutex> lock(s.mutex);
  const GstClockTime now = gst_segment_to_running_time(&segment, GST_FORMAT_TIME, pts);
  if (s.start_pending && GST_CLOCK_TIME_IS_VALID(now)) {
    s.start_pending = false;
    s.started_at = now;
  }
  if (!GST_CLOCK_TIME_IS_VALID(s.started_at) || !GST_CLOCK_TIME_IS_VALID(now)) return s.position;
  if (s.duration == 0) return 2.0;
  return std::clamp(2.0 * double(now - std::min(now, s.started_at)) / double(s.duration), 0.0, 2.0);
}

GstFlowReturn aggregate_frames(GstVideoAggregator* aggregator, GstBuffer* out) {
  auto* self = SO3D_TRANSITION(aggregator);
  State& s = state_of(self);
  const GstVideoInfo& info = aggregator->info;
  const auto width = unsigned(GST_VIDEO_INFO_WIDTH(&info)), height = unsigned(GST_VIDEO_INFO_HEIGHT(&info));
  so3d::gst::EffectFiles files;
  {
    const std::lock_guard<std::mutex> lock(s.mutex);
    files = s.files;
  }
  std::string why;
  if (!s.renderer.IsOpen() || s.renderer.Width() != width || s.renderer.Height() != height || !(files == s.opened)) {
    std::vector<std::string> warnings;
    if (!s.renderer.Open(files, width, height, why, warnings)) {
      GST_ELEMENT_ERROR(self, RESOURCE, OPEN_READ, ("%s", why.c_str()), (nullptr));
      return GST_FLOW_ERROR;
    }
    for (const std::string& w : warnings) GST_ELEMENT_WARNING(self, RESOURCE, READ, ("%s", w.c_str()), (nullptr));
    s.opened = files;
  }
  const double position = position_at(self, s, GST_BUFFER_PTS(out));
  gather_pictures(aggregator, s);
  GstVideoFrame frame;
  if (!gst_video_frame_map(&frame, &info, out, GST_MAP_WRITE)) return GST_FLOW_ERROR;
  const bool drawn = s.renderer.Draw(s.pictures, s.settings_version, float(position),
                                     static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)),
                                     std::size_t(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0)),
                                     GST_VIDEO_FRAME_FORMAT(&frame) == GST_VIDEO_FORMAT_RGBA, why);
  gst_video_frame_unmap(&frame);
  if (!drawn) {
    GST_ELEMENT_ERROR(self, STREAM, FAILED, ("%s", why.c_str()), (nullptr));
    return GST_FLOW_ERROR;
  }
  return GST_FLOW_OK;
}

GObject* child_by_name(GstChildProxy* proxy, const gchar* name) {
  return G_OBJECT(gst_element_get_static_pad(GST_ELEMENT(proxy), name));
}

GObject* child_by_index(GstChildProxy* proxy, guint index) {
  GST_OBJECT_LOCK(proxy);
  gpointer pad = g_list_nth_data(GST_ELEMENT(proxy)->sinkpads, index);
  if (pad) gst_object_ref(pad);
  GST_OBJECT_UNLOCK(proxy);
  return G_OBJECT(pad);
}

guint children_count(GstChildProxy* proxy) {
  GST_OBJECT_LOCK(proxy);
  const guint count = GST_ELEMENT(proxy)->numsinkpads;
  GST_OBJECT_UNLOCK(proxy);
  return count;
}

GstPad* request_new_pad(GstElement* element, GstPadTemplate* templ, const gchar* name, const GstCaps* caps) {
  GstPad* pad = GST_ELEMENT_CLASS(so3d_transition_parent_class)->request_new_pad(element, templ, name, caps);
  if (pad) gst_child_proxy_child_added(GST_CHILD_PROXY(element), G_OBJECT(pad), GST_OBJECT_NAME(pad));
  return pad;
}

void release_pad(GstElement* element, GstPad* pad) {
  gst_child_proxy_child_removed(GST_CHILD_PROXY(element), G_OBJECT(pad), GST_OBJECT_NAME(pad));
  GST_ELEMENT_CLASS(so3d_transition_parent_class)->release_pad(element, pad);
}

void finalize(GObject* object) {
  delete SO3D_TRANSITION(object)->state;
  G_OBJECT_CLASS(so3d_transition_parent_class)->finalize(object);
}

}  // namespace

static void so3d_transition_class_init(So3dTransitionClass* klass) {
  GObjectClass* object = G_OBJECT_CLASS(klass);
  object->set_property = set_property;
  object->get_property = get_property;
  object->finalize = finalize;
  const auto flags = GParamFlags(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);
  const struct {
    guint id;
    const char* name;
    const char* blurb;
  } files[] = {
      {prop_scene, "scene", "An effect of its own: one scene file whose objects show the screens"},
      {prop_scene_a, "scene-a", "The scene a transition starts from (at position 0)"},
      {prop_scene_b, "scene-b", "The scene a transition ends in (at position 2)"},
      {prop_carrier, "carrier", "A scene whose screen-0 and screen-1 objects carry scene-a and scene-b (nested)"},
      {prop_content_dir, "content-dir", "Content folder for object and image names (Objects/, Images/ under it)"},
  };
  for (const auto& f : files)
    g_object_class_install_property(object, f.id, g_param_spec_string(f.name, f.name, f.blurb, "", flags));
  g_object_class_install_property(
      object, prop_position,
      g_param_spec_double("position", "Position",
                          "Where the effect is, 0 (scene A) to 2 (scene B); controllable, and run by start", 0.0, 2.0,
                          0.0, GParamFlags(flags | GST_PARAM_CONTROLLABLE)));
  g_object_class_install_property(
      object, prop_duration,
      g_param_spec_uint64("duration", "Duration", "Running time a started transition takes, in nanoseconds", 0,
                          G_MAXUINT64, 2 * GST_SECOND, flags));
  g_object_class_install_property(
      object, prop_auto_start,
      g_param_spec_boolean("auto-start", "Auto start", "Start the transition at the first frame of each run", FALSE,
                           flags));
  signals[signal_start] =
      g_signal_new_class_handler("start", G_TYPE_FROM_CLASS(klass), GSignalFlags(G_SIGNAL_RUN_LAST | G_SIGNAL_ACTION),
                                 G_CALLBACK(start_transition), nullptr, nullptr, nullptr, G_TYPE_NONE, 0);

  GstElementClass* element = GST_ELEMENT_CLASS(klass);
  element->request_new_pad = request_new_pad;
  element->release_pad = release_pad;
  gst_element_class_add_static_pad_template_with_gtype(element, &sink_template, SO3D_TYPE_TRANSITION_PAD);
  gst_element_class_add_static_pad_template_with_gtype(element, &src_template, GST_TYPE_AGGREGATOR_PAD);
  gst_element_class_set_static_metadata(
      element, "so3d 3D transition", "Filter/Editor/Video/Compositor",
      "Plays an authored 3D effect or transition between its inputs, drawn by so3d on OpenGL ES", "so3d developers");
  GstAggregatorClass* aggregator = GST_AGGREGATOR_CLASS(klass);
  aggregator->start = start;
  aggregator->stop = stop;
  aggregator->fixate_src_caps = fixate_src_caps;
  aggregator->sink_query = sink_query;
  GstVideoAggregatorClass* video = GST_VIDEO_AGGREGATOR_CLASS(klass);
  video->aggregate_frames = aggregate_frames;
  video->update_caps = update_caps;
  gst_type_mark_as_plugin_api(SO3D_TYPE_TRANSITION_PAD, GstPluginAPIFlags(0));
}

static void so3d_transition_init(So3dTransition* self) { self->state = new State; }

static void so3d_transition_child_proxy_init(gpointer iface, gpointer) {
  auto* proxy = static_cast<GstChildProxyInterface*>(iface);
  proxy->get_child_by_name = child_by_name;
  proxy->get_child_by_index = child_by_index;
  proxy->get_children_count = children_count;
}

gboolean so3d_transition_register(GstPlugin* plugin) {
  static const bool booted = (zBoot::BootAll(), true);
  (void)booted;
  GST_DEBUG_CATEGORY_INIT(so3d_transition_debug, "so3dtransition", 0, "so3d 3D transition");
  return gst_element_register(plugin, "so3dtransition", GST_RANK_NONE, SO3D_TYPE_TRANSITION);
}
