#pragma once
// A screen fed by a stream of frames from a file, a named pipe or standard
// input, read one frame per output frame: the render runs at the stream's
// pace. Raw streams carry B, G, R, A or R, G, B, A bytes, width × height
// each; YUV4MPEG2 streams carry their size in their header and planar
// Y'CbCr frames (4:2:0 or 4:4:4), which the device converts.
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace so3d::tools {

enum class StreamFormat { bgra, rgba, y4m };

struct StreamSource {
  int screen = 0;
  StreamFormat format = StreamFormat::bgra;
  unsigned width = 0, height = 0;  // from the header for y4m, once opened
  std::string path;                // "-" is standard input
};

// How a YUV4MPEG2 stream's planes are laid out and what they mean.
struct Y4mLayout {
  bool chroma_444 = false;  // else 4:2:0
  bool full_range = false;  // XCOLORRANGE=FULL; else video range (BT.601 either way)
};

// "N=FORMAT:WxH:PATH" (FORMAT bgra or rgba) or "N=y4m:PATH". False with a
// reason.
bool ParseStreamSource(const std::string& text, StreamSource& out, std::string& error);

class StreamInput {
 public:
  explicit StreamInput(StreamSource source) : source_(std::move(source)) {}
  ~StreamInput();
  StreamInput(const StreamInput&) = delete;
  StreamInput& operator=(const StreamInput&) = delete;

  bool Open(std::string& error);
  // The next frame: B, G, R, A bytes, or for y4m the Y', Cb and Cr planes
  // one after the other. False at the stream's end (the last frame stays in
  // Frame()).
  bool Next();
  const std::vector<std::uint8_t>& Frame() const { return frame_; }
  const Y4mLayout& Layout() const { return layout_; }
  bool Ended() const { return ended_; }
  const StreamSource& Source() const { return source_; }

 private:
  StreamSource source_;
  std::FILE* file_ = nullptr;
  bool read_y4m_header(std::string& error);
  bool owned_ = false, ended_ = false;
  Y4mLayout layout_;
  std::vector<std::uint8_t> frame_, incoming_;
};

}  // namespace so3d::tools
