#pragma once
// A headless OpenGL ES 3 context. Displays are tried in this order: Mesa's
// surfaceless platform (a GPU's render node, else the CPU rasteriser), the
// first EGL device that gives a context (drivers without the surfaceless
// platform), then the default display. The context is made current without
// a surface where EGL allows it, else with a 1 × 1 pbuffer; the device
// draws into its own framebuffer object either way.
#include <EGL/egl.h>

#include <memory>
#include <string>

namespace so3d::gles {

class EglContext {
 public:
  // Null when no display gives an ES 3 context; `why` (may be null) then
  // says what the last attempt failed on.
  static std::unique_ptr<EglContext> Create(std::string* why);
  ~EglContext();
  EglContext(const EglContext&) = delete;
  EglContext& operator=(const EglContext&) = delete;

  // Makes the context current on this thread unless it already is.
  bool MakeCurrent();

  const std::string& Platform() const { return platform_; }  // which display served
  const std::string& Renderer() const { return renderer_; }  // GL_RENDERER

 private:
  EglContext() = default;
  bool Open(EGLDisplay display, const char* platform, std::string* why);

  EGLDisplay display_ = EGL_NO_DISPLAY;
  EGLContext context_ = EGL_NO_CONTEXT;
  EGLSurface surface_ = EGL_NO_SURFACE;
  std::string platform_;
  std::string renderer_;
};

}  // namespace so3d::gles
