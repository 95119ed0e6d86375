#pragma once
// The one shader program that stands in for the fixed-function pipeline the
// module drives: a clip transform, the lit colour of a light-less scene and
// two texture stages whose operations and arguments are uniforms.
#include <GLES3/gl3.h>

#include <string>

namespace so3d::gles {

// Attribute locations the device binds vertex parts to.
enum AttributeLocation : GLuint { attribute_position = 0, attribute_colour = 1, attribute_uv0 = 2, attribute_uv1 = 3 };

struct FfpProgram {
  GLuint program = 0;
  // Row-vector world × view × projection, adjusted to GL's clip space.
  GLint clip = -1;
  // Material colours (r, g, b, a) and the global ambient colour.
  GLint emissive = -1, ambient = -1, diffuse = -1, global_ambient = -1;
  // x, y, z: emissive, ambient, diffuse taken from the vertex colour (0 or
  // 1); w: lighting on (1) or off (0).
  GLint colour_sources = -1;
  GLint has_vertex_colour = -1;  // 1 when the vertices carry a colour
  // Colour and alpha operation of stages 0 and 1 (D3DTOP values).
  GLint ops = -1;
  // Colour arg 1, colour arg 2, alpha arg 1, alpha arg 2 (D3DTA values) per stage.
  GLint args0 = -1, args1 = -1;
  GLint has_texture = -1;  // per stage: 1 when a texture is bound

  // Compiles and links; false with the info log in `why`. Needs a current context.
  bool Build(std::string* why);
  void Destroy();
};

}  // namespace so3d::gles
