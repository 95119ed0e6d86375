#pragma once
// Frames as a video stream for other programs: YUV4MPEG2 (4:2:0 or 4:4:4,
// BT.601 limited range, the default players and encoders assume) or raw
// B, G, R, A / R, G, B, A bytes, to a file, a named pipe or standard output.
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace so3d::tools {

enum class VideoFormat { y4m420, y4m444, bgra, rgba };

// "y4m", "y4m444", "bgra" or "rgba"; false for anything else.
bool ParseVideoFormat(const std::string& text, VideoFormat& out);

class VideoOutput {
 public:
  VideoOutput() = default;
  ~VideoOutput();
  VideoOutput(const VideoOutput&) = delete;
  VideoOutput& operator=(const VideoOutput&) = delete;

  // `path` "-" is standard output. 4:2:0 needs an even width and height.
  // False with a one-line reason.
  bool Open(const std::string& path, VideoFormat format, unsigned width, unsigned height, unsigned rate,
            std::string& error);
  // One frame of R, G, B, A pixels, rows top to bottom. False once the
  // reader has gone (a closed pipe) or the disk is full.
  bool Write(const std::uint8_t* rgba);
  bool Close();

 private:
  std::FILE* file_ = nullptr;
  bool owned_ = false;
  VideoFormat format_ = VideoFormat::y4m420;
  unsigned width_ = 0, height_ = 0;
  std::vector<std::uint8_t> planes_;  // one frame's bytes, reused
};

}  // namespace so3d::tools
