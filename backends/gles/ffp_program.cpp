#include "backends/gles/ffp_program.h"

#include "backends/gles/gl_program.h"

namespace so3d::gles {

namespace {

constexpr const char* vertex_source = R"(#version 300 es
layout(location = 0) in vec3 a_position;
layout(location = 1) in vec4 a_colour;
layout(location = 2) in vec2 a_uv0;
layout(location = 3) in vec2 a_uv1;
uniform mat4 u_clip;
uniform vec4 u_emissive;
uniform vec4 u_ambient;
uniform vec4 u_diffuse;
uniform vec4 u_global_ambient;
uniform vec4 u_colour_sources;
uniform float u_has_vertex_colour;
out vec4 v_diffuse;
out vec2 v_uv0;
out vec2 v_uv1;
void main() {
  gl_Position = u_clip * vec4(a_position, 1.0);
  // A D3DCOLOR lies in memory as B, G, R, A.
  vec4 vertex_colour = a_colour.bgra;
  if (u_colour_sources.w > 0.5) {
    // No lights: what is left of the lighting equation is emissive plus
    // ambient times the global ambient, with the diffuse alpha.
    vec4 e = mix(u_emissive, vertex_colour, u_colour_sources.x);
    vec4 a = mix(u_ambient, vertex_colour, u_colour_sources.y);
    vec4 d = mix(u_diffuse, vertex_colour, u_colour_sources.z);
    v_diffuse = clamp(vec4(e.rgb + a.rgb * u_global_ambient.rgb, d.a), 0.0, 1.0);
  } else {
    v_diffuse = u_has_vertex_colour > 0.5 ? vertex_colour : vec4(1.0);
  }
  v_uv0 = a_uv0;
  v_uv1 = a_uv1;
}
)";

constexpr const char* fragment_source = R"(#version 300 es
precision highp float;
precision highp int;
uniform sampler2D u_texture0;
uniform sampler2D u_texture1;
uniform ivec4 u_ops;
uniform ivec4 u_args0;
uniform ivec4 u_args1;
uniform vec2 u_has_texture;
in vec4 v_diffuse;
in vec2 v_uv0;
in vec2 v_uv1;
out vec4 o_colour;

const int op_disable = 1;
const int op_select1 = 2;
const int op_select2 = 3;

vec4 argument(int which, vec4 texel, vec4 current) {
  if (which == 0) return v_diffuse;
  if (which == 2) return texel;
  if (which == 3) return vec4(1.0);  // the default texture factor, opaque white
  return current;
}

vec4 stage(int colour_op, int alpha_op, ivec4 args, vec4 texel, vec4 current) {
  vec4 c1 = argument(args.x, texel, current);
  vec4 c2 = argument(args.y, texel, current);
  vec3 colour = colour_op == op_select1 ? c1.rgb : colour_op == op_select2 ? c2.rgb : c1.rgb * c2.rgb;
  float a1 = argument(args.z, texel, current).a;
  float a2 = argument(args.w, texel, current).a;
  float alpha = alpha_op == op_disable ? current.a
              : alpha_op == op_select1 ? a1 : alpha_op == op_select2 ? a2 : a1 * a2;
  return vec4(colour, alpha);
}

void main() {
  vec4 current = v_diffuse;
  if (u_ops.x != op_disable) {
    // A stage without a texture reads opaque white, so it passes the rest through.
    vec4 texel0 = u_has_texture.x > 0.5 ? texture(u_texture0, v_uv0) : vec4(1.0);
    current = stage(u_ops.x, u_ops.y, u_args0, texel0, current);
    if (u_ops.z != op_disable) {
      vec4 texel1 = u_has_texture.y > 0.5 ? texture(u_texture1, v_uv1) : vec4(1.0);
      current = stage(u_ops.z, u_ops.w, u_args1, texel1, current);
    }
  }
  o_colour = current;
}
)";

}  // namespace

bool FfpProgram::Build(std::string* why) {
  program = BuildProgram(vertex_source, fragment_source, why);
  if (!program) return false;
  clip = glGetUniformLocation(program, "u_clip");
  emissive = glGetUniformLocation(program, "u_emissive");
  ambient = glGetUniformLocation(program, "u_ambient");
  diffuse = glGetUniformLocation(program, "u_diffuse");
  global_ambient = glGetUniformLocation(program, "u_global_ambient");
  colour_sources = glGetUniformLocation(program, "u_colour_sources");
  has_vertex_colour = glGetUniformLocation(program, "u_has_vertex_colour");
  ops = glGetUniformLocation(program, "u_ops");
  args0 = glGetUniformLocation(program, "u_args0");
  args1 = glGetUniformLocation(program, "u_args1");
  has_texture = glGetUniformLocation(program, "u_has_texture");
  // Samplers never move: stage n reads texture unit n.
  glUseProgram(program);
  glUniform1i(glGetUniformLocation(program, "u_texture0"), 0);
  glUniform1i(glGetUniformLocation(program, "u_texture1"), 1);
  glUseProgram(0);
  return true;
}

void FfpProgram::Destroy() {
  if (program) glDeleteProgram(program);
  program = 0;
}

}  // namespace so3d::gles
