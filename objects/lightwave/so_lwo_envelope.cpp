// ENVL chunks: keyed curves with their span shapes and channel filters.
#include <algorithm>
#include <exception>
#include <new>

#include "objects/lightwave/so_lwo_subchunks.h"

namespace so3d::lwo {

namespace {

// Keys stay ascending by time; a key goes after every key whose time is not
// greater, so equal times keep file order. Scanning from the back keeps
// ascending files linear.
so_envelope_key* insert_key(so_envelope& env, const so_envelope_key& key) {
  std::size_t position = env.key_nodes.size();
  while (position > 0 && !(env.key_nodes[position - 1]->time <= key.time)) --position;
  return so_envelope_insert_key(env, position, key);
}

// SPAN: the shape of the current key, then up to four parameters.
void read_span(reader& r, std::uint64_t size, so_envelope_key& key) {
  key.shape = read_u4(r);
  const std::uint64_t n = size >= 4 ? std::min<std::uint64_t>((size - 4) / 4, 4) : 0;
  float param[4] = {0, 0, 0, 0};
  for (std::uint64_t i = 0; i < n; ++i) param[i] = read_f4(r);
  switch (key.shape) {
    case so_shape_tcb:
      key.tension = param[0];
      key.continuity = param[1];
      key.bias = param[2];
      break;
    case so_shape_bez2:
    case so_shape_bezi:
    case so_shape_herm:
      for (std::uint64_t i = 0; i < n; ++i) key.param[i] = param[i];
      break;
    default: break;
  }
}

}  // namespace

std::unique_ptr<so_envelope> read_envelope(reader& r, std::uint32_t size) {
  try {
    std::unique_ptr<so_envelope> env(new (std::nothrow) so_envelope());
    if (!env) return nullptr;
    r.bytes_read = 0;
    const std::uint64_t start = r.position;
    env->index = static_cast<std::int32_t>(read_index(r));
    so_envelope_key* current = nullptr;
    const bool ok = walk_subchunks(r, start, size, end_rule::exact, [&](std::uint32_t sub, std::uint64_t sub_size) {
      switch (sub) {
        case zFourCC("TYPE"): env->type = read_u2(r); break;
        case zFourCC("NAME"): env->name = read_string(r); break;
        case zFourCC("PRE "): env->pre = read_u2(r); break;
        case zFourCC("POST"): env->post = read_u2(r); break;
        case zFourCC("KEY "): {
          so_envelope_key key;
          key.time = read_f4(r);
          key.value = read_f4(r);
          if (r.failed()) return false;
          current = insert_key(*env, key);
          if (!current) return false;
          break;
        }
        case zFourCC("SPAN"):
          if (!current) return false;
          read_span(r, sub_size, *current);
          break;
        case zFourCC("CHAN"):
          env->filters.push_back(read_plugin(r, sub_size));
          env->filter_count = static_cast<std::int32_t>(env->filters.size());
          break;
        default: break;
      }
      return true;
    });
    if (!ok) return nullptr;
    return env;
  } catch (const std::exception&) {  // memory ran short
    r.fail();
    return nullptr;
  }
}

void release_envelope(so_envelope* envelope) { delete envelope; }

}  // namespace so3d::lwo
