#pragma once
// Why a reader of object, scene or image files failed, and where. Public
// results stay what they always were (null, -1, false); this is what tests
// assert and what a load report shows. Kinds are few and closed: a new way
// to fail maps onto one of them.
#include <cstdint>

namespace so3d {

enum class read_error : std::uint8_t {
  none,
  cannot_open,         // missing, unreadable, or the path itself refused
  truncated,           // the file ends inside a field or a line
  bad_header,          // not the container the reader expects
  unsupported_form,    // a container of a form or revision it does not read
  bad_chunk_size,      // a size beyond its container, or wrong for its layout
  bad_value,           // a count or field no valid file holds
  index_out_of_range,  // a point, polygon, tag, surface or clip index past its table
  line_too_long,       // a text line over the reader's limit
  out_of_memory,
};

struct read_failure {
  read_error kind = read_error::none;
  std::uint32_t chunk = 0;   // four-character id of the chunk being read (object files)
  std::uint64_t offset = 0;  // bytes from the start of the file
  std::int32_t line = 0;     // 1-based line (scene files)

  explicit operator bool() const { return kind != read_error::none; }
  // The first failure is the cause; later ones only follow from it.
  void set(read_error k, std::uint32_t at_chunk, std::uint64_t at_offset, std::int32_t at_line = 0) {
    if (kind == read_error::none) *this = {k, at_chunk, at_offset, at_line};
  }
};

// The kind in words, for reports and tools.
constexpr const char* describe(read_error kind) {
  switch (kind) {
    case read_error::none: return "no error";
    case read_error::cannot_open: return "cannot open";
    case read_error::truncated: return "truncated";
    case read_error::bad_header: return "bad header";
    case read_error::unsupported_form: return "unsupported form";
    case read_error::bad_chunk_size: return "bad chunk size";
    case read_error::bad_value: return "bad value";
    case read_error::index_out_of_range: return "index out of range";
    case read_error::line_too_long: return "line too long";
    case read_error::out_of_memory: return "out of memory";
  }
  return "unknown";
}

}  // namespace so3d
