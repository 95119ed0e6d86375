#include "tools/render_options.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace so3d::tools {

namespace {

constexpr int max_screen = 5;
constexpr unsigned max_side = 8192;
constexpr int max_frames = 100000;

bool ToFloat(const char* text, float& out) {
  char* end = nullptr;
  errno = 0;
  const float v = std::strtof(text, &end);
  if (errno || end == text || *end) return false;
  out = v;
  return true;
}

bool ToInt(const char* text, long low, long high, int& out) {
  char* end = nullptr;
  errno = 0;
  const long v = std::strtol(text, &end, 10);
  if (errno || end == text || *end || v < low || v > high) return false;
  out = int(v);
  return true;
}

bool ToSize(const char* text, unsigned& w, unsigned& h) {
  const char* x = std::strchr(text, 'x');
  if (!x) return false;
  const std::string left(text, x);
  int wi = 0, hi = 0;
  if (!ToInt(left.c_str(), 1, max_side, wi) || !ToInt(x + 1, 1, max_side, hi)) return false;
  w = unsigned(wi);
  h = unsigned(hi);
  return true;
}

// RRGGBB or RRGGBBAA, as A8R8G8B8.
bool ToColour(const char* text, std::uint32_t& out) {
  if (*text == '#') ++text;
  const std::size_t length = std::strlen(text);
  if (length != 6 && length != 8) return false;
  char* end = nullptr;
  const unsigned long v = std::strtoul(text, &end, 16);
  if (*end) return false;
  out = length == 6 ? 0xFF000000u | std::uint32_t(v) : std::uint32_t(v >> 8) | std::uint32_t(v & 0xFF) << 24;
  return true;
}

}  // namespace

const char* Usage() {
  return "usage: so3d-render [options] A.lws [B.lws]\n"
         "Renders a scene, or a transition from scene A to scene B, to PNG frames.\n"
         "  --size WxH          output size in pixels (720x480; 1 to 8192 each)\n"
         "  --frames N          frames to render, evenly over the time range (25; at most 100000)\n"
         "  --from T --to T     time range (0 to 2; a transition always runs 0 to 2)\n"
         "  --at T              one still frame at time T (frame_0000.png)\n"
         "  --time-a T          scene time that A is taken at in a transition (0)\n"
         "  --time-b T          scene time that B is taken at in a transition (0)\n"
         "  --nest CARRIER.lws  draw A and B inside the carrier's screen-0 and screen-1\n"
         "                      objects instead of morphing A into B\n"
         "  --screen N=FILE     picture for screen N (0-5); generated test pictures\n"
         "                      show every screen that has none\n"
         "  --stream N=FMT:WxH:PATH  screen N from a stream of raw frames (FMT bgra or rgba) in a file,\n"
         "                      a named pipe or - (stdin), one frame read per frame rendered\n"
         "  --stream N=y4m:PATH  screen N from a YUV4MPEG2 stream (4:2:0 or 4:4:4, BT.601; the device\n"
         "                      converts it), e.g. from ffmpeg -f yuv4mpegpipe\n"
         "  --duration S        the transition lasts S seconds at --rate (instead of --frames)\n"
         "  --after MODE        once it has run: exit, hold (keep drawing the end) or loop,\n"
         "                      while streams still deliver (exit)\n"
         "  --stream-end MODE   a stream that ends: hold its last frame, or stop the render (hold)\n"
         "  --settings FILE     per-screen settings: position, rotation, scale, pivot, opacity, crop,\n"
         "                      build, border (see the README for the file)\n"
         "  --set N:KEY=VALUES  one setting of screen N, e.g. --set 1:opacity=0.5 --set 0:position=0.5,0\n"
         "  --out DIR           folder for frame_NNNN.png (.; with --video only when given)\n"
         "  --video PATH        also stream the frames as video to a file, a named pipe or - (stdout)\n"
         "  --video-format F    y4m (4:2:0), y4m444, bgra or rgba (raw bytes) (y4m)\n"
         "  --rate N            frames per second in the video header (25)\n"
         "  --sheet FILE        also write a contact sheet of all frames\n"
         "  --columns N         frames per row of the contact sheet (5)\n"
         "  --background RRGGBB[AA]  clear colour (000000); with alpha below FF the PNG and raw\n"
         "                      outputs keep the frame's alpha, straight (colour not multiplied by\n"
         "                      it), to key the transition over other video (y4m has no alpha)\n"
         "  --content DIR       content folder for object and image names (Objects/, Images/ under it)\n"
         "  --faithful          read scene files as a host with no load options does (no later\n"
         "                      revisions, no scene or content folder lookups)\n"
         "  --strict            stop with status 3 when a scene loads no object or none that shows a screen\n"
         "  --version           print the version\n"
         "Frames are written on worker threads, each under a temporary name renamed when complete;\n"
         "frame files of an earlier run in the output folder are removed first. Exit status: 0, 1 when\n"
         "something cannot be read or written, 2 for a bad command line, 3 for --strict warnings.\n"
         "Each scene's load is summarised on one line; so3d-info FILE.lws prints the details.\n"
         "examples:\n"
         "  so3d-render --frames 10 --out frames fx/flat.lws fx/card.lws\n"
         "  so3d-render --screen 0=a.png --screen 1=b.jpg --sheet sheet.png A.lws B.lws\n"
         "  so3d-render --frames 100 --video - A.lws B.lws | ffmpeg -i - out.mp4\n";
}

