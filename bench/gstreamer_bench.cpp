// The so3dtransition element in a pipeline of two test sources into a fake
// sink, frames per second at 1280 × 720 and 1920 × 1080, beside the same
// pipeline through GStreamer's own (2D) compositor, in the same run.
#include <benchmark/benchmark.h>
#include <gst/gst.h>

#include <chrono>
#include <string>

#include "plugins/gstreamer/so3d_transition.h"

namespace {

constexpr int frames = 240;

// Seconds from PLAYING to the end of the stream; negative on an error.
double play(const std::string& description) {
  GstElement* pipeline = gst_parse_launch(description.c_str(), nullptr);
  if (!pipeline) return -1;
  const auto start = std::chrono::steady_clock::now();
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  GstBus* bus = gst_element_get_bus(pipeline);
  GstMessage* m =
      gst_bus_timed_pop_filtered(bus, GST_CLOCK_TIME_NONE, GstMessageType(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  const bool ok = m && GST_MESSAGE_TYPE(m) == GST_MESSAGE_EOS;
  if (m) gst_message_unref(m);
  gst_object_unref(bus);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(pipeline);
  return ok ? took.count() : -1;
}

std::string pipeline(const std::string& mixer, int width) {
  const std::string caps = "video/x-raw,format=BGRA,width=" + std::to_string(width) +
                           ",height=" + std::to_string(width * 9 / 16) + ",framerate=60/1";
  const std::string source = "videotestsrc num-buffers=" + std::to_string(frames);
  return mixer + " name=m ! video/x-raw,format=BGRA ! fakesink sync=false " + source + " ! " + caps + " ! m.sink_0 " +
         source + " pattern=smpte ! " + caps + " ! m.sink_1";
}

void BM_Transition(benchmark::State& state) {
  static const bool ready = (gst_init(nullptr, nullptr), so3d_transition_register(nullptr));
  if (!ready) return state.SkipWithError("the element did not register");
  const int width = int(state.range(0));
  const std::string effect = SO3D_DEMO_EFFECT;
  double anchor = 0, subject = 0;
  for (auto _ : state) {
    anchor = play(pipeline("compositor", width));
    subject = play(pipeline(
        "so3dtransition auto-start=true scene-a=" + effect + "/flat.lws scene-b=" + effect + "/card.lws", width));
    state.SetIterationTime(subject);
  }
  if (anchor <= 0 || subject <= 0) return state.SkipWithError("a pipeline failed");
  state.counters["fps"] = frames / subject;
  state.counters["compositor_fps"] = frames / anchor;
}

BENCHMARK(BM_Transition)->Arg(1280)->Arg(1920)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

}  // namespace
