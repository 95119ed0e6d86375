#pragma once
// soScene: the animated content of one effect (camera, ambient light,
// lights, objects with seventeen channels each) as the host and the renderer
// see it. soScene::Factory makes the only concrete scene, soLightWaveScene.
//
// The order of the virtual operations is part of the exported interface.
// Results: 0 success, -1 no such item; set/get pairs take `bool set`: set
// writes keys at the given time, get evaluates.
//
// Ownership: the host deletes the scenes it makes. A scene holds a reference
// on its texture registry and one registry reference on each object it
// contains, given back when it is destroyed; should the object registry be
// destroyed first, the scene drops its objects unreleased and from then on
// holds and finds none. Not locked: one caller at a time.
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
struct so_load_options;
class zRecord;

// One drawing-order entry: the renderer draws entries in array order.
struct so_depth_entry {
  float depth;          // sort key: greater depths draw first
  std::uint32_t index;  // object item
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
  // distant light, owned by the caller (delete it); null when memory is
  // short. `objects` is normally the registry whose TextureManager() is
  // `textures`.
  static soScene* Factory(soTextureManager& textures, soObjectManager& objects);

  // Adds a reference to `textures` and attaches to `objects` (see above).
  soScene(soTextureManager& textures, soObjectManager& objects);
  // Takes the registries and the interpolation count; the copy starts with
  // no sub-scenes of its own.
  soScene(const soScene& other);
  // Detaches from the object registry (if it still lives) and gives back the
  // texture registry's reference; derived scenes first release their objects.
  virtual ~soScene();

  // Copies the other's texture registry entries when the registries differ;
  // a derived scene also copies its content.
  virtual const soScene& operator=(const soScene& other);
  // The path of the last Load that accepted one; "" before. Owned by the
  // scene.
  virtual const char* ScenePath() = 0;
  // True once Load has been called, whether or not the file could be read.
  virtual bool IsLoaded() = 0;
  // Steps a tiled object to its next copy; -1 once it has left the frame.
  // Here: -1 (no tiling).
  virtual std::int32_t TileObject(const so_object_data& data, so_vectors& v);
  // Removes object item `index` and gives back its object's reference; later
  // items move down one. An index out of range is ignored.
  virtual void RemoveObject(std::int32_t index) = 0;
  // Reads a scene file, loading its objects through the object registry with
  // `handedness` (the registry's ObjectHandedness()) and adding them after
  // any items present; the file's lights replace the scene's once the file
  // is read. 0, also when the reading stops early on a damaged file (what
  // was read stays); else the file stream's error unchanged (negative; -1
  // for a null path or one too long).
  virtual std::int32_t Load(const char* path, std::int32_t handedness) = 0;
  // Uploads every registered image, resolved against the scene's path. An
  // image that does not load is left without a texture.
  virtual void LoadTextures() = 0;
  // Object items: the range of the `index` arguments below.
  virtual std::uint32_t ObjectCount() = 0;
  virtual bool HasObjects() = 0;
  // Fills the first `count` entries with the drawing order (last loaded
  // object first). `time` is not used.
  virtual void DepthSort(so_depth_entry* entries, std::uint32_t count, float time) = 0;
  // The object of item `index`, owned by the registry and counted by the
  // scene; no reference is added for the caller. Null past the end.
  virtual soObject* ObjectAt(std::uint32_t index) = 0;
  // The camera's channels. -1 for a null `v`.
  virtual std::int32_t CameraVectors(float time, bool set, so_vectors* v) = 0;
  // The ambient light: intensity, and colour as (r, g, b) in x, y, z. -1 when
  // either pointer is null.
  virtual std::int32_t AmbientLight(float time, bool set, float* intensity, so_vector3* color) = 0;
  // Light `index`'s channels and its type, colour, intensity and cone (set
  // stores `d`, get copies it out). -1 past the lights or for a null pointer.
  virtual std::int32_t LightVectors(std::int32_t index, float time, bool set, so_vectors* v, so_light_data* d) = 0;
  // The object's channels at `time` (get) or keys at `time` (set), with the
  // settings record `r` applied unless null or the scene was interpolated.
  // `d` (may be null) receives or gives the object data. -1 past the end,
  // with nothing touched.
  virtual std::int32_t EvaluateObject(std::int32_t index, float time, bool set, so_vectors* v, so_object_data* d,
                                      const zRecord* r) = 0;
  // Puts remapper `fn` (null removes it) on one channel of object item
  // `index`; an unknown item or channel is ignored.
  virtual void SetObjectEval(std::int32_t index, so_channel_eval fn, std::int32_t channel) = 0;
  // Whether the scene file aimed the camera at an item; the renderer then
  // points the view at object item 0.
  virtual bool CameraHasTarget() = 0;
  // The frame plane in scene units (soFrameWidth, soFrameHeight).
  virtual float FrameWidth() = 0;
  virtual float FrameHeight() = 0;
  // Writes the camera placement of a new scene: (0, 0, -10), no rotation,
  // unit scale, opaque, no offset. The crop is left as passed.
  virtual void DefaultCameraVectors(so_vectors& v) = 0;
  // Appends an object item with no keys showing `object` (null: an empty
  // item), which gains a registry reference held by the scene. An object the
  // registry does not know is kept uncounted and must outlive the scene.
  // The new index, or -1 when memory is short (nothing added).
  virtual std::int32_t AddObject(soObject* object) = 0;
  // Appends a light with no keys and type 0; its index, or -1 when memory is
  // short.
  virtual std::int32_t AddLight() = 0;

