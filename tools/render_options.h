#pragma once
// Command line of so3d-render.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace so3d::tools {

struct RenderOptions {
  unsigned width = 720;
  unsigned height = 480;
  int frames = 25;
  float from = 0.0f;    // time of the first frame
  float to = 2.0f;      // time of the last frame
  float time_a = 0.0f;  // scene times of A and B in a transition
  float time_b = 0.0f;
  std::string nest;                    // carrier scene: draw A and B inside it instead of morphing
  std::map<int, std::string> screens;  // screen number → picture file
  std::vector<std::string> streams;    // --stream N=FORMAT:WxH:PATH
  float duration = 0.0f;               // seconds the transition lasts at `rate` (0: use --frames)
  std::string after = "exit";          // once the transition has run: exit, hold or loop
  std::string stream_end = "hold";     // a stream that ends: hold its last frame, or stop
  std::string settings_file;           // per-screen settings (tools/screen_settings.h)
  std::vector<std::string> settings;   // --set N:KEY=VALUES, applied after the file
  std::string out = ".";
  bool out_given = false;  // with --video, PNG frames only when --out is given
  std::string video;       // file, named pipe or "-" for standard output
  std::string video_format = "y4m";
  int rate = 25;  // frames per second written in the video header
  std::string sheet;
  int columns = 5;
  std::uint32_t background = 0xFF000000;  // A8R8G8B8
  std::vector<std::string> scenes;        // one or two
  std::string content;                    // content folder for object and image names
  bool faithful = false;                  // read scenes exactly as a host with no load options does
  bool strict = false;                    // warnings about what a scene loaded end the run (status 3)
  bool help = false;
  bool version = false;
  bool still = false;  // --at: one frame at `from`, in a transition too
};

// False with a message in `error` when the command line cannot be used.
bool ParseOptions(int argc, const char* const* argv, RenderOptions& options, std::string& error);
const char* Usage();

}  // namespace so3d::tools
