// Transitions: a morph of scene A into scene B on the time range 0 to 2
// (Interpolate), and sub-scene pairs drawn inside a third scene
// (AddSubScene).
#include <algorithm>
#include <new>
#include <vector>

#include "objects/so_object.h"
#include "platform/foundation/z_record.h"
#include "scene/so_object_settings.h"
#include "scene/so_scene.h"

namespace {

// Build direction flags (from the rest position) and effect flags.
constexpr std::int32_t dir_left = 0x10;
constexpr std::int32_t dir_right = 0x40;
constexpr std::int32_t dir_top = 0x100;
constexpr std::int32_t dir_bottom = 0x4;
constexpr std::int32_t effect_grow = 0x8;
constexpr std::int32_t effect_spin = 0x4;
constexpr std::int32_t effect_fade = 0x2;
constexpr std::int32_t effect_ease = 0x10;

// Channels that the eased build remaps: position, rotation, scale.
constexpr std::int32_t eased_channels[] = {1, 0, 2, 6, 7, 8, 3, 4, 5};

// Fast start, gentle arrival.
float build_ease_in(void* item, so_channel_value_fn value, std::int32_t channel, float t, float def) {
  const float r = 1.0f - t / 2.0f;
  return value(item, channel, 2.0f * (1.0f - r * r * r), def);
}

// Gentle start, fast exit.
float build_ease_out(void* item, so_channel_value_fn value, std::int32_t channel, float t, float def) {
  const float r = t / 2.0f;
  return value(item, channel, 2.0f * (r * r * r), def);
}

so_vectors fresh_vectors() { return so_default_vectors(); }

}  // namespace

