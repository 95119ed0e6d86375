#pragma once
// Loading helpers shared by the object-reader tests.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "fixtures/lwo_writer.h"
#include "objects/lightwave/so_lwo_file.h"
#include "tests/support/temp_dir.h"

namespace so3d::test {

struct LwoFileDeleter {
  void operator()(so_lwo_file* f) const { so_lwo_release(f); }
};
using LwoFilePtr = std::unique_ptr<so_lwo_file, LwoFileDeleter>;
using namespace so3d::fixtures;
using Body = std::function<void(IffBytes&)>;

// Writes `bytes` to a scratch file and loads it.
inline LwoFilePtr LoadBytes(std::string_view bytes, read_failure* failure = nullptr) {
  TempDir dir;
  return LwoFilePtr(so_lwo_load(dir.Write("object.lwo", bytes).c_str(), failure));
}

// Why loading `bytes` failed; a load that succeeds reads as kind none.
inline read_failure LoadFailure(std::string_view bytes) {
  read_failure failure;
  LoadBytes(bytes, &failure);
  return failure;
}

// The kind of failure and the chunk it was found in.
inline std::pair<read_error, std::uint32_t> Why(std::string_view bytes) {
  const read_failure f = LoadFailure(bytes);
  return {f.kind, f.chunk};
}

// Every strict prefix of `bytes` fails, as truncated or with a chunk that
// claims more than is left, at or before the cut; a cut at a chunk end with the form
// size to match loads again (so the failures came from the missing bytes);
// bytes set to extreme values never crash (run under the sanitizers).
inline void ExpectOnlyWholeFilesLoad(const std::string& bytes, const std::vector<std::size_t>& chunk_ends) {
  TempDir dir;
  const auto loads = [&](std::string_view b) {
    so_lwo_file* file = so_lwo_load(dir.Write("cut.lwo", b).c_str());
    so_lwo_release(file);
    return file != nullptr;
  };
  ASSERT_TRUE(loads(bytes));
  for (std::size_t n = 0; n < bytes.size(); ++n) {
    const read_failure f = LoadFailure(bytes.substr(0, n));
    EXPECT_TRUE(f.kind == read_error::truncated || f.kind == read_error::bad_chunk_size)
        << n << ": " << describe(f.kind);
    EXPECT_LE(f.offset, n);
  }
  for (std::size_t end : chunk_ends) {
    std::string cut = bytes.substr(0, end);
    for (int i = 0; i < 4; ++i) cut[4 + static_cast<std::size_t>(i)] = static_cast<char>((end - 8) >> (24 - 8 * i));
    EXPECT_TRUE(loads(cut)) << "cut at " << end;
  }
  int loaded = 0;
  for (std::size_t i = 12; i < bytes.size(); ++i) {
    for (char v : {'\x00', '\x01', '\x7F', '\x80', '\xFF'}) {
      std::string bad = bytes;
      bad[i] = v;
      loaded += loads(bad);
    }
  }
  EXPECT_GT(loaded, 0);
}

}  // namespace so3d::test
