#pragma once
// soScene: the animated content of one effect (camera, ambient light,
// lights, objects with seventeen channels each) as the host and the renderer
// see it. soScene::Factory makes the only concrete scene, soLightWaveScene.
//
// The order of the virtual operations is part of the exported interface.
// Results: 0 success, -1 no such item; set/get pairs take `bool set`: set
// writes keys at the given time, get evaluates.
#include <cstdint>
#include <memory>
#include <vector>

#include "base/so3d_export.h"
#include "base/so_envelope.h"
#include "base/so_records.h"
#include "objects/so_object_manager.h"
#include "scene/so_scene_item.h"

class soObject;
class soObjectManager;
class soTextureManager;
class zRecord;

// One drawing-order entry: the renderer draws entries in array order.
struct so_depth_entry {
  float depth;
  std::uint32_t index;
};

// The screen entries a sub-scene record keeps per side.
inline constexpr std::int32_t so_subscene_max_screens = 5;

// A pair of scenes drawn inside the objects of a transition scene that show
// screens 0 (scene A) and 1 (scene B). The scenes are not owned.
struct so_subscene {
  class soScene* scene_a;
  class soScene* scene_b;
  so_screen_data screens_a[so_subscene_max_screens];
  so_screen_data screens_b[so_subscene_max_screens];
  std::int32_t count_a;
  std::int32_t count_b;
  float position_a;  // scene time of A; also offsets the nested drawing time
  float position_b;
};

class SO3D_API soScene {
 public:
  // A new soLightWaveScene with its default camera, ambient light and one
  // distant light; null when memory is short.
  static soScene* Factory(soTextureManager& textures, soObjectManager& objects);

  soScene(soTextureManager& textures, soObjectManager& objects);
  // Takes the registries and the interpolation count; the copy starts with
  // no sub-scenes of its own.
  soScene(const soScene& other);
  virtual ~soScene();

  virtual const soScene& operator=(const soScene& other);
  virtual const char* ScenePath() = 0;
  virtual bool IsLoaded() = 0;
  // Steps a tiled object to its next copy; -1 once it has left the frame.
  // Here: -1 (no tiling).
  virtual std::int32_t TileObject(const so_object_data& data, so_vectors& v);
  virtual void RemoveObject(std::int32_t index) = 0;
  // Reads a scene file; 0, or the file stream's error unchanged.
  virtual std::int32_t Load(const char* path, std::int32_t handedness) = 0;
  // Uploads every registered image, resolved against the scene's path.
  virtual void LoadTextures() = 0;
  virtual std::uint32_t ObjectCount() = 0;
  virtual bool HasObjects() = 0;
  // Fills the first `count` entries with the drawing order (last loaded
  // object first). `time` is not used.
  virtual void DepthSort(so_depth_entry* entries, std::uint32_t count, float time) = 0;
  virtual soObject* ObjectAt(std::uint32_t index) = 0;
  virtual std::int32_t CameraVectors(float time, bool set, so_vectors* v) = 0;
  virtual std::int32_t AmbientLight(float time, bool set, float* intensity, so_vector3* color) = 0;
  virtual std::int32_t LightVectors(std::int32_t index, float time, bool set, so_vectors* v,
                                    so_light_data* d) = 0;
  // The object's channels at `time` (get) or keys at `time` (set), with the
  // settings record `r` applied unless null or the scene was interpolated.
  // `d` (may be null) receives or gives the object data. -1 past the end,
  // with nothing touched.
  virtual std::int32_t EvaluateObject(std::int32_t index, float time, bool set, so_vectors* v,
                                      so_object_data* d, const zRecord* r) = 0;
  virtual void SetObjectEval(std::int32_t index, so_channel_eval fn, std::int32_t channel) = 0;
  virtual bool CameraHasTarget() = 0;
  virtual float FrameWidth() = 0;
  virtual float FrameHeight() = 0;
  virtual void DefaultCameraVectors(so_vectors& v) = 0;
  virtual std::int32_t AddObject(soObject* object) = 0;
  virtual std::int32_t AddLight() = 0;

  soObjectManager& ObjectManager() const { return objects_; }
  soTextureManager& TextureManager() const { return textures_; }
  std::int32_t InterpolationCount() const { return interpolations_; }

  // Forwarded to the object registry.
  std::int32_t FindObject(const char* name, soObject** out);
  std::int32_t ReleaseObject(soObject* object);
  // 0 for null, -1 for an object the registry does not know, else the
  // count before adding one.
  std::int32_t ReferenceObject(soObject* object);

  // Transitions: fill this scene with a morph from A at tA to B at tB on the
  // time range 0 to 2. Returns 0.
  std::int32_t Interpolate(soScene* a, so_screen_data* screens_a, std::int32_t count_a, float ta, soScene* b,
                           so_screen_data* screens_b, std::int32_t count_b, float tb);
  // Records A and B as sub-scenes (at most 5 screen entries per side are
  // kept) and pins each one's objects at its scene time.
  void AddSubScene(soScene* a, so_screen_data* screens_a, std::int32_t count_a, float ta, soScene* b,
                   so_screen_data* screens_b, std::int32_t count_b, float tb);
  std::int32_t SubSceneInfo(std::uint32_t index, soScene** a, soScene** b, float* ta, float* tb);
  bool IsSubSceneTransition() const { return !subscenes_.empty(); }
  // The sub-scene records, in the order they were added.
  const std::vector<std::unique_ptr<so_subscene>>& SubScenes() const { return subscenes_; }

 protected:
  void add_interpolation() { ++interpolations_; }

 private:
  void build_action(bool in, so_vectors& v, std::int32_t index, const zRecord* r, so_object_data* d);
  void build_in(so_vectors& v, std::int32_t index, const zRecord* r, so_object_data* d);
  void build_out(so_vectors& v, std::int32_t index, const zRecord* r, so_object_data* d);
  void build_in_both_scenes(so_vectors& start, so_vectors& end, std::int32_t index, const zRecord* r_start,
                            const zRecord* r_end, so_object_data* d);
  void set_build_object_eval(std::int32_t index, so_channel_eval fn);
  void map_subscene_screens(soScene& s, float t, so_screen_data* screens, std::int32_t count);

  // Called by the object registry when it dies before this scene.
  static void registry_gone(void* scene);

  soTextureManager& textures_;
  soObjectManager& objects_;
  // Attached to objects_ while both live.
  so_registry_holder registry_holder_{&soScene::registry_gone, this};
  bool registry_alive_ = false;
  std::int32_t interpolations_ = 0;
  std::vector<std::unique_ptr<so_subscene>> subscenes_;
};
