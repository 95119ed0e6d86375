// The opt-in side of scene loading: later file revisions, more places to
// find objects, and the load report. None of it runs without options.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/so_file_paths.h"
#include "objects/lightwave/so_lwo_file.h"
#include "objects/lightwave/so_lwo_nested.h"
#include "objects/so_object.h"
#include "scene/so_envelope_eval.h"
#include "scene/so_lightwave_scene.h"
#include "textures/so_texture_manager.h"

namespace {

// Item ids of later revisions: the kind in the top hex digit, the index in
// the rest ("10000003" is object 3).
constexpr unsigned long item_kind_object = 1;

std::string trimmed(const char* text) {
  while (*text == ' ' || *text == '\t') ++text;
  std::string out(text);
  while (!out.empty() && (out.back() == ' ' || out.back() == '\t')) out.pop_back();
  return out;
}

bool is_item_id(const std::string& word) {
  return word.size() == 8 && word.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
}

}  // namespace

so_load_report* soLightWaveScene::report() const { return LoadOptions() ? LoadOptions()->report : nullptr; }

void soLightWaveScene::load_object_modern(const char* line, std::int32_t handedness) {
  // "LoadObjectLayer <layer> [<item id>] <path>" or "LoadObject <path>";
  // the path runs to the end of the line and may hold spaces.
  std::string rest;
  if (std::strncmp(line, "LoadObjectLayer", 15) == 0) {
    const char* p = line + 15;
    std::strtol(p, const_cast<char**>(&p), 10);
    rest = trimmed(p);
    const std::size_t space = rest.find_first_of(" \t");
    if (space != std::string::npos && is_item_id(rest.substr(0, space))) rest = trimmed(rest.c_str() + space);
  } else {
    rest = trimmed(line + 10);
  }
  add_object(rest.c_str(), handedness, true);
}

bool soLightWaveScene::load_from_candidates(soObject& object, const char* name, std::int32_t handedness, bool modern,
                                            so_report_object* entry) {
  zString beside;
  resolve_beside_base(name, beside, path_);
  zString common;
  resolve_relative_to_base(name, common, path_);
  std::vector<std::string> candidates = {beside.CString(), name, common.CString()};
  if (modern) {
    const std::string content = LoadOptions()->content_dir;
    for (std::string& extra : resolve_in_content_folders(name, path_, content, "Objects"))
      candidates.push_back(std::move(extra));
  }
  const so3d::lwo::modern_forms_scope forms(modern);
  for (const std::string& candidate : candidates) {
    if (candidate.empty()) continue;
    if (entry) entry->tried.push_back(candidate);
    const std::uint64_t before = so3d::lwo::last_load().sequence;
    if (object.LoadObject(candidate.c_str(), handedness)) {
      if (!entry) return true;
      entry->outcome = so_object_outcome::loaded;
      entry->path = candidate;
      const so3d::lwo::load_note& note = so3d::lwo::last_load();
      if (note.sequence != before) {
        entry->points = std::int32_t(note.points);
        entry->polygons = std::int32_t(note.polygons);
      }
      entry->surfaces = object.SurfaceCount();
      for (std::int32_t i = 0; i < entry->surfaces; ++i) {
        const so_surface* surface = object.SurfaceAt(i);
        if (!surface) continue;
        entry->triangles += surface->vertex_count / 3;
        if (so_surface_shows_screen(*surface)) entry->screen_surfaces.emplace_back(surface->name);
      }
      return true;
    }
    const so3d::lwo::load_note& note = so3d::lwo::last_load();
    if (entry && note.sequence != before && note.failure.kind != so3d::read_error::cannot_open &&
        entry->outcome != so_object_outcome::unreadable) {
      entry->outcome = so_object_outcome::unreadable;
      entry->failure = note.failure;
      entry->path = candidate;
    }
  }
  return false;
}

void soLightWaveScene::note_ignored(const char* line) {
  so_load_report* r = report();
  // Blank lines, block ends and bare numbers (envelope key counts) carry no keyword.
  if (!r || *line == '\0' || *line == '}' || std::strchr("0123456789-+.", *line)) return;
  const std::size_t length = std::strcspn(line, " \t");
  r->ignored.push_back({line_number_, std::string(line, length)});
}

void soLightWaveScene::note_screen(const so_scene_item* item, std::int32_t screen) {
  so_load_report* r = report();
  if (!r || report_object_ < 0 || items_.empty() || items_.back().get() != item) return;
  r->objects[std::size_t(report_object_)].screen = screen;
}

void soLightWaveScene::resolve_item_id(const char* line) {
  unsigned long id = 0;
  if (std::sscanf(line, "TargetItem %lx", &id) != 1 || (id >> 28) != item_kind_object) return;
  camera_target_ = std::int32_t(id & 0x0FFFFFFFu);
}

void soLightWaveScene::key_behaviours(const char* line) {
  long pre = 0, post = 0;
  if (std::sscanf(line, "Behaviors %ld %ld", &pre, &post) != 2) return;
  so_envelope* envelope = current_->env[current_channel_].get();
  if (!envelope) return;
  envelope->pre = std::int32_t(pre);
  envelope->post = std::int32_t(post);
}