bool ParseOptions(int argc, const char* const* argv, RenderOptions& o, std::string& error) {
  bool range_given = false, frames_given = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    auto value = [&](const char*& out) {
      if (i + 1 >= argc) {
        error = arg + " needs a value";
        return false;
      }
      out = argv[++i];
      return true;
    };
    const char* v = nullptr;
    if (arg == "-h" || arg == "--help") {
      o.help = true;
      return true;
    } else if (arg == "--version") {
      o.version = true;
      return true;
    } else if (arg == "--at") {
      if (!value(v)) return false;
      if (!ToFloat(v, o.from)) return error = "bad --at: " + std::string(v), false;
      o.to = o.from;
      o.frames = 1;
      o.still = true;
    } else if (arg == "--size") {
      if (!value(v)) return false;
      if (!ToSize(v, o.width, o.height)) return error = "bad --size (WxH, 1 to 8192 each): " + std::string(v), false;
    } else if (arg == "--frames") {
      if (!value(v)) return false;
      if (!ToInt(v, 1, max_frames, o.frames)) return error = "bad --frames: " + std::string(v), false;
      frames_given = true;
    } else if (arg == "--from" || arg == "--to" || arg == "--time-a" || arg == "--time-b") {
      if (!value(v)) return false;
      float& target = arg == "--from" ? o.from : arg == "--to" ? o.to : arg == "--time-a" ? o.time_a : o.time_b;
      if (!ToFloat(v, target)) return error = "bad " + arg + ": " + std::string(v), false;
      range_given |= arg == "--from" || arg == "--to";
    } else if (arg == "--nest") {
      if (!value(v)) return false;
      o.nest = v;
    } else if (arg == "--screen") {
      if (!value(v)) return false;
      const char* eq = std::strchr(v, '=');
      int n = 0;
      if (!eq || !ToInt(std::string(v, eq).c_str(), 0, max_screen, n) || !eq[1])
        return error = "bad --screen (N=FILE, N from 0 to 5): " + std::string(v), false;
      o.screens[n] = eq + 1;
    } else if (arg == "--out") {
      if (!value(v)) return false;
      o.out = v;
      o.out_given = true;
    } else if (arg == "--video" || arg == "--video-format") {
      if (!value(v)) return false;
      (arg == "--video" ? o.video : o.video_format) = v;
    } else if (arg == "--rate") {
      if (!value(v)) return false;
      if (!ToInt(v, 1, 1000, o.rate)) return error = "bad --rate (1 to 1000): " + std::string(v), false;
    } else if (arg == "--sheet") {
      if (!value(v)) return false;
      o.sheet = v;
    } else if (arg == "--columns") {
      if (!value(v)) return false;
      if (!ToInt(v, 1, 1000, o.columns)) return error = "bad --columns: " + std::string(v), false;
    } else if (arg == "--background") {
      if (!value(v)) return false;
      if (!ToColour(v, o.background)) return error = "bad --background (RRGGBB or RRGGBBAA): " + std::string(v), false;
    } else if (arg == "--stream") {
      if (!value(v)) return false;
      o.streams.push_back(v);
    } else if (arg == "--duration") {
      if (!value(v)) return false;
      if (!ToFloat(v, o.duration) || !(o.duration > 0 && o.duration <= 3600))
        return error = "bad --duration (seconds, up to 3600): " + std::string(v), false;
    } else if (arg == "--after" || arg == "--stream-end") {
      if (!value(v)) return false;
      const std::string mode = v;
      const bool ok =
          arg == "--after" ? (mode == "exit" || mode == "hold" || mode == "loop") : (mode == "hold" || mode == "stop");
      if (!ok) return error = "bad " + arg + ": " + mode, false;
      (arg == "--after" ? o.after : o.stream_end) = mode;
    } else if (arg == "--settings") {
      if (!value(v)) return false;
      o.settings_file = v;
    } else if (arg == "--set") {
      if (!value(v)) return false;
      o.settings.push_back(v);
    } else if (arg == "--content") {
      if (!value(v)) return false;
      o.content = v;
    } else if (arg == "--faithful") {
      o.faithful = true;
    } else if (arg == "--strict") {
      o.strict = true;
    } else if (!arg.empty() && arg[0] == '-') {
      return error = "unknown option " + arg, false;
    } else {
      o.scenes.push_back(arg);
    }
  }
  if (o.scenes.empty() || o.scenes.size() > 2) return error = "give one or two scene files", false;
  if (o.scenes.size() == 2 && range_given) return error = "--from/--to apply to a single scene", false;
  if (o.duration > 0) {
    if (frames_given || o.still) return error = "--duration and --frames/--at exclude each other", false;
    o.frames = std::max(1, int(o.duration * float(o.rate) + 0.5f));
  }
  if (o.after != "exit" && o.streams.empty()) return error = "--after hold/loop needs a --stream to end it", false;
  if (o.still && (range_given || frames_given))
    return error = "--at gives one frame: no --from, --to or --frames", false;
  if (!o.nest.empty() && o.scenes.size() != 2) return error = "--nest needs two scenes", false;
  return true;
}

}  // namespace so3d::tools
