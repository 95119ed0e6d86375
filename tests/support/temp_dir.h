#pragma once
// Test helpers for files: a scratch folder removed with its contents, and the
// location of the public LightWave test data (absent in a bare clone).
#include <filesystem>
#include <string>
#include <string_view>

namespace so3d::test {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  // Writes `bytes` to `name` inside the folder and returns the full path.
  std::string Write(const std::string& name, std::string_view bytes) const;

 private:
  std::filesystem::path path_;
};

// testdata/lightwave of the shared folder, or empty when it is not there.
std::filesystem::path LightWaveTestData();

}  // namespace so3d::test

// Skips the current test when the public test data is missing.
#define SO3D_REQUIRE_LIGHTWAVE_DATA(dir)                               \
  const std::filesystem::path dir = ::so3d::test::LightWaveTestData(); \
  if (dir.empty()) GTEST_SKIP() << "public LightWave test data not found (SO3D_SHARED_DIR)"