void soLightWaveScene::load_texture_elsewhere(std::int32_t id, bool found) {
  soTextureManager& textures = TextureManager();
  const char* name = textures.TextureName(id);
  if (!name) return;
  if (!found && LoadOptions()->modern_files) {
    std::vector<std::string> candidates = resolve_in_content_folders(name, path_, LoadOptions()->content_dir, "Images");
    candidates.emplace_back(name);
    for (const std::string& candidate : candidates) {
      if (textures.UploadTextureFrom(id, candidate.c_str()) == 0) {
        found = true;
        break;
      }
    }
  }
  if (so_load_report* r = report()) r->images.push_back({name, found});
}

void soLightWaveScene::finish_report(so_load_report& r) const {
  r.revision = revision_;
  r.failure = read_failure_;
  r.lights = std::int32_t(lights_.size());
  float intensity = 0.0f;
  so_vector3 colour{};
  const_cast<soLightWaveScene*>(this)->AmbientLight(0.0f, false, &intensity, &colour);
  r.ambient_intensity = intensity;
  r.ambient_color[0] = colour.x;
  r.ambient_color[1] = colour.y;
  r.ambient_color[2] = colour.z;
}

// ---- The report ----

std::int32_t so_load_report::Count(so_object_outcome outcome) const {
  std::int32_t n = 0;
  for (const so_report_object& o : objects) n += o.outcome == outcome;
  return n;
}

std::int32_t so_load_report::ScreenObjects() const {
  std::int32_t n = 0;
  for (const so_report_object& o : objects) n += o.outcome == so_object_outcome::loaded && !o.screen_surfaces.empty();
  return n;
}

namespace {

std::string leaf_of(const std::string& path) { return path.substr(path.find_last_of("/\\\\") + 1); }

std::string names_with(const std::vector<so_report_object>& objects, so_object_outcome outcome) {
  std::string out;
  for (const so_report_object& o : objects)
    if (o.outcome == outcome) out += (out.empty() ? "" : ", ") + leaf_of(o.name);
  return out;
}

}  // namespace

std::string so_load_report::Summary() const {
  std::string s = leaf_of(scene) + ": " + std::to_string(Count(so_object_outcome::loaded)) + " of " +
                  std::to_string(objects.size()) + " objects loaded";
  const struct {
    so_object_outcome outcome;
    const char* words;
  } problems[] = {{so_object_outcome::not_found, "not found"},
                  {so_object_outcome::unreadable, "unreadable"},
                  {so_object_outcome::not_supported, "in a form read only with modern files on"}};
  for (const auto& p : problems)
    if (const std::int32_t n = Count(p.outcome); n > 0)
      s += ", " + std::to_string(n) + " " + p.words + " (" + names_with(objects, p.outcome) + ")";
  s += ", " + std::to_string(ScreenObjects()) + " show screens";
  if (failure) s += "; reading stopped at line " + std::to_string(failure.line) + ": " + so3d::describe(failure.kind);
  return s;
}

std::vector<std::string> so_load_report::Warnings() const {
  std::vector<std::string> w;
  if (Count(so_object_outcome::loaded) == 0) {
    w.push_back(leaf_of(scene) + " loaded no object: its frames will be empty");
  } else if (ScreenObjects() == 0) {
    w.push_back(leaf_of(scene) + " has no object that shows a screen");
  }
  return w;
}

std::string so_load_report::Details() const {
  static const char* const outcome_words[] = {"loaded", "not found", "unreadable", "not supported"};
  std::string s = "scene " + scene + " (revision " + std::to_string(revision) + ")\n";
  for (const so_report_object& o : objects) {
    s += "  line " + std::to_string(o.line) + ": " + o.name + ": " + outcome_words[int(o.outcome)];
    if (o.outcome == so_object_outcome::loaded) {
      s += " from " + o.path + " (" + std::to_string(o.points) + " points, " + std::to_string(o.polygons) +
           " polygons, " + std::to_string(o.surfaces) + " surfaces, screen " + std::to_string(o.screen);
      for (const std::string& name : o.screen_surfaces) s += ", shows on " + name;
      s += ")";
    } else if (o.outcome == so_object_outcome::unreadable) {
      s += " " + o.path + ": " + so3d::describe(o.failure.kind) + " at byte " + std::to_string(o.failure.offset);
      if (o.failure.chunk) {
        const char id[5] = {char(o.failure.chunk >> 24), char(o.failure.chunk >> 16), char(o.failure.chunk >> 8),
                            char(o.failure.chunk), 0};
        s += std::string(" in ") + id;
      }
    } else {
      for (const std::string& t : o.tried) s += "\n    tried " + t;
    }
    s += "\n";
  }
  for (const so_report_image& i : images) s += "  image " + i.name + (i.found ? ": loaded\n" : ": not found\n");
  if (!ignored.empty()) {
    // Scene files carry many settings no transition uses: name each keyword once.
    std::vector<std::string> seen;
    for (const so_report_line& l : ignored)
      if (std::find(seen.begin(), seen.end(), l.keyword) == seen.end()) seen.push_back(l.keyword);
    s += "  " + std::to_string(ignored.size()) + " lines ignored:";
    for (std::size_t i = 0; i < seen.size() && i < 12; ++i) s += (i ? ", " : " ") + seen[i];
    s += seen.size() > 12 ? ", and " + std::to_string(seen.size() - 12) + " more keywords\n" : "\n";
  }
  s += "  " + std::to_string(lights) + " lights, camera " + (camera ? "added" : "default") + ", ambient " +
       std::to_string(ambient_intensity) + "\n";
  return s;
}
