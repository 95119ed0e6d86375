#pragma once
// The only way the device reaches GL state: each setter calls GL only when
// the value differs from the one GL last received, and every real call is
// counted, so "no redundant state change" is a number a test can read.
// Everything starts unknown, so the first setting of each value always
// reaches GL. One cache per GL context.
#include <GLES3/gl3.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace so3d::gles {

struct GlCallCounts {
  std::uint64_t state = 0;     // capabilities, blend/depth/cull, masks, viewport, scissor, clear values
  std::uint64_t binds = 0;     // program, vertex array, buffers, textures, samplers, active unit
  std::uint64_t samplers = 0;  // sampler parameters
  std::uint64_t uniforms = 0;
  std::uint64_t attributes = 0;  // vertex attribute pointers and enables
  std::uint64_t uploads = 0;     // texture and buffer contents
  std::uint64_t clears = 0;
  std::uint64_t draws = 0;
  std::uint64_t readbacks = 0;

  // Calls that only change state: what a repeated identical draw should not make.
  std::uint64_t StateCalls() const { return state + binds + samplers + uniforms + attributes; }
};

// Where one vertex attribute reads from; `enabled` false uses GL's constant value.
struct AttributeSource {
  bool enabled = false;
  GLuint buffer = 0;
  GLint size = 0;
  GLenum type = 0;
  bool normalized = false;
  GLsizei stride = 0;
  std::uintptr_t offset = 0;
  bool operator==(const AttributeSource&) const = default;
};

class GlStateCache {
 public:
  static constexpr std::size_t unit_count = 3;  // two texture stages, and a video picture's third plane
  static constexpr std::size_t attribute_count = 4;
  static constexpr GLint uniform_limit = 32;  // locations cached; higher ones always reach GL

  // GL_BLEND, GL_DEPTH_TEST, GL_CULL_FACE, GL_DITHER or GL_SCISSOR_TEST.
  void Capability(GLenum cap, bool on);
  // Colour factors, then alpha factors (the colour ones when not given).
  void BlendFunc(GLenum src, GLenum dst, GLenum src_alpha = 0, GLenum dst_alpha = 0);
  void DepthFunc(GLenum func);
  void DepthMask(bool on);
  void ColorMask(bool on);
  void CullFace(GLenum face);
  void FrontFace(GLenum winding);
  void Viewport(GLint x, GLint y, GLsizei w, GLsizei h);
  void Scissor(GLint x, GLint y, GLsizei w, GLsizei h);
  void ClearColor(float r, float g, float b, float a);
  void ClearDepth(float z);
  void ClearStencil(GLint s);

  void UseProgram(GLuint program);
  void BindVertexArray(GLuint array);
  void BindArrayBuffer(GLuint buffer);
  void BindTexture(std::size_t unit, GLuint texture);
  // BindTexture, leaving `unit` active: for the calls that act on the active
  // unit's texture (storage, uploads, parameters), which would otherwise
  // reach whatever texture the last active unit holds.
  void BindTextureToChange(std::size_t unit, GLuint texture);
  void BindSampler(std::size_t unit, GLuint sampler);
  // Parameters of the sampler object bound for `unit` (which owns it).
  void SamplerParameter(std::size_t unit, GLuint sampler, GLenum name, GLint value);

  void UniformFloats(GLint location, const float* values, int count);  // count 1 to 4
  void UniformInts(GLint location, const GLint* values, int count);    // count 1 to 4
  void UniformMatrix(GLint location, const float* sixteen);
  void Attribute(GLuint index, const AttributeSource& source);

  // A deleted name may come back for a new object: drop what is cached for it.
  void ForgetTexture(GLuint texture);
  void ForgetBuffer(GLuint buffer);

  void CountUpload() { ++counts_.uploads; }
  void CountClear() { ++counts_.clears; }
  void CountDraw() { ++counts_.draws; }
  void CountReadback() { ++counts_.readbacks; }

  const GlCallCounts& Counts() const { return counts_; }
  void ResetCounts() { counts_ = {}; }

 private:
  template <typename T>
  struct Cached {
    T value{};
    bool known = false;
    // Stores `v`; true when GL must hear of it.
    bool Change(const T& v) {
      if (known && value == v) return false;
      value = v;
      known = true;
      return true;
    }
  };
  struct Rect {
    GLint x, y;
    GLsizei w, h;
    bool operator==(const Rect&) const = default;
  };
  struct UniformValue {
    std::array<std::uint32_t, 16> bits{};
    bool operator==(const UniformValue&) const = default;
  };
  static constexpr std::size_t capability_count = 5;
  static constexpr std::size_t sampler_parameter_count = 4;
  bool UniformChanged(GLint location, const void* data, std::size_t bytes);
  void ActiveUnit(std::size_t unit);

  std::array<Cached<bool>, capability_count> capabilities_;
  Cached<std::array<GLenum, 4>> blend_;
  Cached<GLenum> depth_func_, cull_face_, front_face_;
  Cached<bool> depth_mask_, color_mask_;
  Cached<Rect> viewport_, scissor_;
  Cached<std::array<float, 4>> clear_color_;
  Cached<float> clear_depth_;
  Cached<GLint> clear_stencil_;
  Cached<GLuint> program_, vertex_array_, array_buffer_, active_unit_;
  std::array<Cached<GLuint>, unit_count> textures_, samplers_;
  std::array<std::array<Cached<GLint>, sampler_parameter_count>, unit_count> sampler_parameters_;
  std::array<Cached<UniformValue>, uniform_limit> uniforms_;
  std::array<Cached<AttributeSource>, attribute_count> attributes_;
  GlCallCounts counts_;
};

}  // namespace so3d::gles
