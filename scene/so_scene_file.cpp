// Reading LightWave scene files into a soLightWaveScene: keyword lines that
// load objects, add lights and the camera, and key motion channels.
#include <cstdio>
#include <cstring>
#include <new>

#include "base/so_file_paths.h"
#include "objects/so_object.h"
#include "objects/so_object_manager.h"
#include "platform/foundation/z_file_stream.h"
#include "scene/so_envelope_eval.h"
#include "scene/so_lightwave_scene.h"

namespace {

enum class Keyword {
  kLoadObjectLayer,
  kShowObject,
  kAddCamera,
  kAmbientColor,
  kAmbientIntensity,
  kAddLight,
  kLightType,
  kLightConeAngle,
  kLightIntensity,
  kLightColor,
  kNumChannels,
  kChannel,
  kTargetItem,
  kPivotPosition,
  kEnvelope,
  kKey,
  kLoadObject,  // read only with the modern_files option
  kBehaviors,   // read only with the modern_files option
  kNone,
};

// Tested in this order, each as a prefix of the line.
constexpr struct {
  const char* text;
  Keyword keyword;
} keywords[] = {
    {"LoadObjectLayer", Keyword::kLoadObjectLayer},
    {"ShowObject", Keyword::kShowObject},
    {"AddCamera", Keyword::kAddCamera},
    {"AmbientColor", Keyword::kAmbientColor},
    {"AmbientIntensity", Keyword::kAmbientIntensity},
    {"AddLight", Keyword::kAddLight},
    {"LightType", Keyword::kLightType},
    {"LightConeAngle", Keyword::kLightConeAngle},
    {"LightIntensity", Keyword::kLightIntensity},
    {"LightColor", Keyword::kLightColor},
    {"NumChannels", Keyword::kNumChannels},
    {"Channel", Keyword::kChannel},
    {"TargetItem", Keyword::kTargetItem},
    {"PivotPosition", Keyword::kPivotPosition},
    {"Envelope", Keyword::kEnvelope},
    {"Key", Keyword::kKey},
    {"LoadObject ", Keyword::kLoadObject},
    {"Behaviors", Keyword::kBehaviors},
};

Keyword match_keyword(const char* line) {
  for (const auto& k : keywords)
    if (std::strncmp(line, k.text, std::strlen(k.text)) == 0) return k.keyword;
  return Keyword::kNone;
}

}  // namespace

std::int32_t soLightWaveScene::Load(const char* path, std::int32_t handedness) {
  so_load_report* report = LoadOptions() ? LoadOptions()->report : nullptr;
  try {
    if (report) {
      *report = so_load_report{};
      report->scene = path ? path : "";
    }
  } catch (const std::bad_alloc&) { report = nullptr; }
  revision_ = 0;
  line_number_ = 0;
  report_object_ = -1;
  std::int32_t status = zFileStream::kErrNoMemory;
  try {
    status = read_file(path, handedness);
  } catch (const std::bad_alloc&) {  // the path or the file's buffer
    read_failure_.set(so3d::read_error::out_of_memory, 0, 0);
  }
  if (report) finish_report(*report);
  return status;
}

