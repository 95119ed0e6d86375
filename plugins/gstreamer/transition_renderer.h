#pragma once
// The so3d side of the GStreamer element, free of GStreamer: an OpenGL ES
// device of the output's size on its own headless EGL context, the effect's
// scenes, and one texture per screen that each frame refills from the
// inputs (video planes converted on the device). The context is released
// after every frame, so that set-up, frames and teardown may come from
// different threads, one at a time.
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "backends/gles/gles_device.h"
#include "platform/foundation/z_record.h"

class soD3DObjectManager;
class soD3DSceneRenderer;
class soScene;

namespace so3d::gst {

// Which scenes make the effect: one `scene`; or `a` morphing into `b`; or
// `a` and `b` nested in `carrier`'s screen-0 and screen-1 objects.
struct EffectFiles {
  std::string scene, a, b, carrier;
  std::string content_dir;  // looked in after the scene's own folder

  bool operator==(const EffectFiles&) const = default;
};

enum class PixelFormat { bgra, rgba, i420, nv12 };

// One input picture for one screen, as mapped from a buffer.
struct ScreenPicture {
  int screen = 0;
  PixelFormat format = PixelFormat::bgra;
  unsigned width = 0, height = 0;
  const std::uint8_t* planes[3] = {};
  std::size_t strides[3] = {};
  const zRecord* settings = nullptr;  // null: the screen's object as authored
};

class TransitionRenderer {
 public:
  static constexpr int screen_count = 6;

  TransitionRenderer();
  ~TransitionRenderer();
  TransitionRenderer(const TransitionRenderer&) = delete;
  TransitionRenderer& operator=(const TransitionRenderer&) = delete;

  // Makes the device and loads the effect. False with one line naming the
  // file and the reason; `warnings` gets what a person should know about a
  // load that worked (nothing loaded shows a screen, say).
  bool Open(const EffectFiles& files, unsigned width, unsigned height, std::string& why,
            std::vector<std::string>& warnings);
  bool IsOpen() const { return device_ != nullptr; }
  unsigned Width() const { return width_; }
  unsigned Height() const { return height_; }

  // Draws the effect at `position` (0 to 2) with the screens given (a screen
  // not given keeps its last picture, black at first) into `out`, rows
  // `pitch` bytes apart, B, G, R, A or R, G, B, A. `settings_version`
  // changes whenever any screen's settings did: a transition takes them in
  // when it is made, so it is made again. False with a reason.
  bool Draw(const std::vector<ScreenPicture>& screens, std::uint64_t settings_version, float position,
            std::uint8_t* out, std::size_t pitch, bool rgba_out, std::string& why);

  // Everything released (any thread, once no frame is being drawn).
  void Close();

 private:
  struct Screen;
  std::unique_ptr<soScene> load(const std::string& path, std::string& why, std::vector<std::string>& warnings);
  // The morph, or the carrier with A and B nested, made with the current
  // settings; false with a reason.
  bool compose(std::string& why, std::vector<std::string>* warnings = nullptr);
  bool refill(Screen& screen, const ScreenPicture& picture, std::string& why);

  gles::GlesDevice* device_ = nullptr;
  unsigned width_ = 0, height_ = 0;
  std::unique_ptr<soD3DObjectManager> objects_;
  std::unique_ptr<soD3DSceneRenderer> renderer_;
  EffectFiles files_;
  std::unique_ptr<soScene> scene_, a_, b_, composite_;
  soScene* drawn_ = nullptr;
  std::array<zRecord, screen_count> records_;
  std::array<bool, screen_count> given_{};
  std::uint64_t settings_version_ = 0;
  std::vector<std::unique_ptr<Screen>> screens_;
  std::vector<std::uint8_t> swapped_;  // an R, G, B, A picture turned B, G, R, A
};

}  // namespace so3d::gst
