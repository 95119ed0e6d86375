#include "base/so_records.h"

const so_screen_data* so_match_screen(const so_screen_data* screens, std::int32_t count, const so_object_data& object) {
  if (!screens || count <= 0) return nullptr;
  const so_screen_data* same_screen = nullptr;
  for (std::int32_t i = 0; i < count; ++i) {
    const so_screen_data& s = screens[i];
    if (s.screen != object.screen) continue;
    if (s.slot == object.slot) return &s;
    if (!same_screen) same_screen = &s;
  }
  return same_screen;
}
