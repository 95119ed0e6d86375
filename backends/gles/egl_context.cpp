#include "backends/gles/egl_context.h"

#include <EGL/eglext.h>
#include <GLES3/gl3.h>

#include <cstdio>
#include <cstring>
#include <new>

namespace so3d::gles {

namespace {

// A display stays initialised for the life of the process: EGL shares one
// per platform among all contexts, and terminating it unloads the driver,
// which not every driver does without leaking. eglInitialize on a display
// that is already initialised is harmless.
bool Initialise(EGLDisplay display) {
  EGLint major = 0, minor = 0;
  return eglInitialize(display, &major, &minor) == EGL_TRUE;
}

bool HasExtension(const char* list, const char* name) {
  if (!list) return false;
  const std::size_t n = std::strlen(name);
  for (const char* p = list; (p = std::strstr(p, name)) != nullptr; p += n)
    if ((p == list || p[-1] == ' ') && (p[n] == ' ' || p[n] == '\0')) return true;
  return false;
}

std::string ErrorText(const char* step) {
  char code[16];
  std::snprintf(code, sizeof code, "0x%04X", unsigned(eglGetError()));
  return std::string(step) + " failed (EGL error " + code + ")";
}

}  // namespace

std::unique_ptr<EglContext> EglContext::Create(std::string* why) {
  std::unique_ptr<EglContext> context(new (std::nothrow) EglContext);
  if (!context) return nullptr;
  std::string last = "no EGL display";
  const char* client = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  auto get_platform_display =
      reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));

  if (get_platform_display && HasExtension(client, "EGL_MESA_platform_surfaceless")) {
    EGLDisplay d = get_platform_display(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (d != EGL_NO_DISPLAY && context->Open(d, "surfaceless", EGL_NO_CONTEXT, &last)) return context;
  }
  auto query_devices = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
  if (get_platform_display && query_devices && HasExtension(client, "EGL_EXT_platform_device")) {
    EGLDeviceEXT devices[8];
    EGLint count = 0;
    if (query_devices(8, devices, &count))
      for (EGLint i = 0; i < count; ++i) {
        EGLDisplay d = get_platform_display(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr);
        if (d != EGL_NO_DISPLAY && context->Open(d, "device", EGL_NO_CONTEXT, &last)) return context;
      }
  }
  EGLDisplay d = eglGetDisplay(EGL_DEFAULT_DISPLAY);
  if (d != EGL_NO_DISPLAY && context->Open(d, "default", EGL_NO_CONTEXT, &last)) return context;
  if (why) *why = last;
  return nullptr;
}

std::unique_ptr<EglContext> EglContext::CreateOn(EGLDisplay display, EGLContext share, std::string* why) {
  std::unique_ptr<EglContext> context(new (std::nothrow) EglContext);
  std::string reason = "no EGL display given";
  if (context && display != EGL_NO_DISPLAY && context->Open(display, "host", share, &reason)) {
    // The host gets its thread back as it had it.
    if (context->Release()) return context;
    reason = ErrorText("eglMakeCurrent (giving the host its context back)");
  }
  if (why) *why = context ? reason : "out of memory";
  return nullptr;
}

bool EglContext::Open(EGLDisplay display, const char* platform, EGLContext share, std::string* why) {
  if (!Initialise(display)) {
    *why = ErrorText("eglInitialize");
    return false;
  }
  auto fail = [&](const char* step) {
    *why = ErrorText(step);
    if (context_ != EGL_NO_CONTEXT) eglDestroyContext(display, context_);
    if (surface_ != EGL_NO_SURFACE) eglDestroySurface(display, surface_);
    context_ = EGL_NO_CONTEXT;
    surface_ = EGL_NO_SURFACE;
    return false;
  };
  const EGLenum api = eglQueryAPI();
  if (!eglBindAPI(EGL_OPENGL_ES_API)) return fail("eglBindAPI");
  struct RestoreApi {
    EGLenum api;
    ~RestoreApi() { eglBindAPI(api); }
  } restore{api};

  const EGLint config_attributes[] = {EGL_RENDERABLE_TYPE,
                                      EGL_OPENGL_ES3_BIT,
                                      EGL_SURFACE_TYPE,
                                      EGL_PBUFFER_BIT,
                                      EGL_RED_SIZE,
                                      8,
                                      EGL_GREEN_SIZE,
                                      8,
                                      EGL_BLUE_SIZE,
                                      8,
                                      EGL_NONE};
  EGLConfig config = nullptr;
  EGLint configs = 0;
  if (!eglChooseConfig(display, config_attributes, &config, 1, &configs)) configs = 0;
  const char* extensions = eglQueryString(display, EGL_EXTENSIONS);
  // A configless context serves when no pbuffer config exists: we never draw to a surface.
  if (configs == 0 && !HasExtension(extensions, "EGL_KHR_no_config_context")) return fail("eglChooseConfig");

  const EGLint context_attributes[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 0, EGL_NONE};
  context_ = eglCreateContext(display, configs ? config : EGLConfig(nullptr), share, context_attributes);
  if (context_ == EGL_NO_CONTEXT) return fail("eglCreateContext");

  if (!HasExtension(extensions, "EGL_KHR_surfaceless_context")) {
    const EGLint pbuffer_attributes[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
    if (configs) surface_ = eglCreatePbufferSurface(display, config, pbuffer_attributes);
    if (surface_ == EGL_NO_SURFACE) return fail("eglCreatePbufferSurface");
  }
  display_ = display;
  if (!MakeCurrent()) {
    display_ = EGL_NO_DISPLAY;
    return fail("eglMakeCurrent");
  }
  platform_ = platform;
  const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
  renderer_ = renderer ? renderer : "";
  return true;
}

EglContext::~EglContext() {
  if (display_ == EGL_NO_DISPLAY) return;
  Release();
  eglDestroyContext(display_, context_);
  if (surface_ != EGL_NO_SURFACE) eglDestroySurface(display_, surface_);
}

bool EglContext::MakeCurrent() {
  const EGLenum api = eglQueryAPI();
  if (api != EGL_OPENGL_ES_API && !eglBindAPI(EGL_OPENGL_ES_API)) return false;
  const EGLContext current = eglGetCurrentContext();
  if (current == context_) return true;
  const Binding before{api, eglGetCurrentDisplay(), eglGetCurrentSurface(EGL_DRAW), eglGetCurrentSurface(EGL_READ),
                       current};
  if (eglMakeCurrent(display_, surface_, surface_, context_) != EGL_TRUE) {
    eglBindAPI(api);
    return false;
  }
  previous_ = before;
  return true;
}

bool EglContext::Release() {
  const EGLenum api = eglQueryAPI();
  if (api != EGL_OPENGL_ES_API) eglBindAPI(EGL_OPENGL_ES_API);
  if (eglGetCurrentContext() != context_) {
    eglBindAPI(api);
    return true;
  }
  const Binding back = previous_;
  previous_ = Binding{};
  // Unbind first: where each client API has its own current context,
  // binding the host's context back would leave this one current too.
  bool ok = eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT) == EGL_TRUE;
  eglBindAPI(back.api);
  if (back.context != EGL_NO_CONTEXT) ok = eglMakeCurrent(back.display, back.draw, back.read, back.context) && ok;
  return ok;
}

}  // namespace so3d::gles
