#pragma once
// An OpenGL ES 3 context of the device's own. Headless, displays are tried in
// this order: Mesa's surfaceless platform (a GPU's render node, else the CPU
// rasteriser), the first EGL device that gives a context (drivers without
// the surfaceless platform), then the default display. Inside a host, it is
// made on the host's display and may share objects with the host's context.
// The context is made current without a surface where EGL allows it, else
// with a 1 × 1 pbuffer; the device draws into framebuffer objects either way.
//
// Making the context current remembers what the thread had bound before (a
// host's own context and its client API); Release puts that back.
#include <EGL/egl.h>

#include <memory>
#include <string>

namespace so3d::gles {

class EglContext {
 public:
  // Null when no display gives an ES 3 context; `why` (may be null) then
  // says what the last attempt failed on.
  static std::unique_ptr<EglContext> Create(std::string* why);
  // On the host's initialised `display`, sharing objects with `share`
  // (EGL_NO_CONTEXT for none). Null with `why` when EGL refuses.
  static std::unique_ptr<EglContext> CreateOn(EGLDisplay display, EGLContext share, std::string* why);
  ~EglContext();
  EglContext(const EglContext&) = delete;
  EglContext& operator=(const EglContext&) = delete;

  // Makes the context current on this thread unless it already is.
  bool MakeCurrent();
  // If the context is current on this thread, restores what was bound
  // before MakeCurrent (or binds nothing), so another thread may take it.
  bool Release();

  EGLDisplay Display() const { return display_; }
  EGLContext Context() const { return context_; }
  const std::string& Platform() const { return platform_; }  // which display served
  const std::string& Renderer() const { return renderer_; }  // GL_RENDERER

 private:
  EglContext() = default;
  bool Open(EGLDisplay display, const char* platform, EGLContext share, std::string* why);

  // The thread's binding before MakeCurrent took it over.
  struct Binding {
    EGLenum api = EGL_OPENGL_ES_API;
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLSurface draw = EGL_NO_SURFACE, read = EGL_NO_SURFACE;
    EGLContext context = EGL_NO_CONTEXT;
  };
  Binding previous_;
  EGLDisplay display_ = EGL_NO_DISPLAY;
  EGLContext context_ = EGL_NO_CONTEXT;
  EGLSurface surface_ = EGL_NO_SURFACE;
  std::string platform_;
  std::string renderer_;
};

}  // namespace so3d::gles
