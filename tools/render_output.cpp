#include "tools/render_output.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>

namespace so3d::tools {

namespace fs = std::filesystem;

namespace {

bool Writable(const fs::path& folder, std::string& error) {
  const fs::path probe = folder / ".so3d-render-probe";
  std::ofstream(probe) << "";
  std::error_code ec;
  const bool ok = fs::exists(probe, ec);
  fs::remove(probe, ec);
  if (!ok) error = folder.string() + ": cannot write files in this folder";
  return ok;
}

}  // namespace

bool PrepareOutput(const std::string& folder, const std::string& sheet, std::string& error) {
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (!fs::is_directory(folder, ec)) {
    error = folder + ": cannot make the output folder" + (ec ? " (" + ec.message() + ")" : "");
    return false;
  }
  if (!Writable(folder, error)) return false;
  if (!sheet.empty()) {
    const fs::path parent = fs::path(sheet).parent_path();
    if (!parent.empty() && !fs::is_directory(parent, ec)) {
      error = sheet + ": the contact sheet's folder does not exist";
      return false;
    }
    if (!Writable(parent.empty() ? fs::path(".") : parent, error)) return false;
  }
  static const std::regex frame_name(R"(frame_\d{4,}\.png(\.partial)?)");
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ec))
    if (std::regex_match(entry.path().filename().string(), frame_name)) fs::remove(entry.path(), ec);
  return true;
}

std::string FramePath(const std::string& folder, int index) {
  char name[32];
  std::snprintf(name, sizeof name, "frame_%04d.png", index);
  return (fs::path(folder) / name).string();
}

Progress::Progress(int total)
    : total_(total), shown_(isatty(STDERR_FILENO) != 0), start_(std::chrono::steady_clock::now()), last_(start_) {}

void Progress::Step(int done) {
  if (!shown_) return;
  const auto now = std::chrono::steady_clock::now();
  if (done < total_ && now - last_ < std::chrono::milliseconds(100)) return;
  last_ = now;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const double fps = seconds > 0 ? done / seconds : 0;
  const int left = fps > 0 ? int((total_ - done) / fps + 0.5) : 0;
  std::fprintf(stderr, "\rframe %d/%d  %.1f fps  %d:%02d left ", done, total_, fps, left / 60, left % 60);
}

void Progress::Done() {
  if (shown_) std::fprintf(stderr, "\n");
}

}  // namespace so3d::tools
