// so3dtransition in real pipelines, registered in this process: each input
// format at both ends of the transition, a run started by running time, the
// same frame as so3d-render's, repeated runs, and a missing scene.
#include <gst/controller/gstdirectcontrolbinding.h>
#include <gst/controller/gstinterpolationcontrolsource.h>
#include <gst/gst.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/image/image_file.h"
#include "plugins/gstreamer/so3d_transition.h"
#include "tests/support/temp_dir.h"
#include "tests/support/test_images.h"

namespace {

using namespace so3d::test;

const std::string effect = SO3D_DEMO_EFFECT;
constexpr int width = 64, height = 48;

class Gst : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    gst_init(nullptr, nullptr);
    so3d_transition_register(nullptr);
  }
};

struct Frame {
  std::vector<std::uint8_t> bytes;  // width × height × 4, as the output caps say
  std::array<int, 3> Rgb(int x, int y, bool rgba) const {
    const std::uint8_t* p = &bytes[(std::size_t(y) * width + std::size_t(x)) * 4];
    return rgba ? std::array<int, 3>{p[0], p[1], p[2]} : std::array<int, 3>{p[2], p[1], p[0]};
  }
};

// A solid-colour test source (0xAARRGGBB) of `format` into pad `pad`.
std::string source(unsigned argb, const char* format, int pad, int buffers = 1) {
  return "videotestsrc num-buffers=" + std::to_string(buffers) +
         " pattern=solid-color foreground-color=" + std::to_string(argb) + " ! video/x-raw,format=" + format +
         ",width=" + std::to_string(width) + ",height=" + std::to_string(height) + ",framerate=25/1 ! t.sink_" +
         std::to_string(pad) + " ";
}

// Runs the pipeline (its last element an appsink named out) and returns its
// frames; `error` gets the first error on the bus.
std::vector<Frame> run(const std::string& description, std::string* error = nullptr,
                       void (*prepare)(GstElement* pipeline) = nullptr) {
  GError* parse_error = nullptr;
  GstElement* pipeline = gst_parse_launch(description.c_str(), &parse_error);
  if (!pipeline) {
    ADD_FAILURE() << parse_error->message;
    g_clear_error(&parse_error);
    return {};
  }
  GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "out");
  if (prepare) prepare(pipeline);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  std::vector<Frame> frames;
  for (GstSample* sample = nullptr;; gst_sample_unref(sample)) {
    g_signal_emit_by_name(sink, "pull-sample", &sample);
    if (!sample) break;
    GstMapInfo map;
    GstBuffer* buffer = gst_sample_get_buffer(sample);
    if (gst_buffer_map(buffer, &map, GST_MAP_READ)) {
      frames.push_back({std::vector<std::uint8_t>(map.data, map.data + map.size)});
      gst_buffer_unmap(buffer, &map);
    }
  }
  GstBus* bus = gst_element_get_bus(pipeline);
  if (GstMessage* m = gst_bus_pop_filtered(bus, GST_MESSAGE_ERROR)) {
    GError* e = nullptr;
    gst_message_parse_error(m, &e, nullptr);
    if (error) *error = e->message;
    g_error_free(e);
    gst_message_unref(m);
  }
  gst_object_unref(bus);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(sink);
  gst_object_unref(pipeline);
  return frames;
}

std::string transition(const std::string& properties, const char* out_format) {
  return "so3dtransition name=t scene-a=" + effect + "/flat.lws scene-b=" + effect + "/card.lws " + properties +
         " ! video/x-raw,format=" + out_format + " ! appsink name=out sync=false ";
}

constexpr unsigned red = 0xFFFF0000, blue = 0xFF0000FF;

void expect_near(std::array<int, 3> got, std::array<int, 3> want, const std::string& what) {
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(got[i], want[i], 6) << what << " channel " << i;
}

TEST_F(Gst, PositionZeroShowsInputAAndTwoInputBInEveryFormat) {
  for (const char* in : {"BGRA", "RGBA", "I420", "NV12"}) {
    for (const char* out : {"BGRA", "RGBA"}) {
      for (const double position : {0.0, 2.0}) {
        const auto frames =
            run(transition("position=" + std::to_string(position), out) + source(red, in, 0) + source(blue, in, 1));
        const std::string what = std::string(in) + " to " + out + " at " + std::to_string(position);
        ASSERT_EQ(frames.size(), 1u) << what;
        ASSERT_EQ(frames[0].bytes.size(), std::size_t(width * height * 4)) << what;
        expect_near(frames[0].Rgb(width / 2, height / 2, std::string(out) == "RGBA"),
                    position == 0 ? std::array<int, 3>{255, 0, 0} : std::array<int, 3>{0, 0, 255}, what);
      }
    }
  }
}

