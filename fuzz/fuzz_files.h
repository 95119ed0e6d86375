#pragma once
// Fuzz inputs reach the library as files, the way real content does: each
// input is written into this process's scratch folder (in memory where the
// system has /dev/shm), beside any fixed files a target puts there once.
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace so3d::fuzz {

inline const std::filesystem::path& scratch() {
  static const std::filesystem::path dir = [] {
    const std::filesystem::path shm = "/dev/shm";
    const auto base = std::filesystem::is_directory(shm) ? shm : std::filesystem::temp_directory_path();
    auto d = base / ("so3d-fuzz-" + std::to_string(::getpid()));
    std::filesystem::create_directories(d);
    return d;
  }();
  return dir;
}

inline std::string write(const std::string& name, const std::uint8_t* data, std::size_t size) {
  const auto path = scratch() / name;
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), std::streamsize(size));
  return path.string();
}

inline std::string write(const std::string& name, const std::string& bytes) {
  return write(name, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace so3d::fuzz
