#pragma once
// Compiling and linking a GLSL ES program, shared by the device's programs.
#include <GLES3/gl3.h>

#include <string>

namespace so3d::gles {

// The linked program, or 0 with the compiler's or linker's log in `why`
// (which may be null). Needs a current context.
GLuint BuildProgram(const char* vertex_source, const char* fragment_source, std::string* why);

}  // namespace so3d::gles