TEST_F(Gst, StartRunsTheTransitionOverItsDurationOfRunningTime) {
  // 25 frames a second: frame k is 40k ms in, and the transition takes 160 ms.
  const auto frames = run(transition("auto-start=true duration=160000000", "BGRA") + source(red, "BGRA", 0, 8) +
                          source(blue, "BGRA", 1, 8));
  ASSERT_EQ(frames.size(), 8u);
  expect_near(frames.front().Rgb(width / 2, height / 2, false), {255, 0, 0}, "first frame");
  expect_near(frames.back().Rgb(width / 2, height / 2, false), {0, 0, 255}, "last frame");
}

TEST_F(Gst, AControllerDrivesThePosition) {
  // Control values 0 to 1 span the property's range, 0 to 2, over the first 160 ms.
  const auto automate = [](GstElement* pipeline) {
    GstElement* t = gst_bin_get_by_name(GST_BIN(pipeline), "t");
    GstControlSource* source = gst_interpolation_control_source_new();
    g_object_set(source, "mode", GST_INTERPOLATION_MODE_LINEAR, nullptr);
    auto* values = GST_TIMED_VALUE_CONTROL_SOURCE(source);
    gst_timed_value_control_source_set(values, 0, 0.0);
    gst_timed_value_control_source_set(values, 160 * GST_MSECOND, 1.0);
    gst_object_add_control_binding(GST_OBJECT(t), gst_direct_control_binding_new(GST_OBJECT(t), "position", source));
    gst_object_unref(source);
    gst_object_unref(t);
  };
  const auto frames =
      run(transition("", "BGRA") + source(red, "BGRA", 0, 8) + source(blue, "BGRA", 1, 8), nullptr, automate);
  ASSERT_EQ(frames.size(), 8u);
  expect_near(frames.front().Rgb(width / 2, height / 2, false), {255, 0, 0}, "first frame");
  expect_near(frames.back().Rgb(width / 2, height / 2, false), {0, 0, 255}, "last frame");
}

TEST_F(Gst, DrawsTheSameFrameAsSo3dRenderWithTheSameSettings) {
  TempDir dir;
  const std::string a = dir.Write("a.png", EncodePng(TestImage::Filled(width, height, {255, 0, 0, 255})));
  const std::string b = dir.Write("b.png", EncodePng(TestImage::Filled(width, height, {0, 0, 255, 255})));
  const std::string out = (dir.Path() / "frames").string();
  const std::string command = std::string(SO3D_RENDER) + " --size 64x48 --at 1 --screen 0=" + a + " --screen 1=" + b +
                              " --set 1:opacity=0.5 --set 0:rotation=0,30 --out " + out + " " + effect + "/flat.lws " +
                              effect + "/card.lws >/dev/null 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0);
  so3d::image::Picture expected;
  ASSERT_EQ(so3d::image::DecodeFile((out + "/frame_0000.png").c_str(), expected), so3d::image::Status::ok);
  // Pad settings through the element, as gst-launch sets them.
  const auto frames = run(transition("position=1 sink_1::opacity=0.5 sink_0::rotation=0,30", "BGRA") +
                          source(red, "BGRA", 0) + source(blue, "BGRA", 1));
  ASSERT_EQ(frames.size(), 1u);
  int differing = 0;
  for (std::size_t i = 0; i < expected.bgra.size(); i += 4)
    for (int c = 0; c < 3; ++c) differing += std::abs(int(frames[0].bytes[i + c]) - int(expected.bgra[i + c])) > 8;
  EXPECT_LE(differing, width * height / 100) << "channels that differ";
}

TEST_F(Gst, RepeatedRunsAndAMissingScene) {
  for (int i = 0; i < 100; ++i)
    ASSERT_EQ(run(transition("", "BGRA") + source(red, "BGRA", 0) + source(blue, "BGRA", 1)).size(), 1u) << i;
  std::string error;
  const auto frames = run("so3dtransition name=t scene-a=/nowhere/missing.lws scene-b=" + effect +
                              "/card.lws ! appsink name=out sync=false " + source(red, "BGRA", 0),
                          &error);
  EXPECT_TRUE(frames.empty());
  EXPECT_NE(error.find("/nowhere/missing.lws: cannot read the scene file"), std::string::npos) << error;
}

}  // namespace
