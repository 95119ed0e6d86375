#include "backends/gles/gl_program.h"

#include <vector>

namespace so3d::gles {
namespace {

GLuint Compile(GLenum type, const char* source, std::string* why) {
  const GLuint shader = glCreateShader(type);
  glShaderSource(shader, 1, &source, nullptr);
  glCompileShader(shader);
  GLint ok = GL_FALSE;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
  if (ok) return shader;
  GLint length = 0;
  glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &length);
  std::vector<char> log(std::size_t(length > 0 ? length : 1), '\0');
  glGetShaderInfoLog(shader, GLsizei(log.size()), nullptr, log.data());
  if (why) *why = std::string("shader compile: ") + log.data();
  glDeleteShader(shader);
  return 0;
}

}  // namespace

GLuint BuildProgram(const char* vertex_source, const char* fragment_source, std::string* why) {
  const GLuint vs = Compile(GL_VERTEX_SHADER, vertex_source, why);
  const GLuint fs = vs ? Compile(GL_FRAGMENT_SHADER, fragment_source, why) : 0;
  if (!fs) {
    if (vs) glDeleteShader(vs);
    return 0;
  }
  const GLuint program = glCreateProgram();
  glAttachShader(program, vs);
  glAttachShader(program, fs);
  glLinkProgram(program);
  glDeleteShader(vs);
  glDeleteShader(fs);
  GLint ok = GL_FALSE;
  glGetProgramiv(program, GL_LINK_STATUS, &ok);
  if (ok) return program;
  char log[1024] = {};
  glGetProgramInfoLog(program, sizeof log, nullptr, log);
  if (why) *why = std::string("program link: ") + log;
  glDeleteProgram(program);
  return 0;
}

}  // namespace so3d::gles
