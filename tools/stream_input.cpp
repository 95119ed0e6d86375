#include "tools/stream_input.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace so3d::tools {

namespace {
constexpr unsigned max_side = 8192;
}

bool ParseStreamSource(const std::string& text, StreamSource& out, std::string& error) {
  const std::size_t eq = text.find('='), c1 = text.find(':', eq);
  error = "--stream takes N=FORMAT:WxH:PATH or N=y4m:PATH, e.g. 0=bgra:1280x720:/tmp/a.fifo";
  if (eq == std::string::npos || c1 == std::string::npos) return false;
  char* end = nullptr;
  out.screen = int(std::strtol(text.c_str(), &end, 10));
  if (end != text.c_str() + eq || out.screen < 0 || out.screen > 5) return false;
  const std::string format = text.substr(eq + 1, c1 - eq - 1);
  if (format == "y4m") {
    out.format = StreamFormat::y4m;
    out.path = text.substr(c1 + 1);
    if (out.path.empty()) return false;
    error.clear();
    return true;
  }
  if (format != "bgra" && format != "rgba") return false;
  out.format = format == "rgba" ? StreamFormat::rgba : StreamFormat::bgra;
  const std::size_t c2 = text.find(':', c1 + 1);
  if (c2 == std::string::npos) return false;
  const std::string size = text.substr(c1 + 1, c2 - c1 - 1);
  const unsigned long w = std::strtoul(size.c_str(), &end, 10);
  if (*end != 'x') return false;
  const unsigned long h = std::strtoul(end + 1, &end, 10);
  if (*end || w == 0 || h == 0 || w > max_side || h > max_side) return false;
  out.width = unsigned(w);
  out.height = unsigned(h);
  out.path = text.substr(c2 + 1);
  if (out.path.empty()) return false;
  error.clear();
  return true;
}

StreamInput::~StreamInput() {
  if (owned_ && file_) std::fclose(file_);
}

namespace {

// One header line (without its line feed), at most 1 KiB; false at the end.
bool read_line(std::FILE* file, std::string& line) {
  line.clear();
  for (int c; (c = std::fgetc(file)) != EOF;) {
    if (c == '\n') return true;
    if (line.size() == 1024) return false;
    line.push_back(char(c));
  }
  return false;
}

}  // namespace

bool StreamInput::read_y4m_header(std::string& error) {
  std::string line;
  error = source_.path + ": not a YUV4MPEG2 stream";
  if (!read_line(file_, line) || line.rfind("YUV4MPEG2 ", 0) != 0) return false;
  std::istringstream words(line.substr(10));
  unsigned long w = 0, h = 0;
  for (std::string word; words >> word;) {
    const std::string value = word.substr(1);
    switch (word[0]) {
      case 'W': w = std::strtoul(value.c_str(), nullptr, 10); break;
      case 'H': h = std::strtoul(value.c_str(), nullptr, 10); break;
      case 'C':
        if (value == "444") {
          layout_.chroma_444 = true;
        } else if (value.rfind("420", 0) != 0) {
          error = source_.path + ": colour space C" + value + " is not read (4:2:0 and 4:4:4 are)";
          return false;
        }
        break;
      case 'I':
        if (value != "p" && value != "?") {
          error = source_.path + ": interlaced frames are not read";
          return false;
        }
        break;
      case 'X':
        if (value == "COLORRANGE=FULL") layout_.full_range = true;
        break;
      default: break;  // frame rate, aspect: the output's own settings rule
    }
  }
  if (w == 0 || h == 0 || w > max_side || h > max_side) {
    error = source_.path + ": the stream's frame size is missing or beyond " + std::to_string(max_side);
    return false;
  }
  source_.width = unsigned(w);
  source_.height = unsigned(h);
  error.clear();
  return true;
}

bool StreamInput::Open(std::string& error) {
  owned_ = source_.path != "-";
  file_ = owned_ ? std::fopen(source_.path.c_str(), "rb") : stdin;
  if (!file_) return error = source_.path + ": cannot open the stream", false;
  if (source_.format == StreamFormat::y4m && !read_y4m_header(error)) return false;
  const std::size_t pixels = std::size_t(source_.width) * source_.height;
  const std::size_t chroma =
      layout_.chroma_444 ? pixels : std::size_t((source_.width + 1) / 2) * ((source_.height + 1) / 2);
  if (source_.format == StreamFormat::y4m) {
    // Black: Y' 16, Cb and Cr 128.
    frame_.assign(pixels + 2 * chroma, 128);
    std::fill_n(frame_.begin(), pixels, std::uint8_t(layout_.full_range ? 0 : 16));
  } else {
    frame_.assign(pixels * 4, 0);
  }
  return true;
}

bool StreamInput::Next() {
  if (ended_) return false;
  if (source_.format == StreamFormat::y4m) {
    std::string line;
    if (!read_line(file_, line) || line.rfind("FRAME", 0) != 0) return ended_ = true, false;
  }
  // Read into the frame only once it is whole, so a short last frame leaves
  // the previous one showing.
  incoming_.resize(frame_.size());
  if (std::fread(incoming_.data(), 1, incoming_.size(), file_) != incoming_.size()) {
    ended_ = true;
    return false;
  }
  if (source_.format == StreamFormat::rgba) {
    for (std::size_t i = 0; i < incoming_.size(); i += 4) std::swap(incoming_[i], incoming_[i + 2]);
  }
  frame_.swap(incoming_);
  return true;
}

}  // namespace so3d::tools
