#include "plugins/gstreamer/transition_renderer.h"

#include <algorithm>
#include <cstring>

#include "render/so_d3d_object_manager.h"
#include "render/so_d3d_scene_renderer.h"
#include "scene/so_load_options.h"
#include "scene/so_scene.h"
#include "textures/so_d3d_texture_manager.h"

namespace so3d::gst {

struct TransitionRenderer::Screen {
  IDirect3DTexture9* texture = nullptr;
  unsigned width = 0, height = 0;
  ~Screen() {
    if (texture) texture->Release();
  }
};

TransitionRenderer::TransitionRenderer() = default;
TransitionRenderer::~TransitionRenderer() { Close(); }

void TransitionRenderer::Close() {
  if (objects_) objects_->D3DTextureManager().UnbindAll();
  drawn_ = nullptr;
  composite_.reset();
  scene_.reset(), a_.reset(), b_.reset();
  renderer_.reset();
  objects_.reset();
  screens_.clear();
  if (device_) device_->Release();
  device_ = nullptr;
}

std::unique_ptr<soScene> TransitionRenderer::load(const std::string& path, std::string& why,
                                                  std::vector<std::string>& warnings) {
  std::unique_ptr<soScene> scene(soScene::Factory(objects_->TextureManager(), *objects_));
  if (!scene) return why = "out of memory", nullptr;
  so_load_report report;
  so_load_options options;
  options.modern_files = true;
  options.content_dir = files_.content_dir;
  options.report = &report;
  scene->SetLoadOptions(&options);
  if (scene->Load(path.c_str(), objects_->ObjectHandedness()) != 0) {
    why = path + ": cannot read the scene file (" + so3d::describe(report.failure.kind) + ")";
    return nullptr;
  }
  scene->LoadTextures();
  scene->SetLoadOptions(nullptr);
  for (const std::string& w : report.Warnings()) warnings.push_back(w);
  return scene;
}

bool TransitionRenderer::Open(const EffectFiles& files, unsigned width, unsigned height, std::string& why,
                              std::vector<std::string>& warnings) {
  Close();
  const bool single = !files.scene.empty(), pair = !files.a.empty() && !files.b.empty();
  if (single == pair) {
    why = "give either scene, or scene-a and scene-b (with carrier to nest them)";
    return false;
  }
  gles::DeviceOptions options{width, height};
  options.alpha_over = true;
  if (FAILED(gles::GlesDevice::Create(options, &device_, &why))) {
    why = "no OpenGL ES 3 device: " + why;
    return false;
  }
  width_ = width, height_ = height;
  files_ = files;
  given_.fill(false);
  settings_version_ = 0;
  objects_ = std::make_unique<soD3DObjectManager>(device_);
  renderer_ = std::make_unique<soD3DSceneRenderer>(device_);
  renderer_->Initalize(std::int32_t(width), std::int32_t(height));
  renderer_->UpdateProjectionSize(std::int32_t(width), std::int32_t(height));
  for (int n = 0; n < screen_count; ++n) screens_.push_back(std::make_unique<Screen>());
  const bool loaded = single ? (scene_ = load(files.scene, why, warnings)) != nullptr
                             : (a_ = load(files.a, why, warnings)) && (b_ = load(files.b, why, warnings));
  if (!loaded || !compose(why, &warnings)) {
    Close();
    return false;
  }
  device_->ReleaseContext();
  return true;
}

bool TransitionRenderer::compose(std::string& why, std::vector<std::string>* warnings) {
  so_screen_data table[screen_count];
  for (int n = 0; n < screen_count; ++n)
    table[n] = {n, n + 1, given_[std::size_t(n)] ? &records_[std::size_t(n)] : nullptr, 0};
  drawn_ = nullptr;
  composite_.reset();
  if (scene_) {
    drawn_ = scene_.get();
    return true;
  }
  std::vector<std::string> unused;  // a carrier made again says nothing new
  if (files_.carrier.empty()) {
    composite_.reset(soScene::Factory(objects_->TextureManager(), *objects_));
    if (!composite_ || composite_->Interpolate(a_.get(), table, screen_count, 0, b_.get(), table, screen_count, 0) != 0)
      return why = "the transition could not be made (out of memory)", false;
  } else {
    composite_ = load(files_.carrier, why, warnings ? *warnings : unused);
    if (!composite_) return false;
    composite_->AddSubScene(a_.get(), table, so_subscene_max_screens, 0, b_.get(), table, so_subscene_max_screens, 0);
  }
  drawn_ = composite_.get();
  return true;
}

bool TransitionRenderer::refill(Screen& screen, const ScreenPicture& p, std::string& why) {
  if (!screen.texture || screen.width != p.width || screen.height != p.height) {
    if (screen.texture) {
      objects_->D3DTextureManager().UnbindAll();
      screen.texture->Release();
      screen.texture = nullptr;
    }
    if (FAILED(device_->CreateTexture(p.width, p.height, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &screen.texture,
                                      nullptr))) {
      why = "no texture for a " + std::to_string(p.width) + " x " + std::to_string(p.height) + " picture";
      return false;
    }
    screen.width = p.width, screen.height = p.height;
  }
  if (p.format == PixelFormat::i420 || p.format == PixelFormat::nv12) {
    gles::YuvPicture yuv;
    yuv.layout = p.format == PixelFormat::nv12 ? gles::YuvLayout::nv12 : gles::YuvLayout::i420;
    yuv.matrix = p.height > 576 ? gles::YuvMatrix::bt709 : gles::YuvMatrix::bt601;
    yuv.width = p.width, yuv.height = p.height;
    for (int i = 0; i < 3; ++i) yuv.planes[i] = p.planes[i], yuv.strides[i] = p.strides[i];
    if (FAILED(device_->ConvertYuv(yuv, screen.texture))) return why = device_->LastError(), false;
    return true;
  }
  D3DLOCKED_RECT locked{};
  if (FAILED(screen.texture->LockRect(0, &locked, nullptr, 0)))
    return why = "a screen texture cannot be written", false;
  const std::size_t row = std::size_t(p.width) * 4;
  for (unsigned y = 0; y < p.height; ++y) {
    auto* dst = static_cast<std::uint8_t*>(locked.pBits) + std::size_t(y) * std::size_t(locked.Pitch);
    const std::uint8_t* src = p.planes[0] + std::size_t(y) * p.strides[0];
    std::memcpy(dst, src, row);
    if (p.format == PixelFormat::rgba)
      for (std::size_t x = 0; x < row; x += 4) std::swap(dst[x], dst[x + 2]);
  }
  screen.texture->UnlockRect(0);
  return true;
}

bool TransitionRenderer::Draw(const std::vector<ScreenPicture>& pictures, std::uint64_t settings_version,
                              float position, std::uint8_t* out, std::size_t pitch, bool rgba_out, std::string& why) {
  if (!device_) return why = "the effect is not open", false;
  bool drawn = true;
  if (settings_version != settings_version_) {
    given_.fill(false);
    for (const ScreenPicture& p : pictures) {
      if (p.screen < 0 || p.screen >= screen_count || !p.settings) continue;
      records_[std::size_t(p.screen)] = *p.settings;
      given_[std::size_t(p.screen)] = true;
    }
    settings_version_ = settings_version;
    drawn = compose(why);
  }
  so_screen_data table[screen_count];
  for (int n = 0; n < screen_count; ++n)
    table[n] = {n, n + 1, given_[std::size_t(n)] ? &records_[std::size_t(n)] : nullptr, 0};
  for (const ScreenPicture& p : pictures) {
    if (!drawn) break;
    if (p.screen >= 0 && p.screen < screen_count) drawn = refill(*screens_[std::size_t(p.screen)], p, why);
  }
  if (drawn) {
    soD3DTextureManager& textures = objects_->D3DTextureManager();
    for (int n = 0; n < screen_count; ++n) {
      const Screen& s = *screens_[std::size_t(n)];
      if (s.texture)
        textures.SetTexture(n + 1, n, s.texture, soTextureManager::so_alpha_opaque, std::int32_t(s.width),
                            std::int32_t(s.height), 1.0f, 1.0f);
    }
    device_->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, 0xFF000000, 1.0f, 0);
    device_->BeginScene();
    renderer_->Draw(drawn_, table, screen_count, std::clamp(position, 0.0f, 2.0f), 2.0f, 0, nullptr, 0, nullptr);
    device_->EndScene();
    if (FAILED(device_->ReadPixels(out, pitch, rgba_out ? gles::PixelOrder::rgba : gles::PixelOrder::bgra))) {
      why = "reading the frame back failed";
      drawn = false;
    }
  }
  device_->ReleaseContext();
  return drawn;
}

}  // namespace so3d::gst
