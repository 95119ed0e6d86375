#include "render/so_d3d_scene_renderer.h"

#include <bit>
#include <cmath>

#include "objects/so_object.h"
#include "render/so_d3d_utils.h"

namespace {

// 27 degrees: with a camera 10 units away the view is 4.8 units high, the
// scene's frame plane.
constexpr float field_of_view = std::bit_cast<float>(0x3EF1463Au);
constexpr float near_plane = 0.1f;
constexpr float far_plane = 100.0f;

// Screens whose objects carry a nested scene in a sub-scene transition.
constexpr std::int32_t screen_scene_a = 0;
constexpr std::int32_t screen_scene_b = 1;

// Keeps the nesting count right on every way out of Draw.
class nesting_guard {
 public:
  explicit nesting_guard(std::uint32_t& depth) : depth_(depth) { ++depth_; }
  nesting_guard(const nesting_guard&) = delete;
  nesting_guard& operator=(const nesting_guard&) = delete;
  ~nesting_guard() { --depth_; }

 private:
  std::uint32_t& depth_;
};

// Where a nested scene stands: the transition's progress plus the scene's
// own position, wrapped to the 0-2 range of transitions. Computed in double
// as the time and duration may be far apart in size. A duration that is not
// positive leaves the scene at its position.
float nested_position(float time, float duration, float position) {
  const double progress = duration > 0.0f ? static_cast<double>(time) / static_cast<double>(duration) : 0.0;
  return static_cast<float>(std::fmod(progress + static_cast<double>(position), 2.0));
}

}  // namespace

soD3DSceneRenderer::soD3DSceneRenderer(IDirect3DDevice9* device) : device_(device) {}

soD3DSceneRenderer::~soD3DSceneRenderer() = default;

void soD3DSceneRenderer::Setup3DState() {
  if (!device_) return;
  IDirect3DDevice9& d = *device_;
  d.SetRenderState(D3DRS_LIGHTING, TRUE);
  d.SetRenderState(D3DRS_CULLMODE, D3DCULL_NONE);
  d.SetRenderState(D3DRS_DITHERENABLE, FALSE);
  d.SetRenderState(D3DRS_SPECULARENABLE, TRUE);
  d.SetRenderState(D3DRS_ALPHABLENDENABLE, FALSE);
  d.SetVertexShader(nullptr);
  d.SetSamplerState(0, D3DSAMP_MINFILTER, D3DTEXF_LINEAR);
  d.SetSamplerState(0, D3DSAMP_MAGFILTER, D3DTEXF_LINEAR);
  d.SetSamplerState(0, D3DSAMP_ADDRESSU, D3DTADDRESS_CLAMP);
  d.SetSamplerState(0, D3DSAMP_ADDRESSV, D3DTADDRESS_CLAMP);
  d.SetRenderState(D3DRS_DIFFUSEMATERIALSOURCE, D3DMCS_MATERIAL);
  d.SetTextureStageState(0, D3DTSS_COLOROP, D3DTOP_MODULATE);
  d.SetTextureStageState(0, D3DTSS_COLORARG1, D3DTA_TEXTURE);
  d.SetTextureStageState(0, D3DTSS_COLORARG2, D3DTA_DIFFUSE);
  d.SetTextureStageState(0, D3DTSS_ALPHAOP, D3DTOP_MODULATE);
  d.SetTextureStageState(1, D3DTSS_COLOROP, D3DTOP_MODULATE);
  d.SetTextureStageState(1, D3DTSS_COLORARG1, D3DTA_TEXTURE);
  d.SetTextureStageState(1, D3DTSS_COLORARG2, D3DTA_CURRENT);
  d.SetTextureStageState(1, D3DTSS_ALPHAOP, D3DTOP_MODULATE);
  d.SetTextureStageState(1, D3DTSS_ALPHAARG1, D3DTA_TEXTURE);
  d.SetTextureStageState(1, D3DTSS_ALPHAARG2, D3DTA_CURRENT);
}

void soD3DSceneRenderer::Initalize(std::int32_t, std::int32_t) { Setup3DState(); }

