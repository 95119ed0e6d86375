#include "backends/gles/yuv_converter.h"

#include "backends/gles/gl_program.h"

namespace so3d::gles {
namespace {

// One triangle that covers the target.
constexpr const char* vertex_source = R"(#version 300 es
void main() {
  vec2 corner = vec2(float((gl_VertexID << 1) & 2), float(gl_VertexID & 2));
  gl_Position = vec4(corner * 2.0 - 1.0, 0.0, 1.0);
}
)";

// Luma is read texel for texel (the target is the picture's size); chroma
// is interpolated between its centre-sited samples.
constexpr const char* fragment_source = R"(#version 300 es
precision highp float;
uniform sampler2D u_luma;
uniform sampler2D u_cb;  // NV12: Cb and Cr in red and green
uniform sampler2D u_cr;
uniform bool u_interleaved;
uniform mat3 u_to_rgb;
uniform vec3 u_offset;
uniform vec2 u_size;
out vec4 o_colour;
void main() {
  float y = texelFetch(u_luma, ivec2(gl_FragCoord.xy), 0).r;
  vec2 at = gl_FragCoord.xy / u_size;
  vec2 c = u_interleaved ? texture(u_cb, at).rg : vec2(texture(u_cb, at).r, texture(u_cr, at).r);
  vec3 rgb = clamp(u_to_rgb * (vec3(y, c) - u_offset), 0.0, 1.0);
  // The target keeps B, G, R, A in its red, green, blue, alpha.
  o_colour = vec4(rgb.bgr, 1.0);
}
)";

// Column-major: R, G, B from (Y', Cb, Cr) after the offset, range scaling
// folded in.
void conversion(const YuvPicture& p, float to_rgb[9], float offset[3]) {
  const bool hd = p.matrix == YuvMatrix::bt709;
  const float kr_cr = hd ? 1.5748f : 1.402f, kg_cb = hd ? 0.187324f : 0.344136f, kg_cr = hd ? 0.468124f : 0.714136f,
              kb_cb = hd ? 1.8556f : 1.772f;
  const float ys = p.full_range ? 1.0f : 255.0f / 219.0f, cs = p.full_range ? 1.0f : 255.0f / 224.0f;
  const float m[9] = {ys, ys, ys, 0, -kg_cb * cs, kb_cb * cs, kr_cr * cs, -kg_cr * cs, 0};
  for (int i = 0; i < 9; ++i) to_rgb[i] = m[i];
  offset[0] = p.full_range ? 0.0f : 16.0f / 255.0f;
  offset[1] = offset[2] = 128.0f / 255.0f;
}

unsigned chroma_side(unsigned side, YuvLayout layout) { return layout == YuvLayout::yuv444 ? side : (side + 1) / 2; }

}  // namespace

