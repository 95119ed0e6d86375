#pragma once
// What the element reads from its pads while drawing.
#include <array>
#include <mutex>
#include <string>

#include "plugins/gstreamer/so3d_transition.h"
#include "plugins/gstreamer/transition_renderer.h"
#include "tools/screen_settings.h"

struct So3dPadState {
  std::mutex mutex;
  int screen = -1;                       // -1: the number in the pad's name
  so3d::tools::ScreenSettings settings;  // in records[0]; given[0] once any is set
  std::array<std::string, so3d::tools::setting_keys.size()> texts;
  std::uint64_t changes = 0;  // settings set so far: a transition is made again when it moves
};

So3dPadState& so3d_pad_state(So3dTransitionPad* pad);
