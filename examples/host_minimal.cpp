// The smallest whole host: boots so3d, makes a device, loads two scenes,
// morphs one into the other, hands in two screen pictures every frame and
// writes the frames as PNG files.
//
//   host_minimal A.lws B.lws OUTDIR [FRAMES]
//
// Built in the source tree and, by the tests, against the installed package
// (find_package(so3d) or pkg-config so3d-gles).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "backends/gles/gles_device.h"
#include "module/so3d.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb/stb_image_write.h>

namespace {

constexpr UINT width = 720, height = 480;

// A screen picture: one flat colour, as a host's own texture would hold a
// video frame. Texels are B, G, R, A bytes.
IDirect3DTexture9* MakePicture(IDirect3DDevice9& device, D3DCOLOR colour) {
  IDirect3DTexture9* texture = nullptr;
  if (FAILED(device.CreateTexture(width, height, 1, 0, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED, &texture, nullptr)))
    return nullptr;
  D3DLOCKED_RECT locked{};
  if (SUCCEEDED(texture->LockRect(0, &locked, nullptr, 0))) {
    for (UINT y = 0; y < height; ++y) {
      auto* row = reinterpret_cast<D3DCOLOR*>(static_cast<std::uint8_t*>(locked.pBits) + y * UINT(locked.Pitch));
      for (UINT x = 0; x < width; ++x) row[x] = colour;
    }
    texture->UnlockRect(0);
  }
  return texture;
}

std::unique_ptr<soScene> LoadScene(soD3DObjectManager& objects, const char* path) {
  std::unique_ptr<soScene> scene(soScene::Factory(objects.TextureManager(), objects));
  if (!scene || scene->Load(path, objects.ObjectHandedness()) != 0) return nullptr;
  scene->LoadTextures();  // images the objects name
  return scene;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: host_minimal A.lws B.lws OUTDIR [FRAMES]\n");
    return 2;
  }
  const int frames = argc > 4 ? std::max(2, std::atoi(argv[4])) : 5;

  // Once per process: registers the settings-record names and the file hook.
  zBoot::BootAll();

  // The device. so3d's own OpenGL ES device here (headless); a host with a
  // Direct3D 9 device passes that instead.
  so3d::gles::GlesDevice* device = nullptr;
  std::string why;
  if (FAILED(so3d::gles::GlesDevice::Create({width, height}, &device, &why))) {
    std::fprintf(stderr, "host_minimal: no device: %s\n", why.c_str());
    return 1;
  }

  int status = 0;
  {
    // The object registry on the device; it makes the texture manager.
    soD3DObjectManager objects(device);
    std::unique_ptr<soScene> a = LoadScene(objects, argv[1]);
    std::unique_ptr<soScene> b = LoadScene(objects, argv[2]);
    if (!a || !b) {
      std::fprintf(stderr, "host_minimal: cannot load %s\n", !a ? argv[1] : argv[2]);
      status = 1;
    } else {
      // Screen n is handed in under slot n + 1; the morph pairs objects of A
      // and B that show the same screen, on the time range 0 to 2.
      so_screen_data screens[] = {{0, 1, nullptr, 0}, {1, 2, nullptr, 0}};
      std::unique_ptr<soScene> morph(soScene::Factory(objects.TextureManager(), objects));
      morph->Interpolate(a.get(), screens, 2, 0.0f, b.get(), screens, 2, 0.0f);

      soD3DSceneRenderer renderer(device);
      renderer.Initalize(width, height);
      renderer.UpdateProjectionSize(width, height);
      IDirect3DTexture9* pictures[] = {MakePicture(*device, 0xFF2060C0), MakePicture(*device, 0xFFE0A020)};

      std::vector<std::uint8_t> rgba(std::size_t(width) * height * 4);
      for (int i = 0; i < frames && status == 0; ++i) {
        const float time = 2.0f * float(i) / float(frames - 1);
        // Every frame: the host's current pictures, then one Draw.
        for (int n = 0; n < 2; ++n)
          objects.D3DTextureManager().SetTexture(n + 1, n, pictures[n], soTextureManager::so_alpha_opaque, width,
                                                 height, 1.0f, 1.0f);
        device->Clear(0, nullptr, D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER, 0xFF000000, 1.0f, 0);
        device->BeginScene();
        renderer.Draw(morph.get(), screens, 2, time, 2.0f, 0, nullptr, 0, nullptr);
        device->EndScene();

        device->ReadPixels(rgba.data(), std::size_t(width) * 4, so3d::gles::PixelOrder::rgba);
        const std::string path = std::string(argv[3]) + "/host_" + std::to_string(i) + ".png";
        if (!stbi_write_png(path.c_str(), int(width), int(height), 4, rgba.data(), int(width) * 4)) {
          std::fprintf(stderr, "host_minimal: cannot write %s\n", path.c_str());
          status = 1;
        }
      }
      objects.D3DTextureManager().UnbindAll();  // the manager lets go of the pictures
      for (IDirect3DTexture9* p : pictures)
        if (p) p->Release();
      std::printf("host_minimal: wrote %d frames to %s\n", frames, argv[3]);
    }
  }  // scenes, renderer and registry go in any order; the device after them

  device->Release();
  zBoot::ShutdownAll();
  return status;
}
