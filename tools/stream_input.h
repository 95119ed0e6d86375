#pragma once
// A screen fed by a stream of raw frames (B, G, R, A or R, G, B, A bytes,
// width × height each) from a file, a named pipe or standard input, read
// one frame per output frame: the render runs at the stream's pace.
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace so3d::tools {

struct StreamSource {
  int screen = 0;
  bool rgba = false;  // else B, G, R, A
  unsigned width = 0, height = 0;
  std::string path;  // "-" is standard input
};

// "N=FORMAT:WxH:PATH", FORMAT bgra or rgba. False with a reason.
bool ParseStreamSource(const std::string& text, StreamSource& out, std::string& error);

class StreamInput {
 public:
  explicit StreamInput(StreamSource source) : source_(std::move(source)) {}
  ~StreamInput();
  StreamInput(const StreamInput&) = delete;
  StreamInput& operator=(const StreamInput&) = delete;

  bool Open(std::string& error);
  // The next frame as B, G, R, A bytes. False at the stream's end (the last
  // frame stays in Frame()).
  bool Next();
  const std::vector<std::uint8_t>& Frame() const { return bgra_; }
  bool Ended() const { return ended_; }
  const StreamSource& Source() const { return source_; }

 private:
  StreamSource source_;
  std::FILE* file_ = nullptr;
  bool owned_ = false, ended_ = false;
  std::vector<std::uint8_t> bgra_, incoming_;
};

}  // namespace so3d::tools