std::int32_t soLightWaveScene::read_file(const char* path, std::int32_t handedness) {
  using so3d::read_error;
  loaded_ = true;
  read_failure_ = {};
  const auto fail = [&](read_error kind, std::uint64_t offset, std::int32_t line) {
    read_failure_.set(kind, 0, offset, line);
  };
  // The path feeds the object and image rules later: one that does not fit
  // is refused rather than cut into a different path.
  if (!path || std::strlen(path) > max_path_length) {
    fail(read_error::cannot_open, 0, 0);
    return zFileStream::kErrNotOpen;
  }
  std::strcpy(path_, path);

  zFileStream stream(zString(path), zFileStream::kRead | zFileStream::kExisting, false);
  zBuffer buffer;
  if (const std::int32_t opened = stream.Open(); opened != 0) {
    fail(read_error::cannot_open, 0, 0);
    return opened;
  }
  if (const std::int32_t read = stream.ReadAll(buffer); read != 0) {
    fail(read_error::cannot_open, 0, 0);
    return read;
  }

  lights_.clear();
  current_ = nullptr;

  // Every way the reading ends early still returns 0: what was read stays.
  const char* data = reinterpret_cast<const char*>(buffer.Data());
  const std::size_t size = buffer.Size();
  std::size_t pos = 0;
  std::int32_t line = 1;
  while (pos < size) {
    std::size_t length = 0;
    bool complete = false;
    while (pos < size) {
      const char c = data[pos];
      if (c == '\0') {
        fail(read_error::bad_value, pos, line);
        return 0;
      }
      if (c == '\n' || c == '\r') {
        complete = true;
        break;
      }
      if (length == max_line_length) {
        fail(read_error::line_too_long, pos, line);
        return 0;
      }
      line_[length++] = c;
      ++pos;
    }
    if (!complete) {  // a last line without a break is not parsed
      fail(read_error::truncated, pos, line);
      return 0;
    }
    line_[length] = '\0';
    const std::int32_t parsed_line = line;
    line_number_ = line;
    for (; pos < size && (data[pos] == '\n' || data[pos] == '\r'); ++pos) {
      if (data[pos] == '\n' || pos + 1 == size || data[pos + 1] != '\n') ++line;
    }
    try {
      parse_line(line_, handedness);
    } catch (const std::bad_alloc&) {
      fail(read_error::out_of_memory, pos, parsed_line);
      return 0;
    }
  }
  return 0;
}

void soLightWaveScene::parse_line(const char* line, std::int32_t handedness) {
  while (*line == ' ' || *line == '\t' || *line == '{') ++line;
  so_scene_item* current = current_;
  const bool modern = LoadOptions() && LoadOptions()->modern_files;
  if (line_number_ == 2) revision_ = std::atoi(line);  // "LWSC", then the revision
  switch (match_keyword(line)) {
    case Keyword::kLoadObjectLayer:
      if (modern) {
        load_object_modern(line, handedness);
      } else {
        load_object_layer(line, handedness);
      }
      break;
    case Keyword::kShowObject: {
      long unused = 0, screen = 0;
      if (!current) break;
      std::sscanf(line, "ShowObject %ld %ld", &unused, &screen);
      current->data.screen = static_cast<std::int32_t>(screen);
      note_screen(current, current->data.screen);
      break;
    }
    case Keyword::kAddCamera:
      if (so_load_report* r = report()) r->camera = true;
      current_ = camera_.get();
      for (auto& env : camera_->env) env.reset();
      break;
    case Keyword::kAmbientColor: {
      float rgb[3] = {0, 0, 0};
      std::sscanf(line, "AmbientColor %f %f %f", &rgb[0], &rgb[1], &rgb[2]);
      for (std::int32_t ch = 0; ch < 3; ++ch) add_envelope_key(*ambient_, ch, rgb[ch], 0.0f, 0, 0, 0, 0, 0, 0, 0);
      break;
    }
    case Keyword::kAmbientIntensity: {
      float intensity = 0.0f;
      std::sscanf(line, "AmbientIntensity %f", &intensity);
      add_envelope_key(*ambient_, 3, intensity, 0.0f, 0, 0, 0, 0, 0, 0, 0);
      break;
    }
    case Keyword::kAddLight: current_ = light_at(AddLight()); break;
    case Keyword::kLightType: {
      long type = -1;
      if (!current || std::sscanf(line, "LightType %ld", &type) != 1) break;
      if (type == 0) current->light.type = so_light_distant;
      if (type == 1) current->light.type = so_light_point;
      if (type == 2) current->light.type = so_light_spot;
      break;
    }
    case Keyword::kLightConeAngle:
      if (current) std::sscanf(line, "LightConeAngle %f", &current->light.cone_angle);
      break;
    case Keyword::kLightIntensity:
      if (current) std::sscanf(line, "LightIntensity %f", &current->light.intensity);
      break;
    case Keyword::kLightColor:
      // sscanf stops at the first value missing: earlier colours stay.
      if (current)
        std::sscanf(line, "LightColor %f %f %f", &current->light.color[0], &current->light.color[1],
                    &current->light.color[2]);
      break;
    case Keyword::kNumChannels: {
      long n = 0;
      std::sscanf(line, "NumChannels %ld", &n);
      channel_count_ = static_cast<std::int32_t>(n);
      break;
    }
    case Keyword::kChannel: {
      long n = 0;
      std::sscanf(line, "Channel %ld", &n);
      current_channel_ = static_cast<std::int32_t>(n);
      break;
    }
    case Keyword::kTargetItem: {
      long target = 0;
      if (current && current == camera_.get() && std::sscanf(line, "TargetItem %ld", &target) == 1)
        camera_target_ = target < 0 ? -1 : static_cast<std::int32_t>(target > 0x7FFFFFFF ? 0x7FFFFFFF : target);
      if (modern && current == camera_.get()) resolve_item_id(line);
      break;
    }
    case Keyword::kPivotPosition:
      if (current) key_pivot(line);
      break;
    case Keyword::kEnvelope:
      if (current && so_is_channel(current_channel_)) reset_envelope(*current, current_channel_, 1, 1);
      break;
    case Keyword::kKey:
      if (current && so_is_channel(current_channel_)) key_channel(line);
      break;
    case Keyword::kLoadObject:
      if (modern) {
        load_object_modern(line, handedness);
      } else {
        note_ignored(line);
      }
      break;
    case Keyword::kBehaviors:
      if (modern && current && so_is_channel(current_channel_)) key_behaviours(line);
      if (!modern) note_ignored(line);
      break;
    case Keyword::kNone: note_ignored(line); break;
  }
}

