#pragma once
// The transforms a device keeps, as dense slots: the fixed pipeline the
// module drives uses world, view, projection and two texture transforms.
#include <array>
#include <cstddef>

#include "platform/d3d9/d3d9.h"

namespace so3d::backend {

enum TransformSlot : std::size_t { slot_world, slot_view, slot_projection, slot_texture0, slot_texture1, slot_count };

// The slot of `state`; false for a transform no device here keeps.
constexpr bool SlotOf(D3DTRANSFORMSTATETYPE state, std::size_t& slot) {
  switch (state) {
    case D3DTS_WORLD: slot = slot_world; return true;
    case D3DTS_VIEW: slot = slot_view; return true;
    case D3DTS_PROJECTION: slot = slot_projection; return true;
    case D3DTS_TEXTURE0: slot = slot_texture0; return true;
    case D3DTS_TEXTURE1: slot = slot_texture1; return true;
    default: return false;
  }
}

constexpr D3DMATRIX identity_matrix() {
  D3DMATRIX m{};
  m._11 = m._22 = m._33 = m._44 = 1.0f;
  return m;
}

// The transforms of a device that only keeps them (the null and recording
// devices): identity until set.
class TransformState {
 public:
  TransformState() { slots_.fill(identity_matrix()); }
  // False for a transform no device here keeps.
  bool Set(D3DTRANSFORMSTATETYPE state, const D3DMATRIX& m) {
    std::size_t slot = 0;
    if (!SlotOf(state, slot)) return false;
    slots_[slot] = m;
    return true;
  }
  // The identity for a transform no device here keeps.
  D3DMATRIX Get(D3DTRANSFORMSTATETYPE state) const {
    std::size_t slot = 0;
    return SlotOf(state, slot) ? slots_[slot] : identity_matrix();
  }

 private:
  std::array<D3DMATRIX, slot_count> slots_;
};

}  // namespace so3d::backend
