#include "tests/support/temp_dir.h"

#include <unistd.h>
#include <atomic>
#include <fstream>
#include <stdexcept>

namespace so3d::test {

TempDir::TempDir() {
  static std::atomic<int> counter{0};
  path_ = std::filesystem::temp_directory_path() /
          ("so3d-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
  std::filesystem::remove_all(path_);
  std::filesystem::create_directories(path_);
}

TempDir::~TempDir() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

std::string TempDir::Write(const std::string& name, std::string_view bytes) const {
  const std::filesystem::path p = path_ / name;
  std::filesystem::create_directories(p.parent_path());
  std::ofstream out(p, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + p.string());
  return p.string();
}

std::filesystem::path LightWaveTestData() {
  const std::filesystem::path dir = std::filesystem::path(SO3D_SHARED_DIR) / "testdata" / "lightwave";
  std::error_code ec;
  return std::filesystem::is_directory(dir, ec) ? dir : std::filesystem::path();
}

}  // namespace so3d::test
