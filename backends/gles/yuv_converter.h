#pragma once
// Draws planar Y'CbCr pictures into the device's textures with a shader, so
// that the colour conversion and the chroma upsampling run on the GPU: the
// planes go up as one-channel textures (NV12's chroma as a two-channel one),
// made once and reused while the picture's size and layout stay.
#include <GLES3/gl3.h>

#include <string>

#include "backends/gles/gl_state_cache.h"
#include "backends/gles/yuv_picture.h"

namespace so3d::gles {

class YuvConverter {
 public:
  // Draws `picture` into `target`, an RGBA8 texture of the picture's size
  // whose red and blue are swapped on sampling (as the device's own are).
  // Leaves the cache's program, vertex array, viewport, capabilities and
  // units 0-2 changed: the caller restores its own. False with a reason.
  bool Convert(GlStateCache& cache, const YuvPicture& picture, GLuint target, std::string& why);
  // Deletes the GL objects; needs the context current.
  void Destroy(GlStateCache& cache);

 private:
  bool build(GlStateCache& cache, std::string& why);
  bool size_planes(GlStateCache& cache, const YuvPicture& picture, std::string& why);

  GLuint program_ = 0, framebuffer_ = 0, vertex_array_ = 0, sampler_ = 0;
  GLuint planes_[3] = {};
  GLint to_rgb_ = -1, offset_ = -1, interleaved_ = -1, size_ = -1;
  unsigned width_ = 0, height_ = 0;
  YuvLayout layout_ = YuvLayout::i420;
};

}  // namespace so3d::gles
