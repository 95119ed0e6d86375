#pragma once
// How the drawing tests start: a scene written to a scratch folder and loaded
// into a registry, a renderer sized for its frames, one frame drawn.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "fixtures/lwo_writer.h"
#include "fixtures/scene_writer.h"
#include "objects/so_object_manager.h"
#include "render/so_d3d_scene_renderer.h"
#include "scene/so_scene.h"
#include "tests/support/temp_dir.h"

namespace so3d::test {

inline std::unique_ptr<soScene> LoadScene(const TempDir& dir, soObjectManager& objects, const fixtures::SceneWriter& w,
                                          const std::string& file = "fx.lws") {
  std::unique_ptr<soScene> scene(soScene::Factory(objects.TextureManager(), objects));
  EXPECT_EQ(scene->Load(dir.Write(file, w.Text()).c_str(), objects.ObjectHandedness()), 0) << file;
  return scene;
}

inline void SizeRenderer(soD3DSceneRenderer& renderer, std::int32_t w, std::int32_t h) {
  renderer.Initalize(w, h);
  renderer.UpdateProjectionSize(w, h);
}

// Time 0 of a two-second effect, inside the device's scene as a host draws it.
inline void DrawFrame(IDirect3DDevice9& device, soD3DSceneRenderer& renderer, soScene* scene,
                      const so_screen_data* screens, std::int32_t count, D3DCOLOR background = 0xFF000000) {
  device.Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, background, 1.0f, 0);
  device.BeginScene();
  renderer.Draw(scene, screens, count, 0, 2, 0, nullptr, 0, nullptr);
  device.EndScene();
}

}  // namespace so3d::test
