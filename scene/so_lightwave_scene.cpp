#include "scene/so_lightwave_scene.h"
#include <algorithm>

#include <cstdlib>
#include <new>

#include "base/so_frame.h"
#include "objects/so_object_manager.h"
#include "scene/so_envelope_eval.h"
#include "scene/so_object_settings.h"
#include "textures/so_texture_manager.h"

namespace {

so_vectors zero_vectors() { return so_vectors{}; }

// Camera placement of a fresh scene.
so_vectors default_camera() {
  so_vectors v = so_default_vectors();
  v.pos = {0.0f, 0.0f, -10.0f};
  return v;
}

// qsort comparison of the drawing order: descending depth, with the
// difference truncated to an integer as the drawing order always was.
int compare_depth(const void* a, const void* b) {
  const auto* ea = static_cast<const so_depth_entry*>(a);
  const auto* eb = static_cast<const so_depth_entry*>(b);
  const float diff = eb->depth - ea->depth;
  // Depths are entry positions; keep the conversion defined for any float.
  if (!(diff > -2147483648.0f && diff < 2147483648.0f)) return diff > 0 ? 1 : (diff < 0 ? -1 : 0);
  return static_cast<int>(diff);
}

}  // namespace

soLightWaveScene::soLightWaveScene(soTextureManager& textures, soObjectManager& objects)
    : soScene(textures, objects),
      ambient_(std::make_unique<so_scene_item>()),
      camera_(std::make_unique<so_scene_item>()) {
  key_item(*camera_, 0.0f, default_camera());
  key_ambient_default();
  if (lights_.empty()) {
    const std::int32_t light = AddLight();
    so_vectors v = so_default_vectors();
    v.pos = {-2.0f, 2.0f, -2.0f};
    v.rot.x = 0.61086524f;  // 35 degrees
    v.rot.y = 0.78539813f;  // 45 degrees
    so_light_data d;
    d.type = so_light_distant;
    d.color[0] = d.color[1] = d.color[2] = 1.0f;
    d.intensity = 1.0f;
    d.cone_angle = 180.0f;
    LightVectors(light, 0.0f, true, &v, &d);
  }
}

soLightWaveScene::~soLightWaveScene() { clear(); }

void soLightWaveScene::key_ambient_default() {
  for (std::int32_t ch = 0; ch < 3; ++ch) add_envelope_key(*ambient_, ch, 1.0f, 0.0f, 0, 0, 0, 0, 0, 0, 0);
  add_envelope_key(*ambient_, 3, 0.25f, 0.0f, 0, 0, 0, 0, 0, 0, 0);
}

void soLightWaveScene::clear() {
  items_.clear();
  lights_.clear();
  current_ = nullptr;
  std::vector<soObject*> refs;
  refs.swap(object_refs_);
  for (soObject* object : refs) ReleaseObject(object);
}

void soLightWaveScene::forget_objects() {
  current_ = nullptr;
  items_.clear();
  object_refs_.clear();
}

so_scene_item* soLightWaveScene::item_at(std::int32_t index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= items_.size()) return nullptr;
  return items_[static_cast<std::size_t>(index)].get();
}

so_scene_item* soLightWaveScene::light_at(std::int32_t index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= lights_.size()) return nullptr;
  return lights_[static_cast<std::size_t>(index)].get();
}

const soScene& soLightWaveScene::operator=(const soScene& base_other) {
  if (&base_other == this) return *this;
  // Everything that can run short of memory happens on copies first: a copy
  // that fails leaves this scene as it was, holding what it held.
  try {
    soScene::operator=(base_other);
    const auto* other = dynamic_cast<const soLightWaveScene*>(&base_other);
    if (!other) return *this;

    auto copy_item = [](const so_scene_item& from, so_scene_item& to) {
      to.data = from.data;
      to.object = from.object;
      to.light = from.light;
      copy_item_channels(from, to);
    };
    auto copy_all = [&](const std::vector<std::unique_ptr<so_scene_item>>& from) {
      std::vector<std::unique_ptr<so_scene_item>> to;
      to.reserve(from.size());
      for (const auto& item : from) {
        to.push_back(std::make_unique<so_scene_item>());
        copy_item(*item, *to.back());
      }
      return to;
    };
    std::vector<std::unique_ptr<so_scene_item>> items = copy_all(other->items_);
    std::vector<std::unique_ptr<so_scene_item>> lights = copy_all(other->lights_);
    std::vector<soObject*> refs(other->object_refs_);

    clear();
    for (soObject* object : refs) ReferenceObject(object);
    items_.swap(items);
    lights_.swap(lights);
    object_refs_.swap(refs);
    copy_item(*other->camera_, *camera_);
    copy_item(*other->ambient_, *ambient_);
    camera_target_ = other->camera_target_;
    current_channel_ = other->current_channel_;
    channel_count_ = other->channel_count_;
  } catch (const std::bad_alloc&) {}
  return *this;
}

std::int32_t soLightWaveScene::TileObject(const so_object_data& d, so_vectors& v) {
  const float w = d.tile_x * 0.01f * v.scale.x;
  const float h = d.tile_y * 0.01f * v.scale.y;
  if (v.pos.x > FrameWidth() * 0.5f) {
    v.pos.y -= h;
    v.pos.x = w * 0.5f - FrameWidth() * 0.5f;
  } else {
    v.pos.x += w;
  }
  return v.pos.y < -(FrameHeight() * 0.5f + h * 0.5f) ? -1 : 0;
}

