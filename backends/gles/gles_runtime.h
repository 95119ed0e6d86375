#pragma once
// What a device and every resource it made share: the GL context and the
// cache in front of it. Resources hold it too, so a texture released after
// its device still deletes its GL name in the right context.
#include <memory>

#include "backends/gles/egl_context.h"
#include "backends/gles/gl_state_cache.h"

namespace so3d::gles {

struct GlesRuntime {
  std::unique_ptr<EglContext> egl;
  GlStateCache cache;
  GLint max_texture_size = 0;

  bool MakeCurrent() { return egl && egl->MakeCurrent(); }
};

}  // namespace so3d::gles
