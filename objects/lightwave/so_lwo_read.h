#pragma once
// Reading primitives for object files: big-endian numbers, variable-length
// indexes, padded strings and raw blocks, from the open file or from a block
// already in memory. Every read adds what it consumed to the running count
// `bytes_read` of the load's reader; a failed read stores `error_marker` there,
// and from then on every primitive returns its zero result without reading.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "base/so_read_error.h"

namespace so3d::lwo {

inline constexpr std::int32_t error_marker = std::numeric_limits<std::int32_t>::min();

// The state of one load. Two loads never share one, so two threads may each
// read a file.
struct reader {
  std::FILE* file = nullptr;
  std::uint64_t position = 0;  // bytes from the start of the file
  std::uint64_t size = 0;      // length of the file
  std::int32_t bytes_read = 0;
  std::uint32_t chunk = 0;  // id of the chunk being read, 0 outside chunks
  read_failure failure;     // the first failure's kind and place

  bool failed() const { return bytes_read < 0; }
  // Sets the error marker and records why, at the current chunk and position.
  void fail(so3d::read_error kind = read_error::truncated) {
    bytes_read = error_marker;
    failure.set(kind, chunk, position);
  }
  std::uint64_t remaining() const { return position < size ? size - position : 0; }
  // Adds n to bytes_read; a count that would overflow is a failure.
  void count(std::uint64_t n);
};

// Fails the load with `kind`; returns false so that chunk readers can
// `return fail(r, kind)`.
inline bool fail(reader& r, read_error kind) {
  r.fail(kind);
  return false;
}

// Opens `path` through so_open_for_reading and measures it. False when the
// file cannot be opened or measured (the reader then holds no file and its
// failure says cannot_open).
bool open_reader(reader& r, const char* path);
void close_reader(reader& r);

// The 12-byte IFF header: false unless all of it was read (truncated) and it
// starts a FORM (bad_header). Counts from a fresh bytes_read.
bool read_form_header(reader& r, std::uint32_t& form_size, std::uint32_t& form_type);

// Closes the reader's file however a load ends.
struct reader_guard {
  reader& r;
  ~reader_guard() { close_reader(r); }
};

// An owned block of bytes, left uninitialised until read.
struct block {
  std::unique_ptr<std::uint8_t[]> data;
  std::size_t size = 0;

  const std::uint8_t* begin() const { return data.get(); }
  const std::uint8_t* end() const { return data.get() + size; }
};

std::uint8_t read_u1(reader& r);
std::uint16_t read_u2(reader& r);
std::int16_t read_i2(reader& r);
std::uint32_t read_u4(reader& r);
float read_f4(reader& r);
// 2 bytes, or 4 when the first is 0xFF (value in the last three).
std::uint32_t read_index(reader& r);
// A zero-terminated string padded to even length. An empty string consumes 2
// bytes and reads as empty ("null").
std::string read_string(reader& r);
// `size` bytes in one read. A size that is negative, zero or larger than what
// is left of the file fails without allocating.
block read_block(reader& r, std::int64_t size);
// The rest of a sub-chunk as a block: `size` bytes, where an empty rest gives
// an empty block and a negative one fails.
std::vector<std::uint8_t> read_rest(reader& r, std::int64_t size);
// Moves forward without counting; past the end of the file is a failure.
void skip(reader& r, std::uint64_t n);

// A position inside a block in memory. The take_* variants fail (error
// marker, zero result) rather than read past `end`.
struct cursor {
  const std::uint8_t* pos = nullptr;
  const std::uint8_t* end = nullptr;

  std::size_t left() const { return static_cast<std::size_t>(end - pos); }
};

std::uint16_t take_u2(reader& r, cursor& c);
std::uint32_t take_u4(reader& r, cursor& c);
float take_f4(reader& r, cursor& c);
std::uint32_t take_index(reader& r, cursor& c);
std::string take_string(reader& r, cursor& c);

// Big-endian decoding from memory the caller has already bounded.
inline std::uint16_t load_u2(const std::uint8_t* p) { return static_cast<std::uint16_t>((p[0] << 8) | p[1]); }
inline std::uint32_t load_u4(const std::uint8_t* p) {
  return (std::uint32_t(p[0]) << 24) | (std::uint32_t(p[1]) << 16) | (std::uint32_t(p[2]) << 8) | p[3];
}
float load_f4(const std::uint8_t* p);

// IFF sizes are padded to even.
inline std::uint64_t round_even(std::uint64_t size) { return size + (size & 1u); }

}  // namespace so3d::lwo