std::int32_t soScene::Interpolate(soScene* a, so_screen_data* screens_a, std::int32_t count_a, float ta, soScene* b,
                                  so_screen_data* screens_b, std::int32_t count_b, float tb) {
  add_interpolation();
  if (!a || !b) return 0;

  so_vectors va = fresh_vectors(), vb = fresh_vectors();
  a->CameraVectors(ta, false, &va);
  b->CameraVectors(tb, false, &vb);
  CameraVectors(0.0f, true, &va);
  CameraVectors(2.0f, true, &vb);

  float ia = 0, ib = 0;
  so_vector3 ca{}, cb{};
  a->AmbientLight(ta, false, &ia, &ca);
  b->AmbientLight(tb, false, &ib, &cb);
  AmbientLight(0.0f, true, &ia, &ca);
  AmbientLight(2.0f, true, &ib, &cb);

  for (std::int32_t i = 0;; ++i) {
    so_light_data da, db;
    if (a->LightVectors(i, ta, false, &va, &da) != 0 || b->LightVectors(i, tb, false, &vb, &db) != 0) break;
    const std::int32_t j = AddLight();
    LightVectors(j, 0.0f, true, &va, &da);
    LightVectors(j, 2.0f, true, &vb, &db);
  }

  const std::uint32_t na = a->ObjectCount(), nb = b->ObjectCount();
  std::vector<bool> used_a, used_b;
  try {
    used_a.assign(na, false);
    used_b.assign(nb, false);
  } catch (const std::bad_alloc&) {
    return 0;  // camera, ambient and lights are in; the objects are left out
  }
  so_object_data d{};

  // Pairing: each object of A takes the first unused object of B whose
  // screen entry carries the same slot.
  for (std::uint32_t ia_index = 0; ia_index < na; ++ia_index) {
    const auto i = static_cast<std::int32_t>(ia_index);
    if (a->EvaluateObject(i, ta, false, &va, &d, nullptr) != 0) break;
    const so_screen_data* ea = so_match_screen(screens_a, count_a, d);
    if (!ea) continue;
    const std::int32_t key = d.slot != 0 ? d.slot : ea->slot;
    const so_screen_data* eb = nullptr;
    std::int32_t partner = -1;
    for (std::uint32_t ib_index = 0; ib_index < nb; ++ib_index) {
      if (used_b[ib_index]) continue;
      if (b->EvaluateObject(static_cast<std::int32_t>(ib_index), tb, false, &vb, &d, nullptr) != 0) break;
      eb = so_match_screen(screens_b, count_b, d);
      if (eb && eb->slot == key) {
        partner = static_cast<std::int32_t>(ib_index);
        break;
      }
    }
    if (partner < 0) continue;
    const std::int32_t j = AddObject(b->ObjectAt(static_cast<std::uint32_t>(partner)));
    a->EvaluateObject(i, ta, false, &va, &d, ea->record);
    b->EvaluateObject(partner, tb, false, &vb, &d, eb->record);
    d.slot = eb->slot;
    d.screen = eb->screen;
    EvaluateObject(j, 0.0f, true, &va, &d, ea->record);
    EvaluateObject(j, 2.0f, true, &vb, &d, eb->record);
    used_a[ia_index] = true;
    used_b[static_cast<std::size_t>(partner)] = true;
  }

  for (std::uint32_t ia_index = 0; ia_index < na; ++ia_index) {
    if (used_a[ia_index]) continue;
    const auto i = static_cast<std::int32_t>(ia_index);
    if (a->EvaluateObject(i, ta, false, &va, &d, nullptr) != 0) break;
    const so_screen_data* ea = so_match_screen(screens_a, count_a, d);
    if (!ea) continue;
    const std::int32_t j = AddObject(a->ObjectAt(ia_index));
    a->EvaluateObject(i, ta, false, &va, &d, ea->record);
    d.screen = ea->screen;
    if (d.slot == 0) d.slot = ea->slot;
    build_out(va, j, ea->record, &d);
    used_a[ia_index] = true;
  }

  for (std::uint32_t ib_index = 0; ib_index < nb; ++ib_index) {
    if (used_b[ib_index]) continue;
    const auto i = static_cast<std::int32_t>(ib_index);
    if (b->EvaluateObject(i, tb, false, &vb, &d, nullptr) != 0) break;
    const so_screen_data* eb = so_match_screen(screens_b, count_b, d);
    if (!eb) continue;
    const std::int32_t j = AddObject(b->ObjectAt(ib_index));
    b->EvaluateObject(i, tb, false, &vb, &d, eb->record);
    d.screen = eb->screen;
    d.slot = eb->slot;
    build_in(vb, j, eb->record, &d);
    used_b[ib_index] = true;
  }
  return 0;
}

void soScene::build_action(bool in, so_vectors& v, std::int32_t index, const zRecord* r, so_object_data* d) {
  if (index < 0) return;
  soObject* object = ObjectAt(static_cast<std::uint32_t>(index));
  if (!object) return;
  const so_vectors rest = v;

  so_vector3 min{}, max{};
  object->GetBoundingBox(min, max);
  const float width = max.x - min.x;
  const float height = max.y - min.y;

  const zRect rect = r ? r->AsRect(so_id_build_in_out, so_default_build_rect) : so_default_build_rect;
  const std::int32_t direction = in ? rect.left : rect.top;
  const std::int32_t effect = in ? rect.right : rect.bottom;

  if (effect & effect_grow) {
    v.scale.x *= 2.0f;
    v.scale.y *= 2.0f;
  }
  if (effect & effect_spin) v.rot.z = (direction & dir_left) ? -15.0f : 15.0f;
  if (effect & effect_fade) v.trans = 0.0f;

  const float half_w = FrameWidth() / 2.0f, half_h = FrameHeight() / 2.0f;
  if (direction & dir_left) v.pos.x = v.pos.x - 4.0f * half_w - width / 2.0f;
  if (direction & dir_right) v.pos.x = v.pos.x + 4.0f * half_w + width / 2.0f;
  if (direction & dir_top) v.pos.y = v.pos.y + 4.0f * half_h + height / 2.0f;
  if (direction & dir_bottom) v.pos.y = v.pos.y - 4.0f * half_h - height / 2.0f;

  set_build_object_eval(index, (effect & effect_ease) ? (in ? build_ease_in : build_ease_out) : nullptr);

  so_vectors start = in ? v : rest;
  so_vectors end = in ? rest : v;
  EvaluateObject(index, 0.0f, true, &start, d, r);
  EvaluateObject(index, 2.0f, true, &end, d, r);
}

