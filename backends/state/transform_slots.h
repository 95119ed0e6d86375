#pragma once
// The transforms a device keeps, as dense slots: the fixed pipeline the
// module drives uses world, view, projection and two texture transforms.
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

}  // namespace so3d::backend