  // The registries given at construction. The object registry must not be
  // used once it is destroyed (see above).
  soObjectManager& ObjectManager() const { return objects_; }
  // Opt-in loading extensions and the load report (scene/so_load_options.h);
  // kept by pointer until replaced, null for the faithful reading. A copy
  // of the scene starts without them.
  void SetLoadOptions(const so_load_options* options) { load_options_ = options; }
  const so_load_options* LoadOptions() const { return load_options_; }
  soTextureManager& TextureManager() const { return textures_; }
  // Interpolate calls made on this scene; once non-zero, EvaluateObject no
  // longer applies settings records (the keys already hold them).
  std::int32_t InterpolationCount() const { return interpolations_; }

  // Forwarded to the object registry while it lives; once it is gone
  // FindObject fails (-1, *out null) and ReleaseObject returns 0.
  std::int32_t FindObject(const char* name, soObject** out);
  std::int32_t ReleaseObject(soObject* object);
  // 0 for null, -1 for an object the registry does not know (or once the
  // registry is gone), else the count before adding one.
  std::int32_t ReferenceObject(soObject* object);

  // Transitions: fill this scene with a morph from A at tA to B at tB on the
  // time range 0 to 2: camera, ambient light and the lights both scenes have
  // are keyed at 0 and 2; objects whose matched screen entries share a slot
  // move from A's placement to B's, the others of A build out and of B build
  // in (as their records' so_id_build_in_out say), with each entry's record
  // applied into the keys. Objects without a screen entry are left out. The
  // scene takes a reference on every object it adds; A, B, the arrays and
  // their records are only read during the call. With A or B null nothing is
  // added. Returns 0.
  std::int32_t Interpolate(soScene* a, so_screen_data* screens_a, std::int32_t count_a, float ta, soScene* b,
                           so_screen_data* screens_b, std::int32_t count_b, float tb);
  // Records A and B as sub-scenes (at most 5 screen entries per side are
  // kept) and pins each one's objects at its scene time, rewriting their
  // keys. A and B are not owned: they must outlive every draw of this scene.
  // When memory is short nothing is recorded or pinned.
  void AddSubScene(soScene* a, so_screen_data* screens_a, std::int32_t count_a, float ta, soScene* b,
                   so_screen_data* screens_b, std::int32_t count_b, float tb);
  // The scenes and positions of sub-scene record `index`; each pointer may
  // be null. -1 past the end.
  std::int32_t SubSceneInfo(std::uint32_t index, soScene** a, soScene** b, float* ta, float* tb);
  // True once AddSubScene recorded a pair: the renderer then draws the
  // sub-scenes inside this scene's objects.
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
  const so_load_options* load_options_ = nullptr;
  std::int32_t interpolations_ = 0;
  std::vector<std::unique_ptr<so_subscene>> subscenes_;
};