void soScene::build_in(so_vectors& v, std::int32_t index, const zRecord* r, so_object_data* d) {
  build_action(true, v, index, r, d);
}

void soScene::build_out(so_vectors& v, std::int32_t index, const zRecord* r, so_object_data* d) {
  build_action(false, v, index, r, d);
}

void soScene::build_in_both_scenes(so_vectors& start, so_vectors& end, std::int32_t index, const zRecord* r_start,
                                   const zRecord* r_end, so_object_data* d) {
  EvaluateObject(index, 0.0f, true, &start, d, r_start);
  EvaluateObject(index, 2.0f, true, &end, d, r_end);
}

void soScene::set_build_object_eval(std::int32_t index, so_channel_eval fn) {
  for (const std::int32_t ch : eased_channels) SetObjectEval(index, fn, ch);
}

void soScene::AddSubScene(soScene* a, so_screen_data* screens_a, std::int32_t count_a, float ta, soScene* b,
                          so_screen_data* screens_b, std::int32_t count_b, float tb) {
  // A record keeps at most five entries per side; the pinning below uses the
  // same entries so that what is recorded is what was applied.
  count_a = std::clamp(screens_a ? count_a : 0, 0, so_subscene_max_screens);
  count_b = std::clamp(screens_b ? count_b : 0, 0, so_subscene_max_screens);
  std::unique_ptr<so_subscene> record;
  try {
    record = std::make_unique<so_subscene>();
    subscenes_.reserve(subscenes_.size() + 1);
  } catch (const std::bad_alloc&) {
    return;  // nothing recorded, nothing pinned
  }
  *record = so_subscene{};
  record->scene_a = a;
  record->scene_b = b;
  std::copy_n(screens_a, count_a, record->screens_a);
  std::copy_n(screens_b, count_b, record->screens_b);
  record->count_a = count_a;
  record->count_b = count_b;
  record->position_a = ta;
  record->position_b = tb;
  if (a) map_subscene_screens(*a, ta, screens_a, count_a);
  if (b) map_subscene_screens(*b, tb, screens_b, count_b);
  subscenes_.push_back(std::move(record));
}

void soScene::map_subscene_screens(soScene& s, float t, so_screen_data* screens, std::int32_t count) {
  so_vectors v = fresh_vectors();
  so_object_data d{};
  for (std::int32_t i = 0; s.EvaluateObject(i, t, false, &v, &d, nullptr) == 0; ++i) {
    // The object's screen number indexes the table: no entry, no change.
    if (d.screen < 0 || d.screen >= count) continue;
    const std::int32_t n = screens[d.screen].screen;
    if (n < 0 || n >= count) continue;
    const so_screen_data* e = nullptr;
    for (std::int32_t k = 0; k < count && !e; ++k)
      if (screens[k].screen == n && screens[k].slot == 0) e = &screens[k];
    for (std::int32_t k = 0; k < count && !e; ++k)
      if (screens[k].screen == n) e = &screens[k];
    d.screen = n;
    d.slot = screens[n].slot;
    const zRecord* record = e ? e->record : nullptr;
    so_vectors copy = v;
    s.EvaluateObject(i, 0.0f, true, &v, &d, record);
    s.EvaluateObject(i, 2.0f, true, &copy, &d, record);
  }
}

std::int32_t soScene::SubSceneInfo(std::uint32_t index, soScene** a, soScene** b, float* ta, float* tb) {
  if (index >= subscenes_.size()) return -1;
  const so_subscene& record = *subscenes_[index];
  if (a) *a = record.scene_a;
  if (b) *b = record.scene_b;
  if (ta) *ta = record.position_a;
  if (tb) *tb = record.position_b;
  return 0;
}
