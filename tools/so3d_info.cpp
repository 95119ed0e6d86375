// so3d-info: what a file holds and what loading it did. With no file, boots
// the library as a host would and prints what it registered.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "backends/null/null_device.h"
#include "backends/recording/recording_device.h"
#include "module/so3d.h"
#include "objects/lightwave/so_lwo_file.h"
#include "objects/lightwave/so_lwo_nested.h"
#include "platform/foundation/z_string_id.h"
#include "scene/so_load_options.h"

namespace {

const char* const usage =
    "usage: so3d-info [options] [FILE...]\n"
    "  Scene files (.lws): every object line (where it was found, or every path tried, and why it\n"
    "  did not load), images, ignored lines, lights and camera. Object files: layers, surfaces,\n"
    "  bounds, or why the file does not load. No file: what the library registers at boot.\n"
    "options:\n"
    "  --faithful     read scenes as the faithful reader does (no later revisions, no content folder)\n"
    "  --content DIR  content folder for object and image names (Objects/, Images/ under it)\n"
    "  --trace T      draw scene A (or the morph of A into B) at time T (0 to 2) on a recording\n"
    "                 device and print every device call the frame makes, in order\n"
    "  --help\n"
    "examples:\n"
    "  so3d-info fx/intro.lws\n"
    "  so3d-info --content ~/effects fx/intro.lws cube.lwo\n"
    "  so3d-info --trace 1.0 fx/a.lws fx/b.lws\n"
    "exit status: 0, 1 when a file does not load, 2 for bad arguments\n";

std::string four(std::uint32_t code) { return {char(code >> 24), char(code >> 16), char(code >> 8), char(code)}; }

void print_registrations() {
  zBoot::BootAll();
  std::printf("module code 0x%08X '%s', booted %s\n", unsigned(so_module_code), four(so_module_code).c_str(),
              zBoot::IsBooted(so_module_code) ? "yes" : "no");
  std::printf("settings-record names:\n");
  const std::uint32_t ids[] = {so_id_build_in_out, so_id_pos,         so_id_rot,       so_id_scale,
                               so_id_rot_off,      so_id_trans,       so_id_draw_mode, so_id_scroll_pos,
                               so_id_crop_rect,    so_id_border_decor};
  for (std::uint32_t id : ids)
    std::printf("  '%s' 0x%08X  %s\n", four(id).c_str(), id,
                zStringID::Default()->Name(static_cast<std::int32_t>(id)).c_str());
}

bool print_object(const char* path, bool modern) {
  const so3d::lwo::modern_forms_scope forms(modern);
  so3d::read_failure failure;
  std::unique_ptr<so_lwo_file, void (*)(so_lwo_file*)> file(so_lwo_load(path, &failure), so_lwo_release);
  if (!file) {
    std::printf("%s: does not load: %s at byte %llu%s\n", path, so3d::describe(failure.kind),
                static_cast<unsigned long long>(failure.offset),
                failure.chunk ? (" in " + four(failure.chunk)).c_str() : "");
    return false;
  }
  std::printf("%s: %zu layers, %zu surfaces, %zu clips, %zu envelopes\n", path, file->layers.size(),
              file->surfaces.size(), file->clips.size(), file->envelopes.size());
  for (const auto& layer : file->layers) {
    const float* b = layer->bounds;
    std::printf("  layer \"%s\": %zu points, %zu polygons, bounds (%g %g %g) to (%g %g %g)\n", layer->name.c_str(),
                layer->points.size(), layer->polygons.size(), b[0], b[1], b[2], b[3], b[4], b[5]);
  }
  for (const auto& surface : file->surfaces) {
    if (!surface) continue;
    const bool screen =
        surface->name == "One" || surface->name == "Two" || surface->name == "Three" || surface->name == "Four";
    const float* c = surface->color.rgb;
    std::printf("  surface \"%s\": colour (%.3g %.3g %.3g)%s\n", surface->name.c_str(), c[0], c[1], c[2],
                screen ? ", shows a screen" : "");
  }
  for (const auto& clip : file->clips)
    if (clip) std::printf("  image %s\n", clip->file_name.c_str());
  return true;
}

bool print_scene(const char* path, const so_load_options& base) {
  so3d::backend::NullDevice* device = new so3d::backend::NullDevice;
  bool ok = false;
  {
    soD3DObjectManager objects(device);
    std::unique_ptr<soScene> scene(soScene::Factory(objects.TextureManager(), objects));
    so_load_report report;
    so_load_options options = base;
    options.report = &report;
    if (scene) {
      scene->SetLoadOptions(&options);
      const std::int32_t status = scene->Load(path, objects.ObjectHandedness());
      if (status != 0) {
        std::printf("%s: cannot read the scene file (%s)\n", path, so3d::describe(report.failure.kind));
      } else {
        scene->LoadTextures();
        std::printf("%s%s\n", report.Details().c_str(), report.Summary().c_str());
        for (const std::string& w : report.Warnings()) std::printf("warning: %s\n", w.c_str());
        ok = report.Count(so_object_outcome::loaded) > 0;
      }
    }
  }
  device->Release();
  return ok;
}

// One frame of A, or of the morph of A into B, on the recording device; every
// call it makes is printed. Screens 0 and 1 get 16 × 16 textures of the device.
bool print_trace(float time, const std::vector<std::string>& scenes, const so_load_options& base) {
  so3d::backend::RecordingDevice device;
  bool ok = true;
  {
    soD3DObjectManager objects(&device);
    so_load_options options = base;
    std::vector<std::unique_ptr<soScene>> loaded;
    for (const std::string& path : scenes) {
      loaded.emplace_back(soScene::Factory(objects.TextureManager(), objects));
      if (!loaded.back()) return false;
      loaded.back()->SetLoadOptions(&options);
      if (loaded.back()->Load(path.c_str(), objects.ObjectHandedness()) != 0) {
        std::printf("%s: cannot read the scene file\n", path.c_str());
        return false;
      }
      loaded.back()->LoadTextures();
    }
    so_screen_data screens[] = {{0, 1, nullptr, 0}, {1, 2, nullptr, 0}};
    soScene* drawn = loaded[0].get();
    std::unique_ptr<soScene> morph;
    if (loaded.size() > 1) {
      morph.reset(soScene::Factory(objects.TextureManager(), objects));
      if (!morph) return false;
      morph->Interpolate(loaded[0].get(), screens, 2, 0, loaded[1].get(), screens, 2, 0);
      drawn = morph.get();
    }
    IDirect3DTexture9* pictures[2] = {};
    for (int n = 0; n < 2; ++n) {
      device.CreateTexture(16, 16, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &pictures[n], nullptr);
      objects.D3DTextureManager().SetTexture(n + 1, n, pictures[n], soTextureManager::so_alpha_opaque, 16, 16, 1, 1);
    }
    soD3DSceneRenderer renderer(&device);
    renderer.Initalize(720, 480);
    renderer.UpdateProjectionSize(720, 480);
    device.ClearLog();
    renderer.Draw(drawn, screens, 2, time, 2.0f, 0, nullptr, 0, nullptr);
    for (const std::string& call : device.Log()) std::printf("%s\n", call.c_str());
    std::printf("%zu calls\n", device.Calls().size());
    objects.D3DTextureManager().UnbindAll();
    for (IDirect3DTexture9* p : pictures)
      if (p) p->Release();
    ok = drawn->ObjectCount() > 0;
  }
  return ok;
}

bool ends_with(const std::string& s, const char* suffix) {
  const std::size_t n = std::strlen(suffix);
  return s.size() >= n && strcasecmp(s.c_str() + s.size() - n, suffix) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  so_load_options options;
  options.modern_files = true;
  std::vector<std::string> files;
  float trace_time = -1.0f;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--help" || arg == "-h") {
      std::printf("%s", usage);
      return 0;
    } else if (arg == "--faithful") {
      options.modern_files = false;
    } else if (arg == "--trace" && i + 1 < argc) {
      char* end = nullptr;
      trace_time = std::strtof(argv[++i], &end);
      if (*end || trace_time < 0) {
        std::fprintf(stderr, "so3d-info: bad --trace time %s\n%s", argv[i], usage);
        return 2;
      }
    } else if (arg == "--content" && i + 1 < argc) {
      options.content_dir = argv[++i];
    } else if (!arg.empty() && arg[0] == '-') {
      std::fprintf(stderr, "so3d-info: unknown option %s\n%s", arg.c_str(), usage);
      return 2;
    } else {
      files.push_back(arg);
    }
  }
  if (files.empty()) {
    print_registrations();
    return 0;
  }
  zBoot::BootAll();
  if (trace_time >= 0) {
    if (files.size() > 2) {
      std::fprintf(stderr, "so3d-info: --trace takes one or two scene files\n");
      return 2;
    }
    const bool traced = print_trace(trace_time, files, options);
    zBoot::ShutdownAll();
    return traced ? 0 : 1;
  }
  bool all = true;
  for (const std::string& f : files)
    all =
        (ends_with(f, ".lws") ? print_scene(f.c_str(), options) : print_object(f.c_str(), options.modern_files)) && all;
  zBoot::ShutdownAll();
  return all ? 0 : 1;
}
