#include "platform/foundation/z_file_stream.h"

#include <sys/stat.h>

#include <cerrno>
#include <new>

zFileStream::zFileStream(const zString& path, std::int32_t mode, bool /*create_folders*/) : path_(path), mode_(mode) {}

zFileStream::~zFileStream() { Close(); }

std::FILE* zFileStream::os_fopen(const char* path, const char* mode) {
  if (!path || !mode) return nullptr;
  return std::fopen(path, mode);
}

std::int32_t zFileStream::Open() {
  Close();
  const bool write = (mode_ & kWrite) != 0;
  const char* how = write ? ((mode_ & kRead) ? "r+b" : "wb") : "rb";
  struct stat st {};
  if (::stat(path_.CString(), &st) != 0) {
    if (!write) return kErrNotFound;
  } else if (S_ISDIR(st.st_mode)) {
    return kErrNotOpen;
  }
  file_ = os_fopen(path_.CString(), how);
  if (!file_) return errno == ENOENT ? kErrNotFound : kErrNotOpen;
  return 0;
}

std::int32_t zFileStream::ReadAll(zBuffer& out) {
  out.bytes_.clear();
  if (!file_) return kErrNotOpen;
  if (std::fseek(file_, 0, SEEK_END) != 0) return kErrRead;
  const long size = std::ftell(file_);
  if (size < 0 || std::fseek(file_, 0, SEEK_SET) != 0) return kErrRead;
  if (std::uint64_t(size) > kMaxReadAll) return kErrTooLarge;
  try {
    out.bytes_.resize(std::size_t(size));
  } catch (const std::bad_alloc&) { return kErrNoMemory; }
  if (size > 0 && std::fread(out.bytes_.data(), 1, std::size_t(size), file_) != std::size_t(size)) {
    out.bytes_.clear();
    return kErrRead;
  }
  return 0;
}

void zFileStream::Close() {
  if (file_) std::fclose(file_);
  file_ = nullptr;
}
