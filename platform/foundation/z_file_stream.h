#pragma once
#include "platform/foundation/z_export.h"
// zFileStream: a whole-file reader. The module opens a file, reads it in one
// go into a zBuffer, and parses from memory. One caller at a time per
// stream.
#include <cstdint>
#include <cstdio>
#include <vector>

#include "platform/foundation/z_string.h"

class Z_API zBuffer {
 public:
  const std::uint8_t* Data() const { return bytes_.data(); }
  std::uint8_t* Data() { return bytes_.data(); }
  std::size_t Size() const { return bytes_.size(); }
  void Clear() { bytes_.clear(); }

 private:
  friend class zFileStream;
  std::vector<std::uint8_t> bytes_;
};

class Z_API zFileStream {
 public:
  // Mode bits. The module opens its files with kRead | kExisting (5).
  static constexpr std::int32_t kRead = 0x1;
  static constexpr std::int32_t kWrite = 0x2;
  static constexpr std::int32_t kExisting = 0x4;

  // Results of Open and ReadAll besides 0 (success).
  static constexpr std::int32_t kErrNotOpen = -1;
  static constexpr std::int32_t kErrNotFound = -2;
  static constexpr std::int32_t kErrRead = -3;
  static constexpr std::int32_t kErrTooLarge = -4;
  static constexpr std::int32_t kErrNoMemory = -5;

  // Files larger than this are refused by ReadAll rather than allocated.
  static constexpr std::uint64_t kMaxReadAll = std::uint64_t(1) << 31;

  // Copies `path`; opens nothing yet. `create_folders` is not used on this
  // platform.
  zFileStream(const zString& path, std::int32_t mode, bool create_folders);
  // Closes the file.
  ~zFileStream();
  zFileStream(const zFileStream&) = delete;
  zFileStream& operator=(const zFileStream&) = delete;

  // Opens the file (closing one open before): 0, kErrNotFound for a missing
  // file read, kErrNotOpen for a folder or a refused open.
  std::int32_t Open();
  // Reads from the start to the end of the file into `out` (replacing it;
  // left empty on failure). 0, kErrNotOpen, kErrRead, kErrTooLarge or
  // kErrNoMemory.
  std::int32_t ReadAll(zBuffer& out);
  // Closes the file if open; may be called again.
  void Close();

  // The platform's file open, with the signature of fopen; null for a null
  // argument.
  static std::FILE* os_fopen(const char* path, const char* mode);

 private:
  zString path_;
  std::int32_t mode_;
  std::FILE* file_ = nullptr;
};