void soLightWaveScene::key_pivot(const char* line) {
  float p[3] = {0, 0, 0};
  std::sscanf(line, "PivotPosition %f %f %f", &p[0], &p[1], &p[2]);
  for (std::int32_t i = 0; i < 3; ++i) add_envelope_key(*current_, 10 + i, -p[i], 0.0f, 0, 0, 0, 0, 0, 0, 0);
}

void soLightWaveScene::key_channel(const char* line) {
  float value = 0, time = 0, p[6] = {0, 0, 0, 0, 0, 0};
  long shape = 0;
  std::sscanf(line, "Key %f %f %ld %f %f %f %f %f %f", &value, &time, &shape, &p[0], &p[1], &p[2], &p[3], &p[4], &p[5]);
  if (current_channel_ == so_channel_scale_z && value != 1.0f) value = 1.0f;  // depth scale is always 1
  // Out-of-range shape numbers all mean the last shape; clamp before
  // narrowing so a huge number cannot wrap to a small one.
  const std::int32_t shape_number = shape < 0 || shape > 5 ? 5 : static_cast<std::int32_t>(shape);
  add_envelope_key(*current_, current_channel_, value, time, shape_number, p[0], p[1], p[2], p[3], p[4], p[5]);
}

void soLightWaveScene::load_object_layer(const char* line, std::int32_t handedness) {
  long layer = 0;
  char name[max_line_length + 2] = {};
  if (std::sscanf(line, "LoadObjectLayer %ld %1023s", &layer, name) < 2) name[0] = '\0';
  add_object(name, handedness, false);
}

void soLightWaveScene::add_object(const char* name, std::int32_t handedness, bool modern) {
  so_report_object* entry = nullptr;
  if (so_load_report* r = report()) {
    entry = &r->objects.emplace_back();
    entry->line = line_number_;
    entry->name = name;
  }
  report_object_ = -1;
  soObject* object = nullptr;
  if (FindObject(name, &object) != 0 || !object) return;

  auto item = std::make_unique<so_scene_item>();
  item->object = object;
  current_ = item.get();
  if (!load_from_candidates(*object, name, handedness, modern, entry)) {
    // Later revisions put an item id where the faithful reading wants a name.
    if (entry && !modern && revision_ >= 4) entry->outcome = so_object_outcome::not_supported;
    current_ = nullptr;
    ReleaseObject(object);
    return;
  }
  if (entry) report_object_ = static_cast<std::int32_t>(report()->objects.size() - 1);
  object_refs_.push_back(object);
  items_.push_back(std::move(item));
}