void soD3DSceneRenderer::UpdateProjectionSize(std::int32_t width, std::int32_t height) {
  if (!device_ || width <= 0 || height <= 0) return;
  D3DXMATRIX projection;
  D3DXMatrixPerspectiveFovLH(&projection, field_of_view, static_cast<float>(width) / static_cast<float>(height),
                             near_plane, far_plane);
  device_->SetTransform(D3DTS_PROJECTION, &projection);
}

void soD3DSceneRenderer::Draw(soScene* scene, const so_screen_data* screens, std::int32_t screenCount, float time,
                              float duration, std::uint32_t flags, soXIDrawingFunctions* drawingFunctions,
                              std::int32_t reserved, void* viewMatrix) {
  if (!scene || !device_) return;
  nesting_guard guard(nesting_);
  if (nesting_ > max_nesting) return;

  if (viewMatrix) {
    device_->SetTransform(D3DTS_VIEW, static_cast<const D3DMATRIX*>(viewMatrix));
  } else {
    D3DXMATRIX identity;
    D3DXMatrixIdentity(&identity);
    if (place_camera(scene, time, identity) != 0) return;
  }
  DoDepthSort(*scene, time);
  draw_objects(scene, screens, screenCount, time, duration, flags, drawingFunctions, reserved);
}

std::int32_t soD3DSceneRenderer::place_camera(soScene* scene, float time, const D3DXMATRIX& base) {
  if (!scene || !device_) return -1;
  so_vectors camera = so_default_vectors();
  if (const std::int32_t status = scene->CameraVectors(time, false, &camera); status != 0) return status;

  D3DXMATRIX view;
  if (scene->CameraHasTarget()) {
    so_vectors target = so_default_vectors();
    if (const std::int32_t status = scene->EvaluateObject(0, time, false, &target, nullptr, nullptr); status != 0)
      return status;
    const D3DXVECTOR3 eye(camera.pos.x, camera.pos.y, camera.pos.z);
    const D3DXVECTOR3 at(target.pos.x, target.pos.y, target.pos.z);
    const D3DXVECTOR3 up(0.0f, 1.0f, 0.0f);
    D3DXMatrixLookAtLH(&view, &eye, &at, &up);
    D3DXMatrixMultiply(&view, &view, &base);
  } else {
    // The inverse of the camera's placement: undo the move, then the turns
    // in the opposite order.
    D3DXMATRIX step;
    D3DXMatrixMultiply(&view, D3DXMatrixRotationZ(&step, -camera.rot.z), &base);
    D3DXMatrixMultiply(&view, D3DXMatrixRotationX(&step, -camera.rot.x), &view);
    D3DXMatrixMultiply(&view, D3DXMatrixRotationY(&step, -camera.rot.y), &view);
    D3DXMatrixMultiply(&view, D3DXMatrixTranslation(&step, -camera.pos.x, -camera.pos.y, -camera.pos.z), &view);
  }
  device_->SetTransform(D3DTS_VIEW, &view);
  return 0;
}

