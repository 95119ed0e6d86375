#include "tools/stream_input.h"

#include <cstdlib>
#include <cstring>

namespace so3d::tools {

namespace {
constexpr unsigned max_side = 8192;
}

bool ParseStreamSource(const std::string& text, StreamSource& out, std::string& error) {
  const std::size_t eq = text.find('='), c1 = text.find(':', eq), c2 = text.find(':', c1 + 1);
  error = "--stream takes N=FORMAT:WxH:PATH, e.g. 0=bgra:1280x720:/tmp/a.fifo";
  if (eq == std::string::npos || c1 == std::string::npos || c2 == std::string::npos) return false;
  char* end = nullptr;
  out.screen = int(std::strtol(text.c_str(), &end, 10));
  if (end != text.c_str() + eq || out.screen < 0 || out.screen > 5) return false;
  const std::string format = text.substr(eq + 1, c1 - eq - 1);
  if (format != "bgra" && format != "rgba") return false;
  out.rgba = format == "rgba";
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

bool StreamInput::Open(std::string& error) {
  owned_ = source_.path != "-";
  file_ = owned_ ? std::fopen(source_.path.c_str(), "rb") : stdin;
  if (!file_) return error = source_.path + ": cannot open the stream", false;
  bgra_.assign(std::size_t(source_.width) * source_.height * 4, 0);
  return true;
}

bool StreamInput::Next() {
  if (ended_) return false;
  // Read into the frame only once it is whole, so a short last frame leaves
  // the previous one showing.
  std::vector<std::uint8_t>& incoming = incoming_;
  incoming.resize(bgra_.size());
  if (std::fread(incoming.data(), 1, incoming.size(), file_) != incoming.size()) {
    ended_ = true;
    return false;
  }
  if (source_.rgba) {
    for (std::size_t i = 0; i < incoming.size(); i += 4) std::swap(incoming[i], incoming[i + 2]);
  }
  bgra_.swap(incoming);
  return true;
}

}  // namespace so3d::tools
