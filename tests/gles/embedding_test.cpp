// The device inside a host that owns a GL context: made on the host's display
// sharing its objects, a host texture as a screen and another as the render
// target, without a copy; the host's binding given back after every frame,
// so another thread can take the device.
#include <gtest/gtest.h>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>

#include <memory>
#include <thread>
#include <vector>

#include "backends/gles/gles_device.h"
#include "render/so_d3d_object_manager.h"
#include "tests/gles/gles_test_support.h"
#include "tests/support/scene_setup.h"
#include "textures/so_d3d_texture_manager.h"

namespace {

using so3d::gles::GlesDevice;
constexpr UINT w = 64, h = 48;

// The host: an ES 3 context of its own on Mesa's surfaceless display.
struct Host {
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLContext context = EGL_NO_CONTEXT;

  Host() {
    auto get_display = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
    if (!get_display) return;
    display = get_display(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (display == EGL_NO_DISPLAY || !eglInitialize(display, nullptr, nullptr) || !eglBindAPI(EGL_OPENGL_ES_API))
      return;
    const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_NONE};
    context = eglCreateContext(display, EGLConfig(nullptr), EGL_NO_CONTEXT, attributes);
    if (context != EGL_NO_CONTEXT && !eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context)) {
      eglDestroyContext(display, context);
      context = EGL_NO_CONTEXT;
    }
  }
  ~Host() {
    if (context == EGL_NO_CONTEXT) return;
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(display, context);
  }
  GLuint Texture(std::uint32_t rgba) const {
    std::vector<std::uint32_t> texels(std::size_t(w) * h, rgba);
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, GLsizei(w), GLsizei(h), 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
    glFinish();
    return name;
  }
  // R, G, B, A bytes of the texture's pixel (x, y), read in the host's context.
  std::uint32_t Pixel(GLuint texture, int x, int y) const {
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    std::uint32_t pixel = 0;
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixel);
    glDeleteFramebuffers(1, &framebuffer);
    return pixel;
  }
};

TEST(GlesEmbedding, HostTexturesInAndOutOnTheHostsDisplay) {
  Host host;
  if (host.context == EGL_NO_CONTEXT) GTEST_SKIP() << "no surfaceless ES 3 context for the host";
  const GLuint picture = host.Texture(0xFF0000FF);  // opaque red as R, G, B, A bytes
  const GLuint target = host.Texture(0);

  GlesDevice* device = nullptr;
  std::string why;
  ASSERT_EQ(GlesDevice::Create({w, h, host.display, host.context}, &device, &why), D3D_OK) << why;
  EXPECT_EQ(eglGetCurrentContext(), host.context) << "made without taking the host's thread";

  IDirect3DTexture9* screen = nullptr;
  ASSERT_EQ(device->WrapTexture(picture, w, h, &screen), D3D_OK);
  D3DLOCKED_RECT locked{};
  EXPECT_EQ(screen->LockRect(0, &locked, nullptr, 0), D3DERR_INVALIDCALL) << "the host's texels are not ours";
  EXPECT_EQ(device->SetRenderTarget(987654), D3DERR_INVALIDCALL);
  EXPECT_FALSE(device->LastError().empty());
  ASSERT_EQ(device->SetRenderTarget(target), D3D_OK);
  {
    so3d::test::TempDir dir;
    dir.Write("frame.lwo", so3d::fixtures::QuadObject(7.2f, 4.8f));
    soD3DObjectManager objects(device);
    const auto scene = so3d::test::LoadScene(dir, objects, so3d::fixtures::SceneWriter().Object("frame.lwo", 0));
    soD3DSceneRenderer renderer(device);
    so3d::test::SizeRenderer(renderer, w, h);
    const so_screen_data screens[] = {{0, 1, nullptr, 0}};
    objects.D3DTextureManager().SetTexture(1, 0, screen, soTextureManager::so_alpha_opaque, w, h, 1, 1);
    so3d::test::DrawFrame(*device, renderer, scene.get(), screens, 1);
    objects.D3DTextureManager().UnbindAll();
  }
  ASSERT_EQ(device->ReleaseContext(), D3D_OK);
  EXPECT_EQ(eglGetCurrentContext(), host.context) << "the host's binding is back";
  EXPECT_EQ(host.Pixel(target, w / 2, h / 2), 0xFF0000FFu) << "the screen filled the host's target";
  screen->Release();
  device->Release();
  glDeleteTextures(1, &picture);
  glDeleteTextures(1, &target);
}

TEST(GlesEmbedding, AnotherThreadTakesTheDeviceOnlyOnceItIsReleased) {
  SO3D_REQUIRE_DEVICE(device, w, h);
  const auto clear_elsewhere = [device = device.get()] {
    HRESULT hr = E_FAIL;
    std::thread([&] {
      hr = device->Clear(0, nullptr, D3DCLEAR_TARGET, 0xFF00FF00, 1.0f, 0);
      if (SUCCEEDED(hr)) hr = device->ReleaseContext();
    }).join();
    return hr;
  };
  EXPECT_EQ(device->Clear(0, nullptr, D3DCLEAR_TARGET, 0xFF0000FF, 1.0f, 0), D3D_OK);
  EXPECT_EQ(clear_elsewhere(), E_FAIL) << "the context is still current here";
  ASSERT_EQ(device->ReleaseContext(), D3D_OK);
  EXPECT_EQ(clear_elsewhere(), D3D_OK);
  const std::vector<std::uint8_t> frame = device->ReadPixels(so3d::gles::PixelOrder::rgba);
  ASSERT_FALSE(frame.empty());
  EXPECT_EQ(frame[1], 0xFF) << "the other thread's clear landed";
}

}  // namespace
