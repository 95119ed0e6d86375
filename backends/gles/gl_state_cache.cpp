#include "backends/gles/gl_state_cache.h"

namespace so3d::gles {

namespace {

std::size_t CapabilityIndex(GLenum cap) {
  switch (cap) {
    case GL_BLEND: return 0;
    case GL_DEPTH_TEST: return 1;
    case GL_CULL_FACE: return 2;
    case GL_DITHER: return 3;
    default: return 4;  // GL_SCISSOR_TEST
  }
}

std::size_t SamplerParameterIndex(GLenum name) {
  switch (name) {
    case GL_TEXTURE_MIN_FILTER: return 0;
    case GL_TEXTURE_MAG_FILTER: return 1;
    case GL_TEXTURE_WRAP_S: return 2;
    default: return 3;  // GL_TEXTURE_WRAP_T
  }
}

}  // namespace

void GlStateCache::Capability(GLenum cap, bool on) {
  if (!capabilities_[CapabilityIndex(cap)].Change(on)) return;
  on ? glEnable(cap) : glDisable(cap);
  ++counts_.state;
}

void GlStateCache::BlendFunc(GLenum src, GLenum dst, GLenum src_alpha, GLenum dst_alpha) {
  if (!src_alpha) src_alpha = src, dst_alpha = dst;
  if (!blend_.Change({src, dst, src_alpha, dst_alpha})) return;
  glBlendFuncSeparate(src, dst, src_alpha, dst_alpha);
  ++counts_.state;
}

void GlStateCache::DepthFunc(GLenum func) {
  if (!depth_func_.Change(func)) return;
  glDepthFunc(func);
  ++counts_.state;
}

void GlStateCache::DepthMask(bool on) {
  if (!depth_mask_.Change(on)) return;
  glDepthMask(on ? GL_TRUE : GL_FALSE);
  ++counts_.state;
}

void GlStateCache::ColorMask(bool on) {
  if (!color_mask_.Change(on)) return;
  const GLboolean b = on ? GL_TRUE : GL_FALSE;
  glColorMask(b, b, b, b);
  ++counts_.state;
}

void GlStateCache::CullFace(GLenum face) {
  if (!cull_face_.Change(face)) return;
  glCullFace(face);
  ++counts_.state;
}

void GlStateCache::FrontFace(GLenum winding) {
  if (!front_face_.Change(winding)) return;
  glFrontFace(winding);
  ++counts_.state;
}

void GlStateCache::Viewport(GLint x, GLint y, GLsizei w, GLsizei h) {
  if (!viewport_.Change({x, y, w, h})) return;
  glViewport(x, y, w, h);
  ++counts_.state;
}

void GlStateCache::Scissor(GLint x, GLint y, GLsizei w, GLsizei h) {
  if (!scissor_.Change({x, y, w, h})) return;
  glScissor(x, y, w, h);
  ++counts_.state;
}

void GlStateCache::ClearColor(float r, float g, float b, float a) {
  if (!clear_color_.Change({r, g, b, a})) return;
  glClearColor(r, g, b, a);
  ++counts_.state;
}

void GlStateCache::ClearDepth(float z) {
  if (!clear_depth_.Change(z)) return;
  glClearDepthf(z);
  ++counts_.state;
}

void GlStateCache::ClearStencil(GLint s) {
  if (!clear_stencil_.Change(s)) return;
  glClearStencil(s);
  ++counts_.state;
}

void GlStateCache::UseProgram(GLuint program) {
  if (!program_.Change(program)) return;
  glUseProgram(program);
  ++counts_.binds;
}

void GlStateCache::BindVertexArray(GLuint array) {
  if (!vertex_array_.Change(array)) return;
  glBindVertexArray(array);
  ++counts_.binds;
}

void GlStateCache::BindArrayBuffer(GLuint buffer) {
  if (!array_buffer_.Change(buffer)) return;
  glBindBuffer(GL_ARRAY_BUFFER, buffer);
  ++counts_.binds;
}

void GlStateCache::ActiveUnit(std::size_t unit) {
  if (!active_unit_.Change(GLuint(unit))) return;
  glActiveTexture(GLenum(GL_TEXTURE0 + unit));
  ++counts_.binds;
}

void GlStateCache::BindTexture(std::size_t unit, GLuint texture) {
  if (unit >= unit_count || (textures_[unit].known && textures_[unit].value == texture)) return;
  ActiveUnit(unit);
  textures_[unit].Change(texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  ++counts_.binds;
}

void GlStateCache::BindTextureToChange(std::size_t unit, GLuint texture) {
  BindTexture(unit, texture);
  if (unit < unit_count) ActiveUnit(unit);
}

void GlStateCache::BindSampler(std::size_t unit, GLuint sampler) {
  if (unit >= unit_count || !samplers_[unit].Change(sampler)) return;
  glBindSampler(GLuint(unit), sampler);
  ++counts_.binds;
}

void GlStateCache::SamplerParameter(std::size_t unit, GLuint sampler, GLenum name, GLint value) {
  if (unit >= unit_count || !sampler_parameters_[unit][SamplerParameterIndex(name)].Change(value)) return;
  glSamplerParameteri(sampler, name, value);
  ++counts_.samplers;
}

bool GlStateCache::UniformChanged(GLint location, const void* data, std::size_t bytes) {
  if (location < 0) return false;  // optimised away by the compiler: nothing to set
  if (location >= uniform_limit) return true;
  UniformValue v;
  std::memcpy(v.bits.data(), data, bytes);
  return uniforms_[std::size_t(location)].Change(v);
}

void GlStateCache::UniformFloats(GLint location, const float* values, int count) {
  if (count < 1 || count > 4 || !UniformChanged(location, values, sizeof(float) * std::size_t(count))) return;
  switch (count) {
    case 1: glUniform1fv(location, 1, values); break;
    case 2: glUniform2fv(location, 1, values); break;
    case 3: glUniform3fv(location, 1, values); break;
    default: glUniform4fv(location, 1, values); break;
  }
  ++counts_.uniforms;
}

void GlStateCache::UniformInts(GLint location, const GLint* values, int count) {
  if (count < 1 || count > 4 || !UniformChanged(location, values, sizeof(GLint) * std::size_t(count))) return;
  switch (count) {
    case 1: glUniform1iv(location, 1, values); break;
    case 2: glUniform2iv(location, 1, values); break;
    case 3: glUniform3iv(location, 1, values); break;
    default: glUniform4iv(location, 1, values); break;
  }
  ++counts_.uniforms;
}

void GlStateCache::UniformMatrix(GLint location, const float* sixteen) {
  if (!UniformChanged(location, sixteen, sizeof(float) * 16)) return;
  glUniformMatrix4fv(location, 1, GL_FALSE, sixteen);
  ++counts_.uniforms;
}

void GlStateCache::Attribute(GLuint index, const AttributeSource& source) {
  if (index >= attribute_count) return;
  Cached<AttributeSource>& cached = attributes_[index];
  const bool was_known = cached.known;
  const bool was_enabled = was_known && cached.value.enabled;
  if (!cached.Change(source)) return;
  if (source.enabled) {
    BindArrayBuffer(source.buffer);
    glVertexAttribPointer(index, source.size, source.type, source.normalized ? GL_TRUE : GL_FALSE, source.stride,
                          reinterpret_cast<const void*>(source.offset));
    ++counts_.attributes;
  }
  if (source.enabled != was_enabled || !was_known) {
    source.enabled ? glEnableVertexAttribArray(index) : glDisableVertexAttribArray(index);
    ++counts_.attributes;
  }
}

void GlStateCache::ForgetTexture(GLuint texture) {
  for (auto& unit : textures_)
    if (unit.known && unit.value == texture) unit.known = false;
}

void GlStateCache::ForgetBuffer(GLuint buffer) {
  if (array_buffer_.known && array_buffer_.value == buffer) array_buffer_.known = false;
  for (auto& a : attributes_)
    if (a.known && a.value.buffer == buffer) a.known = false;
}

}  // namespace so3d::gles
