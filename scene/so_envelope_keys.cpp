#include <new>

#include "base/so_envelope.h"

so_envelope_key* so_envelope_insert_key(so_envelope& env, std::size_t position, const so_envelope_key& key) {
  auto& nodes = env.key_nodes;
  if (position > nodes.size()) position = nodes.size();
  std::unique_ptr<so_envelope_key> node(new (std::nothrow) so_envelope_key(key));
  if (!node) return nullptr;
  so_envelope_key* k = node.get();
  k->prev = position > 0 ? nodes[position - 1].get() : nullptr;
  k->next = position < nodes.size() ? nodes[position].get() : nullptr;
  try {
    nodes.insert(nodes.begin() + static_cast<std::ptrdiff_t>(position), std::move(node));
  } catch (const std::bad_alloc&) { return nullptr; }
  if (k->prev) k->prev->next = k;
  if (k->next) k->next->prev = k;
  // Written so that a NaN time also counts as out of order.
  if ((k->prev && !(k->prev->time <= k->time)) || (k->next && !(k->time <= k->next->time))) env.keys_ordered = false;
  env.keys = nodes.front().get();
  env.key_count = static_cast<std::int32_t>(nodes.size());
  return k;
}
