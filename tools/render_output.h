#pragma once
// Where so3d-render's frames go, checked before any frame is rendered, and
// the progress line it shows while it renders.
#include <chrono>
#include <string>

namespace so3d::tools {

// Makes the output folder, proves it and the contact sheet's folder
// writable, and removes frame files an earlier run left there (so a run
// never mixes its frames with another's). False with a one-line reason.
bool PrepareOutput(const std::string& folder, const std::string& sheet, std::string& error);

// "frame_0042.png" inside `folder`.
std::string FramePath(const std::string& folder, int index);

// Frames done, frames per second and time left, redrawn on one line of
// standard error when it is a terminal; silent otherwise.
class Progress {
 public:
  explicit Progress(int total);
  void Step(int done);
  void Done();

 private:
  int total_;
  bool shown_;
  std::chrono::steady_clock::time_point start_, last_;
};

}  // namespace so3d::tools
