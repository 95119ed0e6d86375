#include "tools/video_output.h"

#include <csignal>

namespace so3d::tools {

namespace {

// BT.601, limited range, in 8.8 fixed point.
std::uint8_t Luma(int r, int g, int b) { return std::uint8_t(16 + ((66 * r + 129 * g + 25 * b + 128) >> 8)); }
std::uint8_t ChromaB(int r, int g, int b) { return std::uint8_t(128 + ((-38 * r - 74 * g + 112 * b + 128) >> 8)); }
std::uint8_t ChromaR(int r, int g, int b) { return std::uint8_t(128 + ((112 * r - 94 * g - 18 * b + 128) >> 8)); }

}  // namespace

bool ParseVideoFormat(const std::string& text, VideoFormat& out) {
  if (text == "y4m") return out = VideoFormat::y4m420, true;
  if (text == "y4m444") return out = VideoFormat::y4m444, true;
  if (text == "bgra") return out = VideoFormat::bgra, true;
  if (text == "rgba") return out = VideoFormat::rgba, true;
  return false;
}

VideoOutput::~VideoOutput() { Close(); }

bool VideoOutput::Open(const std::string& path, VideoFormat format, unsigned width, unsigned height, unsigned rate,
                       std::string& error) {
  if (format == VideoFormat::y4m420 && (width % 2 || height % 2)) {
    error = path + ": 4:2:0 video needs an even width and height";
    return false;
  }
  // A reader that goes away should end the run with a message, not a signal.
  std::signal(SIGPIPE, SIG_IGN);
  owned_ = path != "-";
  file_ = owned_ ? std::fopen(path.c_str(), "wb") : stdout;
  if (!file_) {
    error = path + ": cannot open for writing";
    return false;
  }
  format_ = format;
  width_ = width;
  height_ = height;
  const std::size_t pixels = std::size_t(width) * height;
  planes_.resize(format == VideoFormat::y4m420   ? pixels * 3 / 2
                 : format == VideoFormat::y4m444 ? pixels * 3
                                                 : pixels * 4);
  if (format == VideoFormat::y4m420 || format == VideoFormat::y4m444) {
    const char* chroma = format == VideoFormat::y4m420 ? "420jpeg" : "444";
    if (std::fprintf(file_, "YUV4MPEG2 W%u H%u F%u:1 Ip A1:1 C%s XCOLORRANGE=LIMITED\n", width, height, rate, chroma) <
        0) {
      error = path + ": cannot write";
      return false;
    }
  }
  return true;
}

bool VideoOutput::Write(const std::uint8_t* rgba) {
  if (!file_) return false;
  const std::size_t pixels = std::size_t(width_) * height_;
  std::uint8_t* out = planes_.data();
  switch (format_) {
    case VideoFormat::rgba: return std::fwrite(rgba, 4, pixels, file_) == pixels;
    case VideoFormat::bgra:
      for (std::size_t i = 0; i < pixels; ++i) {
        const std::uint8_t* p = rgba + i * 4;
        out[i * 4] = p[2], out[i * 4 + 1] = p[1], out[i * 4 + 2] = p[0], out[i * 4 + 3] = p[3];
      }
      break;
    case VideoFormat::y4m444:
      for (std::size_t i = 0; i < pixels; ++i) {
        const std::uint8_t* p = rgba + i * 4;
        out[i] = Luma(p[0], p[1], p[2]);
        out[pixels + i] = ChromaB(p[0], p[1], p[2]);
        out[2 * pixels + i] = ChromaR(p[0], p[1], p[2]);
      }
      break;
    case VideoFormat::y4m420: {
      std::uint8_t* u = out + pixels;
      std::uint8_t* v = u + pixels / 4;
      for (std::size_t i = 0; i < pixels; ++i) out[i] = Luma(rgba[i * 4], rgba[i * 4 + 1], rgba[i * 4 + 2]);
      // Chroma of each 2 × 2 block from its average colour.
      for (unsigned y = 0; y < height_; y += 2) {
        for (unsigned x = 0; x < width_; x += 2) {
          int r = 0, g = 0, b = 0;
          for (unsigned dy = 0; dy < 2; ++dy) {
            for (unsigned dx = 0; dx < 2; ++dx) {
              const std::uint8_t* p = rgba + ((std::size_t(y) + dy) * width_ + x + dx) * 4;
              r += p[0], g += p[1], b += p[2];
            }
          }
          const std::size_t c = std::size_t(y / 2) * (width_ / 2) + x / 2;
          u[c] = ChromaB((r + 2) / 4, (g + 2) / 4, (b + 2) / 4);
          v[c] = ChromaR((r + 2) / 4, (g + 2) / 4, (b + 2) / 4);
        }
      }
      break;
    }
  }
  const bool framed = format_ == VideoFormat::bgra || format_ == VideoFormat::rgba || std::fputs("FRAME\n", file_) >= 0;
  return framed && std::fwrite(planes_.data(), 1, planes_.size(), file_) == planes_.size();
}

bool VideoOutput::Close() {
  if (!file_) return true;
  bool ok = std::fflush(file_) == 0;
  if (owned_) ok = std::fclose(file_) == 0 && ok;
  file_ = nullptr;
  return ok;
}

}  // namespace so3d::tools