void soLightWaveScene::RemoveObject(std::int32_t index) {
  if (index < 0 || static_cast<std::size_t>(index) >= items_.size()) return;
  const auto at = static_cast<std::ptrdiff_t>(index);
  if (current_ == items_[static_cast<std::size_t>(index)].get()) current_ = nullptr;
  items_.erase(items_.begin() + at);
  soObject* object = nullptr;
  if (static_cast<std::size_t>(index) < object_refs_.size()) {
    object = object_refs_[static_cast<std::size_t>(index)];
    object_refs_.erase(object_refs_.begin() + at);
  }
  ReleaseObject(object);
}

void soLightWaveScene::LoadTextures() {
  soTextureManager& textures = TextureManager();
  for (std::uint32_t i = 0; i < textures.TextureCount(); ++i) {
    const std::int32_t id = textures.TextureIDAt(i);
    if (id == 0) continue;
    const bool found = textures.OpenAndUploadTexture(id, path_) == 0;
    if (LoadOptions()) load_texture_elsewhere(id, found);
  }
}

void soLightWaveScene::DepthSort(so_depth_entry* entries, std::uint32_t count, float) {
  if (!entries) return;
  for (std::uint32_t i = 0; i < count && i < items_.size(); ++i) entries[i] = {static_cast<float>(i), i};
  if (count <= items_.size()) {
    // Descending depth. The depths are distinct whole numbers, so this is the
    // order the truncated-difference comparison gives; unlike the C library's
    // sort it never allocates, whatever the count.
    std::sort(entries, entries + count,
              [](const so_depth_entry& a, const so_depth_entry& b) { return a.depth > b.depth; });
    return;
  }
  // A caller's entries past the items hold depths of its own, any float.
  std::qsort(entries, count, sizeof(so_depth_entry), compare_depth);
}

soObject* soLightWaveScene::ObjectAt(std::uint32_t index) {
  return index < object_refs_.size() ? object_refs_[index] : nullptr;
}

std::int32_t soLightWaveScene::CameraVectors(float time, bool set, so_vectors* v) {
  if (!v) return -1;
  if (!camera_) {
    if (!set) {
      *v = zero_vectors();
      v->trans = 1.0f;
    }
    return -1;
  }
  if (set)
    key_item(*camera_, time, *v);
  else
    evaluate_item(*camera_, time, *v);
  return 0;
}

std::int32_t soLightWaveScene::AmbientLight(float time, bool set, float* intensity, so_vector3* color) {
  if (!intensity || !color) return -1;
  if (!ambient_) {
    *color = {0, 0, 0};
    *intensity = 0.0f;
    return -1;
  }
  so_vectors v = zero_vectors();
  if (set) {
    v.pos = *color;
    v.rot.y = *intensity;  // channel 3
    key_item(*ambient_, time, v);
  } else {
    evaluate_item(*ambient_, time, v);
    *color = v.pos;
    *intensity = v.rot.y;
  }
  return 0;
}

std::int32_t soLightWaveScene::LightVectors(std::int32_t index, float time, bool set, so_vectors* v, so_light_data* d) {
  so_scene_item* light = light_at(index);
  if (!light || !v || !d) return -1;
  if (set) {
    light->light = *d;
    key_item(*light, time, *v);
  } else {
    *d = light->light;
    evaluate_item(*light, time, *v);
  }
  return 0;
}

std::int32_t soLightWaveScene::EvaluateObject(std::int32_t index, float time, bool set, so_vectors* v,
                                              so_object_data* d, const zRecord* r) {
  so_scene_item* item = item_at(index);
  if (!item || !v) return -1;
  if (d) {
    if (set)
      item->data = *d;
    else
      *d = item->data;
  }
  const bool apply = r && InterpolationCount() == 0;
  if (set) {
    // Writing: the settings go into the caller's record and so into the keys.
    if (apply) so_apply_settings(*v, r);
    key_item(*item, time, *v);
  } else {
    evaluate_item(*item, time, *v);
    if (apply) so_apply_settings(*v, r);
  }
  return 0;
}

void soLightWaveScene::SetObjectEval(std::int32_t index, so_channel_eval fn, std::int32_t channel) {
  so_scene_item* item = item_at(index);
  if (!item || !so_is_channel(channel)) return;
  item->eval[channel] = fn;
}

float soLightWaveScene::FrameWidth() { return soFrameWidth; }
float soLightWaveScene::FrameHeight() { return soFrameHeight; }

void soLightWaveScene::DefaultCameraVectors(so_vectors& v) {
  v.pos = {0.0f, 0.0f, -10.0f};
  v.rot = {0.0f, 0.0f, 0.0f};
  v.scale = {1.0f, 1.0f, 1.0f};
  v.trans = 1.0f;
  v.rot_off = {0.0f, 0.0f, 0.0f};
}

std::int32_t soLightWaveScene::AddObject(soObject* object) {
  // Everything that can fail happens before the reference is counted.
  std::unique_ptr<so_scene_item> item;
  try {
    item = std::make_unique<so_scene_item>();
    object_refs_.reserve(object_refs_.size() + 1);
    items_.reserve(items_.size() + 1);
  } catch (const std::bad_alloc&) { return -1; }
  item->object = object;
  if (object) ReferenceObject(object);
  object_refs_.push_back(object);
  items_.push_back(std::move(item));
  return static_cast<std::int32_t>(items_.size()) - 1;
}

std::int32_t soLightWaveScene::AddLight() {
  try {
    lights_.push_back(std::make_unique<so_scene_item>());
  } catch (const std::bad_alloc&) { return -1; }
  return static_cast<std::int32_t>(lights_.size()) - 1;
}