bool YuvConverter::build(GlStateCache& cache, std::string& why) {
  program_ = BuildProgram(vertex_source, fragment_source, &why);
  if (!program_) return false;
  to_rgb_ = glGetUniformLocation(program_, "u_to_rgb");
  offset_ = glGetUniformLocation(program_, "u_offset");
  interleaved_ = glGetUniformLocation(program_, "u_interleaved");
  size_ = glGetUniformLocation(program_, "u_size");
  cache.UseProgram(program_);
  glUniform1i(glGetUniformLocation(program_, "u_luma"), 0);
  glUniform1i(glGetUniformLocation(program_, "u_cb"), 1);
  glUniform1i(glGetUniformLocation(program_, "u_cr"), 2);
  glGenFramebuffers(1, &framebuffer_);
  glGenVertexArrays(1, &vertex_array_);
  glGenSamplers(1, &sampler_);
  glSamplerParameteri(sampler_, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glSamplerParameteri(sampler_, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glSamplerParameteri(sampler_, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  glSamplerParameteri(sampler_, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  if (glGetError() != GL_NO_ERROR) {
    why = "the conversion's GL objects could not be made";
    return false;
  }
  return true;
}

bool YuvConverter::size_planes(GlStateCache& cache, const YuvPicture& p, std::string& why) {
  if (planes_[0] && p.width == width_ && p.height == height_ && p.layout == layout_) return true;
  for (GLuint& plane : planes_) {
    if (plane) cache.ForgetTexture(plane), glDeleteTextures(1, &plane);
    plane = 0;
  }
  const unsigned cw = chroma_side(p.width, p.layout), ch = chroma_side(p.height, p.layout);
  const int count = p.layout == YuvLayout::nv12 ? 2 : 3;
  glGenTextures(count, planes_);
  for (int i = 0; i < count; ++i) {
    cache.BindTextureToChange(std::size_t(i), planes_[i]);
    const bool pairs = p.layout == YuvLayout::nv12 && i == 1;
    glTexStorage2D(GL_TEXTURE_2D, 1, pairs ? GL_RG8 : GL_R8, GLsizei(i ? cw : p.width), GLsizei(i ? ch : p.height));
  }
  if (glGetError() != GL_NO_ERROR) {
    why = "the picture's planes do not fit in textures";
    return false;
  }
  width_ = p.width, height_ = p.height, layout_ = p.layout;
  return true;
}

bool YuvConverter::Convert(GlStateCache& cache, const YuvPicture& p, GLuint target, std::string& why) {
  if (!program_ && !build(cache, why)) return false;
  if (!size_planes(cache, p, why)) return false;

  const unsigned cw = chroma_side(p.width, p.layout), ch = chroma_side(p.height, p.layout);
  const bool nv12 = p.layout == YuvLayout::nv12;
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  for (int i = 0; i < (nv12 ? 2 : 3); ++i) {
    const bool pairs = nv12 && i == 1;
    cache.BindTextureToChange(std::size_t(i), planes_[i]);
    cache.BindSampler(std::size_t(i), sampler_);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, GLint(p.strides[i] / (pairs ? 2 : 1)));
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, GLsizei(i ? cw : p.width), GLsizei(i ? ch : p.height),
                    pairs ? GL_RG : GL_RED, GL_UNSIGNED_BYTE, p.planes[i]);
    cache.CountUpload();
  }
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);

  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, target, 0);
  if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
    why = "the screen texture cannot be drawn into";
    return false;
  }
  cache.UseProgram(program_);
  cache.BindVertexArray(vertex_array_);
  cache.Viewport(0, 0, GLsizei(p.width), GLsizei(p.height));
  for (GLenum cap : {GL_BLEND, GL_DEPTH_TEST, GL_CULL_FACE, GL_SCISSOR_TEST}) cache.Capability(cap, false);
  cache.ColorMask(true);
  // Straight to GL: these belong to this program alone, not to the cache's.
  float to_rgb[9], offset[3];
  conversion(p, to_rgb, offset);
  glUniformMatrix3fv(to_rgb_, 1, GL_FALSE, to_rgb);
  glUniform3fv(offset_, 1, offset);
  glUniform1i(interleaved_, nv12 ? 1 : 0);
  glUniform2f(size_, float(p.width), float(p.height));
  glDrawArrays(GL_TRIANGLES, 0, 3);
  cache.CountDraw();
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0);
  if (glGetError() != GL_NO_ERROR) {
    why = "GL refused the conversion";
    return false;
  }
  return true;
}

void YuvConverter::Destroy(GlStateCache& cache) {
  for (GLuint& plane : planes_) {
    if (plane) cache.ForgetTexture(plane), glDeleteTextures(1, &plane);
    plane = 0;
  }
  if (program_) glDeleteProgram(program_);
  if (framebuffer_) glDeleteFramebuffers(1, &framebuffer_);
  if (vertex_array_) glDeleteVertexArrays(1, &vertex_array_);
  if (sampler_) glDeleteSamplers(1, &sampler_);
  program_ = framebuffer_ = vertex_array_ = sampler_ = 0;
}

}  // namespace so3d::gles