void soD3DSceneRenderer::draw_objects(soScene* scene, const so_screen_data* screens, std::int32_t screenCount,
                                      float time, float duration, std::uint32_t flags,
                                      soXIDrawingFunctions* drawingFunctions, std::int32_t reserved) {
  if (!scene) return;
  if (!scene->SubScenes().empty()) {
    draw_objects_sub(*scene, screens, screenCount, time, duration, flags, drawingFunctions, reserved);
    return;
  }
  for (std::uint32_t i = 0; DepthSort_ValidIndex(i); ++i) {
    const std::uint32_t index = DepthSort_ConvertIndex(i);
    soObject* object = scene->ObjectAt(index);
    if (!object) continue;

    so_vectors vectors = so_default_vectors();
    so_object_data data{};
    const auto item = static_cast<std::int32_t>(index);
    if (scene->EvaluateObject(item, time, false, &vectors, &data, nullptr) != 0) return;

    // With two exact matches the second screen draws and the first is
    // passed along as the other record.
    const zRecord* found[2] = {nullptr, nullptr};
    const std::int32_t matches = FindRecordsForScreen(screens, screenCount, data, found, 2);
    const zRecord* record = matches >= 1 ? found[matches >= 2 ? 1 : 0] : nullptr;
    const zRecord* other = matches >= 2 ? found[0] : nullptr;
    if (record && !(flags & flag_keep_transforms)) scene->EvaluateObject(item, time, false, &vectors, &data, record);

    so_tile_data tile;
    const bool tiled = (data.flags & so_object_flag_tiled) != 0;
    if (tiled) MakeTileData(tile, vectors, data, *scene);

    so_drawing_state state{};
    state.object_data = &data;
    state.opacity = vectors.trans;
    state.both_scenes = false;
    state.drawing_functions = drawingFunctions;
    state.tile_data = tiled ? &tile : nullptr;
    state.record = record;
    state.time = time;
    state.other_record = other;
    state.vectors = &vectors;
    state.device = device_;
    draw_object_with_transform(*object, vectors, state);
  }
}

void soD3DSceneRenderer::draw_objects_sub(soScene& scene, const so_screen_data* screens, std::int32_t screenCount,
                                          float time, float duration, std::uint32_t flags,
                                          soXIDrawingFunctions* drawingFunctions, std::int32_t reserved) {
  const bool both = (flags & flag_both_scenes) == flag_both_scenes;
  D3DXMATRIX scene_view;
  D3DXMatrixIdentity(&scene_view);  // kept when the device cannot report its view
  device_->GetTransform(D3DTS_VIEW, &scene_view);

  // Every record is drawn, each over all of the scene's objects; scene B
  // runs at its own position.
  for (std::size_t r = 0; r < scene.SubScenes().size(); ++r) {
    const so_subscene& record = *scene.SubScenes()[r];
    soScene* const scene_a = record.scene_a;
    soScene* const scene_b = record.scene_b;
    const float position_a = nested_position(time, duration, record.position_a);
    const float position_b = nested_position(time, duration, record.position_b);

    for (std::int32_t j = 0;; ++j) {
      so_vectors vectors = so_default_vectors();
      so_object_data data{};
      if (scene.EvaluateObject(j, time, false, &vectors, &data, nullptr) != 0) break;
      D3DXMATRIX world;
      soD3DUtils::TransformToD3DMatrix(vectors, world);

      if (data.screen == screen_scene_a || data.screen == screen_scene_b) {
        // The carrier's frame becomes the nested scene's view.
        D3DXMATRIX base;
        D3DXMatrixMultiply(&base, &world, &scene_view);
        const std::uint32_t nested_flags = flags | flag_keep_transforms;
        if (data.screen == screen_scene_a && scene_a && scene_a->HasObjects())
          Draw(scene_a, screens, screenCount, position_a, duration, nested_flags, drawingFunctions, reserved, &base);
        if (data.screen == screen_scene_b && scene_b && scene_b->HasObjects() && screenCount >= 1)
          Draw(scene_b, screens, screenCount, position_b, duration, nested_flags, drawingFunctions, reserved, &base);
        continue;
      }

      soObject* object = scene.ObjectAt(static_cast<std::uint32_t>(j));
      if (!object) continue;
      so_drawing_state state{};
      state.object_data = &data;
      state.opacity = vectors.trans;
      state.both_scenes = both;
      state.drawing_functions = drawingFunctions;
      state.tile_data = nullptr;
      state.record = nullptr;
      state.time = time;
      state.other_record = nullptr;
      state.vectors = &vectors;
      state.device = device_;
      device_->SetTransform(D3DTS_WORLD, &world);
      object->Draw(state);
    }
  }
}

void soD3DSceneRenderer::draw_object_with_transform(soObject& object, const so_vectors& vectors,
                                                    so_drawing_state& state) {
  D3DXMATRIX world;
  soD3DUtils::TransformToD3DMatrix(vectors, world);
  if (device_) device_->SetTransform(D3DTS_WORLD, &world);
  state.device = device_;
  object.Draw(state);
}
