#pragma once
// The sub-chunk walk shared by the surface, texture, clip and envelope
// readers: a U4 identifier and a U2 size (rounded to even) before each
// sub-chunk's data.
#include <algorithm>
#include <cstdint>
#include <utility>

#include "objects/lightwave/so_lwo_read.h"
#include "objects/lightwave/so_lwo_surface.h"

namespace so3d::lwo {

// Keeps `list` ascending by ordinal: after every entry that does not compare
// greater, so equal ordinals stay in file order and an empty one goes first.
// std::string compares its bytes as unsigned values.
template <class T>
void insert_by_ordinal(std::vector<T>& list, T&& item) {
  const auto at = std::upper_bound(list.begin(), list.end(), item.ordinal,
                                   [](const std::string& ordinal, const T& e) { return ordinal < e.ordinal; });
  list.insert(at, std::move(item));
}

// The texture list of a surface channel ("COLR", "DIFF", …); null for others.
so_lwo_texture_list* channel_textures(so_lwo_surface& s, std::uint32_t channel);

enum class end_rule {
  at_least,  // done once the limit is reached; the last sub-chunk may overrun it
  exact,     // sub-chunks must end exactly at the limit
};

// Walks sub-chunks from the reader's position until `limit` bytes have been
// consumed since `start` (a file position). For each, `handle(id, size)`
// reads from the sub-chunk's data with bytes_read at 0 and returns false to
// fail the walk; a handler that reads more than `size` fails it, one that
// reads less has the rest skipped. Fewer than six bytes before the limit
// hold no sub-chunk: the walk ends there, skipping them (or failing, with
// `exact`).
template <class Handler>
bool walk_subchunks(reader& r, std::uint64_t start, std::int64_t limit, end_rule rule, Handler&& handle) {
  for (;;) {
    if (r.failed() || r.position < start) return false;
    const std::int64_t consumed = static_cast<std::int64_t>(r.position - start);
    if (consumed > limit) return rule == end_rule::at_least;
    const std::int64_t room = limit - consumed;
    if (room == 0) return true;
    if (room < 6) {
      if (rule == end_rule::exact) return false;
      skip(r, static_cast<std::uint64_t>(room));
      return !r.failed();
    }
    r.bytes_read = 0;
    const std::uint32_t id = read_u4(r);
    const std::uint64_t size = round_even(read_u2(r));
    if (r.bytes_read != 6) return false;
    const std::uint64_t data_start = r.position;
    r.bytes_read = 0;
    if (!handle(id, size) || r.failed()) return false;
    const std::uint64_t used = r.position - data_start;
    if (used > size) return false;
    skip(r, size - used);
  }
}

inline so_lwo_value read_value(reader& r) {
  so_lwo_value v;
  v.value = read_f4(r);
  v.envelope = static_cast<std::int32_t>(read_index(r));
  return v;
}

inline void read_vector_value(reader& r, so_lwo_vector_value& v) {
  for (float& x : v.value) x = read_f4(r);
  v.envelope = static_cast<std::int32_t>(read_index(r));
}

// A plug-in reference of a clip filter or envelope channel filter: name,
// flags, then the rest of the sub-chunk as data.
inline so_lwo_plugin_ref read_plugin(reader& r, std::uint64_t size) {
  so_lwo_plugin_ref ref;
  ref.name = read_string(r);
  ref.flags = read_u2(r);
  ref.data = read_rest(r, static_cast<std::int64_t>(size) - r.bytes_read);
  return ref;
}

}  // namespace so3d::lwo
