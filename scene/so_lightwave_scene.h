#pragma once
// soLightWaveScene: the scene that soScene::Factory makes, filled from a
// LightWave scene file or by a transition. Objects and lights are numbered
// by position; every item's channels are in world space. The class is not
// exported: a host makes one with soScene::Factory and reaches it through
// soScene and the inline operations below.
#include <cstdint>
#include <memory>
#include <vector>

#include "base/so_read_error.h"
#include "scene/so_load_options.h"
#include "scene/so_scene.h"

class soLightWaveScene : public soScene {
 public:
  // Longest scene-file line, and longest scene path, without the zero.
  static constexpr std::size_t max_line_length = 1022;
  static constexpr std::size_t max_path_length = 2047;

  // The initial state of Factory: default camera at (0, 0, -10), white
  // ambient light of intensity 0.25, one distant light. Throws
  // std::bad_alloc when memory is short (Factory turns that into null).
  soLightWaveScene(soTextureManager& textures, soObjectManager& objects);
  soLightWaveScene(const soLightWaveScene&) = delete;
  ~soLightWaveScene() override;

  // Copies items, lights, camera and ambient channels of `other` (when it
  // is a soLightWaveScene), counting object references again.
  const soScene& operator=(const soScene& other) override;
  soLightWaveScene& operator=(const soLightWaveScene& other) {
    operator=(static_cast<const soScene&>(other));
    return *this;
  }

  const char* ScenePath() override { return path_; }
  bool IsLoaded() override { return loaded_; }
  // Why the last Load stopped early (kind none when it read every line).
  const so3d::read_failure& ReadFailure() const { return read_failure_; }
  std::int32_t TileObject(const so_object_data& data, so_vectors& v) override;
  void RemoveObject(std::int32_t index) override;
  std::int32_t Load(const char* path, std::int32_t handedness) override;
  void LoadTextures() override;
  std::uint32_t ObjectCount() override { return static_cast<std::uint32_t>(object_refs_.size()); }
  bool HasObjects() override { return !object_refs_.empty(); }
  void DepthSort(so_depth_entry* entries, std::uint32_t count, float time) override;
  soObject* ObjectAt(std::uint32_t index) override;
  std::int32_t CameraVectors(float time, bool set, so_vectors* v) override;
  std::int32_t AmbientLight(float time, bool set, float* intensity, so_vector3* color) override;
  std::int32_t LightVectors(std::int32_t index, float time, bool set, so_vectors* v, so_light_data* d) override;
  std::int32_t EvaluateObject(std::int32_t index, float time, bool set, so_vectors* v, so_object_data* d,
                              const zRecord* r) override;
  void SetObjectEval(std::int32_t index, so_channel_eval fn, std::int32_t channel) override;
  bool CameraHasTarget() override { return camera_target_ >= 0; }
  float FrameWidth() override;
  float FrameHeight() override;
  void DefaultCameraVectors(so_vectors& v) override;
  std::int32_t AddObject(soObject* object) override;
  std::int32_t AddLight() override;

  // Lights: the range of LightVectors' `index`.
  std::uint32_t LightCount() const { return static_cast<std::uint32_t>(lights_.size()); }

 private:
  friend class soScene;
  // Drops every object without giving references back: the registry that
  // held them is being destroyed.
  void forget_objects();

  // Scene-file reading (so_scene_file.cpp).
  std::int32_t read_file(const char* path, std::int32_t handedness);
  void parse_line(const char* line, std::int32_t handedness);
  void load_object_layer(const char* line, std::int32_t handedness);
  // Registers, loads and adds the object `name` as a new item; nothing is
  // added when it does not load.
  void add_object(const char* name, std::int32_t handedness, bool modern);

  // The opt-in extensions and the load report (so_scene_extensions.cpp).
  so_load_report* report() const;
  // LoadObjectLayer with or without an item id, and LoadObject; names may
  // hold spaces; more places are tried (scene folder, content folder).
  void load_object_modern(const char* line, std::int32_t handedness);
  // Loads `name` into `object` from the first candidate path that works and
  // notes every try in `entry` (may be null). True when loaded.
  bool load_from_candidates(soObject& object, const char* name, std::int32_t handedness, bool modern,
                            so_report_object* entry);
  void note_ignored(const char* line);
  void note_screen(const so_scene_item* item, std::int32_t screen);
  void resolve_item_id(const char* line);
  void key_behaviours(const char* line);
  void finish_report(so_load_report& report) const;
  // After the faithful rules: the opt-in places for image `id` (unless
  // `found` already), and its line in the report.
  void load_texture_elsewhere(std::int32_t id, bool found);
  void key_pivot(const char* line);
  void key_channel(const char* line);

  so_scene_item* item_at(std::int32_t index) const;
  so_scene_item* light_at(std::int32_t index) const;
  // Frees items and lights and gives every object reference back.
  void clear();
  void key_ambient_default();

  char line_[max_line_length + 2] = {};
  char path_[max_path_length + 1] = {};
  std::vector<soObject*> object_refs_;                 // one registry count each
  std::vector<std::unique_ptr<so_scene_item>> items_;  // parallel to object_refs_
  std::vector<std::unique_ptr<so_scene_item>> lights_;
  std::int32_t channel_count_ = 0;
  std::int32_t current_channel_ = 0;
  std::int32_t camera_target_ = -1;
  std::unique_ptr<so_scene_item> ambient_;
  so_scene_item* current_ = nullptr;  // item the file lines describe
  std::unique_ptr<so_scene_item> camera_;
  bool loaded_ = false;
  so3d::read_failure read_failure_;
  std::int32_t revision_ = 0;        // the file's second line
  std::int32_t line_number_ = 0;     // of the line being parsed
  std::int32_t report_object_ = -1;  // the report entry of the current item
};
