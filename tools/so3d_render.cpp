// so3d-render: a host on the command line. Loads one scene, or two and makes
// a transition of them, feeds pictures in as screens, renders frames on the
// OpenGL ES device and writes them as PNG files.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "backends/gles/gles_device.h"
#include "platform/foundation/z_boot.h"
#include "platform/image/image_file.h"
#include "render/so_d3d_object_manager.h"
#include "render/so_d3d_scene_renderer.h"
#include "scene/so_load_options.h"
#include "scene/so_scene.h"
#include "textures/so_d3d_texture_manager.h"
#include "tools/frame_alpha.h"
#include "tools/frame_writer.h"
#include "tools/png_output.h"
#include "tools/render_options.h"
#include "tools/render_output.h"
#include "tools/screen_settings.h"
#include "tools/stream_input.h"
#include "tools/test_pictures.h"
#include "tools/video_output.h"

namespace {

using so3d::gles::GlesDevice;
using so3d::tools::RenderOptions;

constexpr int screen_count = soD3DTextureManager::screen_count;
constexpr float transition_duration = 2.0f;

// Where messages for a person go: standard error when the video goes to
// standard output.
std::FILE* info = stdout;

struct Release {
  void operator()(IUnknown* p) const {
    if (p) p->Release();
  }
};

// One screen's picture on the device.
struct Screen {
  std::unique_ptr<IDirect3DTexture9, Release> texture;
  unsigned width = 0, height = 0;
};

bool Upload(GlesDevice& device, const std::vector<std::uint8_t>& bgra, unsigned w, unsigned h, Screen& out) {
  IDirect3DTexture9* texture = nullptr;
  if (FAILED(device.CreateTexture(w, h, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture, nullptr))) return false;
  out.texture.reset(texture);
  D3DLOCKED_RECT locked{};
  if (FAILED(texture->LockRect(0, &locked, nullptr, 0))) return false;
  for (unsigned y = 0; y < h; ++y)
    std::memcpy(static_cast<std::uint8_t*>(locked.pBits) + std::size_t(y) * unsigned(locked.Pitch),
                bgra.data() + std::size_t(y) * w * 4, std::size_t(w) * 4);
  texture->UnlockRect(0);
  out.width = w;
  out.height = h;
  return true;
}

// A stream's new frame into its screen's texture (made at the stream's
// size): raw pixels through a lock, video planes converted on the device.
bool Refill(GlesDevice& device, const so3d::tools::StreamInput& stream, Screen& screen) {
  const std::vector<std::uint8_t>& frame = stream.Frame();
  if (stream.Source().format == so3d::tools::StreamFormat::y4m) {
    so3d::gles::YuvPicture picture;
    const unsigned w = screen.width, h = screen.height, cw = stream.Layout().chroma_444 ? w : (w + 1) / 2;
    const std::size_t chroma = std::size_t(cw) * (stream.Layout().chroma_444 ? h : (h + 1) / 2);
    picture.layout = stream.Layout().chroma_444 ? so3d::gles::YuvLayout::yuv444 : so3d::gles::YuvLayout::i420;
    picture.full_range = stream.Layout().full_range;
    picture.width = w, picture.height = h;
    picture.planes[0] = frame.data(), picture.strides[0] = w;
    picture.planes[1] = frame.data() + std::size_t(w) * h, picture.strides[1] = cw;
    picture.planes[2] = picture.planes[1] + chroma, picture.strides[2] = cw;
    if (FAILED(device.ConvertYuv(picture, screen.texture.get()))) {
      std::fprintf(stderr, "so3d-render: %s: %s\n", stream.Source().path.c_str(), device.LastError().c_str());
      return false;
    }
    return true;
  }
  D3DLOCKED_RECT locked{};
  if (FAILED(screen.texture->LockRect(0, &locked, nullptr, 0))) {
    std::fprintf(stderr, "so3d-render: a stream's texture cannot be written\n");
    return false;
  }
  for (unsigned y = 0; y < screen.height; ++y)
    std::memcpy(static_cast<std::uint8_t*>(locked.pBits) + std::size_t(y) * unsigned(locked.Pitch),
                frame.data() + std::size_t(y) * screen.width * 4, std::size_t(screen.width) * 4);
  screen.texture->UnlockRect(0);
  return true;
}

bool LoadPicture(GlesDevice& device, const std::string& path, Screen& out) {
  so3d::image::Picture picture;
  if (so3d::image::DecodeFile(path.c_str(), picture) != so3d::image::Status::ok) {
    std::fprintf(stderr, "so3d-render: cannot read picture %s\n", path.c_str());
    return false;
  }
  // Large photographs come down to what a texture can hold.
  constexpr std::int32_t limit = 4096;
  if (picture.width > limit || picture.height > limit) {
    const double f = double(limit) / std::max(picture.width, picture.height);
    so3d::image::Picture smaller;
    if (so3d::image::Scale(picture, std::max(1, int(picture.width * f)), std::max(1, int(picture.height * f)),
                           smaller) != so3d::image::Status::ok)
      return false;
    picture = std::move(smaller);
  }
  if (!Upload(device, picture.bgra, unsigned(picture.width), unsigned(picture.height), out)) {
    std::fprintf(stderr, "so3d-render: cannot make a texture for %s\n", path.c_str());
    return false;
  }
  return true;
}

// Loads a scene with the tool's load options and says on one line what it
// loaded. Null when the file cannot be read, or when --strict and the load
// warrants a warning (`strict_failure` is set then).
std::unique_ptr<soScene> LoadScene(soD3DObjectManager& objects, const std::string& path, const RenderOptions& o,
                                   bool& strict_failure) {
  std::unique_ptr<soScene> scene(soScene::Factory(objects.TextureManager(), objects));
  if (!scene) return nullptr;
  so_load_report report;
  so_load_options options;
  options.modern_files = !o.faithful;
  options.content_dir = o.content;
  options.report = &report;
  scene->SetLoadOptions(&options);
  if (const std::int32_t status = scene->Load(path.c_str(), objects.ObjectHandedness()); status != 0) {
    std::fprintf(stderr, "so3d-render: %s: cannot read the scene file (%s)\n", path.c_str(),
                 so3d::describe(report.failure.kind));
    return nullptr;
  }
  scene->LoadTextures();
  scene->SetLoadOptions(nullptr);
  std::fprintf(info, "%s\n", report.Summary().c_str());
  const std::vector<std::string> warnings = report.Warnings();
  for (const std::string& w : warnings) std::fprintf(stderr, "so3d-render: warning: %s\n", w.c_str());
  if (o.strict && !warnings.empty()) {
    strict_failure = true;
    return nullptr;
  }
  return scene;
}

int Run(const RenderOptions& o) {
  std::string why;
  const bool frames = o.video.empty() || o.out_given;
  if (frames && !so3d::tools::PrepareOutput(o.out, o.sheet, why)) {
    std::fprintf(stderr, "so3d-render: %s\n", why.c_str());
    return 1;
  }
  so3d::tools::ScreenSettings settings;
  if (!o.settings_file.empty() && !settings.Load(o.settings_file, why)) {
    std::fprintf(stderr, "so3d-render: %s\n", why.c_str());
    return 1;
  }
  for (const std::string& option : o.settings) {
    if (!settings.SetFromOption(option, why)) {
      std::fprintf(stderr, "so3d-render: --set %s: %s\n", option.c_str(), why.c_str());
      return 2;
    }
  }
  so3d::tools::VideoOutput video;
  so3d::tools::VideoFormat video_format{};
  if (!o.video.empty()) {
    if (!so3d::tools::ParseVideoFormat(o.video_format, video_format)) {
      std::fprintf(stderr, "so3d-render: unknown --video-format %s (y4m, y4m444, bgra or rgba)\n",
                   o.video_format.c_str());
      return 2;
    }
    if (!video.Open(o.video, video_format, o.width, o.height, unsigned(o.rate), why)) {
      std::fprintf(stderr, "so3d-render: %s\n", why.c_str());
      return 1;
    }
  }
  GlesDevice* raw_device = nullptr;
  // The frame's alpha is the pictures' coverage, so that it can be kept.
  so3d::gles::DeviceOptions device_options{o.width, o.height};
  device_options.alpha_over = true;
  if (FAILED(GlesDevice::Create(device_options, &raw_device, &why))) {
    std::fprintf(stderr, "so3d-render: no OpenGL ES 3 device: %s\n", why.c_str());
    return 1;
  }
  std::unique_ptr<GlesDevice, Release> device(raw_device);
  std::fprintf(info, "device: %ux%u on %s (%s)\n", o.width, o.height, device->Renderer().c_str(),
               device->Platform().c_str());

  std::vector<Screen> screens(screen_count);
  for (int n = 0; n < screen_count; ++n) {
    const auto given = o.screens.find(n);
    const bool ok = given != o.screens.end() ? LoadPicture(*device, given->second, screens[std::size_t(n)])
                                             : Upload(*device, so3d::tools::TestPicture(n, o.width, o.height), o.width,
                                                      o.height, screens[std::size_t(n)]);
    if (!ok) return 1;
  }

  // Streams replace their screens' pictures; each is read once per frame.
  std::vector<std::unique_ptr<so3d::tools::StreamInput>> streams;
  for (const std::string& text : o.streams) {
    so3d::tools::StreamSource source;
    if (!so3d::tools::ParseStreamSource(text, source, why)) {
      std::fprintf(stderr, "so3d-render: %s\n", why.c_str());
      return 2;
    }
    auto stream = std::make_unique<so3d::tools::StreamInput>(source);
    // A video stream's screen starts black until its first frame.
    const bool opened = stream->Open(why);
    const unsigned w = stream->Source().width, h = stream->Source().height;
    if (!opened ||
        !Upload(*device,
                source.format == so3d::tools::StreamFormat::y4m ? std::vector<std::uint8_t>(std::size_t(w) * h * 4)
                                                                : stream->Frame(),
                w, h, screens[std::size_t(source.screen)])) {
      std::fprintf(stderr, "so3d-render: %s\n",
                   why.empty() ? (source.path + ": cannot make its texture").c_str() : why.c_str());
      return 1;
    }
    streams.push_back(std::move(stream));
  }

  auto objects = std::make_unique<soD3DObjectManager>(device.get());
  auto* textures = dynamic_cast<soD3DTextureManager*>(&objects->TextureManager());
  if (!textures) {
    std::fprintf(stderr, "so3d-render: out of memory\n");
    return 1;
  }
  // Screen n is served under slot n + 1: transitions pair the objects of A
  // and B whose screen entries carry the same slot.
  so_screen_data table[screen_count];
  for (int n = 0; n < screen_count; ++n)
    table[n] = {n, n + 1, settings.given[std::size_t(n)] ? &settings.records[std::size_t(n)] : nullptr, 0};

  std::vector<std::unique_ptr<soScene>> loaded;
  bool strict_failure = false;
  for (const std::string& path : o.scenes) {
    loaded.push_back(LoadScene(*objects, path, o, strict_failure));
    if (!loaded.back()) return strict_failure ? 3 : 1;
  }
  soScene* drawn = loaded[0].get();
  std::unique_ptr<soScene> carrier;
  float from = o.from, to = o.to;
  if (loaded.size() == 2) {
    if (!o.still) {
      from = 0.0f;
      to = transition_duration;
    }
    if (!o.nest.empty()) {
      carrier = LoadScene(*objects, o.nest, o, strict_failure);
      if (!carrier) return strict_failure ? 3 : 1;
      carrier->AddSubScene(loaded[0].get(), table, so_subscene_max_screens, o.time_a, loaded[1].get(), table,
                           so_subscene_max_screens, o.time_b);
    } else {
      carrier.reset(soScene::Factory(objects->TextureManager(), *objects));
      if (!carrier) return 1;
      carrier->Interpolate(loaded[0].get(), table, screen_count, o.time_a, loaded[1].get(), table, screen_count,
                           o.time_b);
    }
    drawn = carrier.get();
  }

  soD3DSceneRenderer renderer(device.get());
  renderer.Initalize(std::int32_t(o.width), std::int32_t(o.height));
  renderer.UpdateProjectionSize(std::int32_t(o.width), std::int32_t(o.height));
  so3d::tools::ContactSheet sheet(o.width, o.height, o.columns);
  // Encoding runs beside the render loop; one core stays with the loop.
  so3d::tools::FrameWriter writer(o.width, o.height, std::max(1u, std::thread::hardware_concurrency() - 1));
  so3d::tools::Progress progress(o.frames);
  // A see-through background keeps the frame's alpha; the frame is composed
  // premultiplied, so the clear colour is too.
  const bool keep_alpha = (o.background >> 24) != 0xFF;
  const D3DCOLOR clear = so3d::tools::Premultiplied(o.background);
  int rendered = 0;
  for (int i = 0;; ++i) {
    // Past the transition's frames, --after decides; streams end a hold or loop.
    const bool running = i < o.frames;
    if (!running && o.after == "exit") break;
    bool ended = !streams.empty(), stop = false;
    for (auto& stream : streams) {
      if (stream->Next()) {
        if (!Refill(*device, *stream, screens[std::size_t(stream->Source().screen)])) return 1;
      } else if (o.stream_end == "stop") {
        stop = true;
      }
      ended = ended && stream->Ended();
    }
    if (stop || (!running && ended)) break;
    const int k = running ? i : o.after == "loop" ? i % o.frames : o.frames - 1;
    const float t = o.frames > 1 ? from + (to - from) * float(k) / float(o.frames - 1) : from;
    for (int n = 0; n < screen_count; ++n) {
      const Screen& s = screens[std::size_t(n)];
      textures->SetTexture(n + 1, n, s.texture.get(), soTextureManager::so_alpha_opaque, std::int32_t(s.width),
                           std::int32_t(s.height), 1.0f, 1.0f);
    }
    device->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, clear, 1.0f, 0);
    device->BeginScene();
    renderer.Draw(drawn, table, screen_count, t, transition_duration, 0, nullptr, 0, nullptr);
    device->EndScene();
    std::vector<std::uint8_t>& frame = writer.Acquire();
    if (FAILED(device->ReadPixels(frame.data(), std::size_t(o.width) * 4, so3d::gles::PixelOrder::rgba))) {
      std::fprintf(stderr, "so3d-render: reading frame %d back failed: %s\n", i, device->LastError().c_str());
      return 1;
    }
    so3d::tools::StraightenAlpha(frame, keep_alpha);
    if (!o.sheet.empty() && so3d::tools::ContactSheet::Shows(i, o.frames) && !sheet.Add(frame))
      std::fprintf(stderr, "so3d-render: contact sheet skips frame %d (out of memory)\n", i);
    if (!o.video.empty() && !video.Write(frame.data())) {
      std::fprintf(stderr, "so3d-render: %s: the video reader has gone or the disk is full\n", o.video.c_str());
      return 1;
    }
    if (frames) {
      writer.Submit(frame, so3d::tools::FramePath(o.out, i));
    } else {
      writer.Release(frame);
    }
    progress.Step(++rendered);
  }
  textures->UnbindAll();
  const std::string failed = writer.Finish();
  progress.Done();
  if (!failed.empty()) {
    std::fprintf(stderr, "so3d-render: %s\n", failed.c_str());
    return 1;
  }
  if (!video.Close()) {
    std::fprintf(stderr, "so3d-render: %s: the video could not be completed\n", o.video.c_str());
    return 1;
  }
  std::fprintf(info, "wrote %d frames (time %g to %g) to %s\n", rendered, double(from), double(to),
               frames ? o.out.c_str() : o.video.c_str());
  if (!o.sheet.empty()) {
    if (!sheet.Write(o.sheet)) {
      std::fprintf(stderr, "so3d-render: %s: cannot write the contact sheet\n", o.sheet.c_str());
      return 1;
    }
    std::fprintf(info, "contact sheet: %s\n", o.sheet.c_str());
  }
  // Scenes release their objects before the registry goes, and the registry
  // its buffers before the device.
  carrier.reset();
  loaded.clear();
  objects.reset();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  RenderOptions options;
  std::string error;
  if (!so3d::tools::ParseOptions(argc, argv, options, error)) {
    std::fprintf(stderr, "so3d-render: %s\n%s", error.c_str(), so3d::tools::Usage());
    return 2;
  }
  if (options.help) {
    std::printf("%s", so3d::tools::Usage());
    return 0;
  }
  if (options.version) {
    std::printf("so3d-render %s\n", SO3D_VERSION);
    return 0;
  }
  if (options.video == "-") info = stderr;
  zBoot::BootAll();
  const int status = Run(options);
  zBoot::ShutdownAll();
  return status;
}
