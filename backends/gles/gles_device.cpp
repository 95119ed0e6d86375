#include "backends/gles/gles_device.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "backends/gles/clip_transform.h"
#include "backends/gles/enum_map.h"
#include "backends/gles/gles_runtime.h"
#include "backends/gles/gles_texture.h"
#include "backends/gles/gles_vertex_buffer.h"
#include "backends/gles/yuv_converter.h"

namespace so3d::gles {

namespace {

constexpr DWORD stream_count = 1;

std::array<float, 4> Rgba(const D3DCOLORVALUE& c) { return {c.r, c.g, c.b, c.a}; }

std::array<float, 4> Rgba(D3DCOLOR c) {
  return {float((c >> 16) & 0xFF) / 255.0f, float((c >> 8) & 0xFF) / 255.0f, float(c & 0xFF) / 255.0f,
          float(c >> 24) / 255.0f};
}

bool StageStateValid(D3DTEXTURESTAGESTATETYPE type, DWORD value) {
  switch (type) {
    case D3DTSS_COLOROP:
    case D3DTSS_ALPHAOP: return TextureOpSupported(value);
    case D3DTSS_COLORARG1:
    case D3DTSS_COLORARG2:
    case D3DTSS_ALPHAARG1:
    case D3DTSS_ALPHAARG2: return TextureArgSupported(value);
    // Only plain set indexes: generated coordinates need a transform pipeline.
    case D3DTSS_TEXCOORDINDEX: return value < VertexLayout::max_sets;
    default: return false;
  }
}

bool SamplerStateValid(D3DSAMPLERSTATETYPE type, DWORD value) {
  switch (type) {
    case D3DSAMP_ADDRESSU:
    case D3DSAMP_ADDRESSV:
    case D3DSAMP_ADDRESSW: return TextureAddress(value) != 0;
    case D3DSAMP_BORDERCOLOR: return true;
    case D3DSAMP_MAGFILTER:
    case D3DSAMP_MINFILTER:
    case D3DSAMP_MIPFILTER: return TextureFilter(value) != 0;
    default: return false;
  }
}

// Whether a lighting input comes from the vertex colour: only a vertex that
// has one can supply COLOR1; COLOR2 (specular) never exists here.
float FromVertex(DWORD source, bool has_colour) { return source == D3DMCS_COLOR1 && has_colour ? 1.0f : 0.0f; }

}  // namespace

GlesDevice::GlesDevice(std::shared_ptr<GlesRuntime> runtime, UINT width, UINT height)
    : runtime_(std::move(runtime)), width_(width), height_(height), state_(DefaultDeviceState()) {}

HRESULT GlesDevice::Create(const DeviceOptions& options, GlesDevice** out, std::string* why) {
  if (!out) return D3DERR_INVALIDCALL;
  *out = nullptr;
  if (options.width == 0 || options.height == 0) return D3DERR_INVALIDCALL;
  std::shared_ptr<GlesRuntime> runtime;
  try {
    runtime = std::make_shared<GlesRuntime>();
  } catch (const std::bad_alloc&) { return E_OUTOFMEMORY; }
  const bool hosted = options.display != EGL_NO_DISPLAY;
  runtime->egl = hosted ? EglContext::CreateOn(options.display, options.share_context, why) : EglContext::Create(why);
  if (!runtime->egl) return E_FAIL;
  if (!runtime->MakeCurrent()) {
    if (why) *why = "eglMakeCurrent failed on the new context";
    return E_FAIL;
  }
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &runtime->max_texture_size);
  GLint max_renderbuffer = 0;
  glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &max_renderbuffer);
  if (options.width > UINT(max_renderbuffer) || options.height > UINT(max_renderbuffer)) {
    if (why) *why = "frame larger than the GL renderbuffer limit";
    return D3DERR_INVALIDCALL;
  }
  std::unique_ptr<GlesDevice> device(new (std::nothrow) GlesDevice(runtime, options.width, options.height));
  if (device) device->alpha_over_ = options.alpha_over;
  if (!device) return E_OUTOFMEMORY;
  if (const HRESULT hr = device->build(why); FAILED(hr)) return hr;
  // A host gets its thread back as it had it.
  if (hosted && FAILED(device->ReleaseContext())) {
    if (why) *why = device->LastError();
    return E_FAIL;
  }
  *out = device.release();
  return D3D_OK;
}

HRESULT GlesDevice::build(std::string* why) {
  if (!program_.Build(why)) return E_FAIL;
  glGenRenderbuffers(1, &colour_);
  glBindRenderbuffer(GL_RENDERBUFFER, colour_);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, GLsizei(width_), GLsizei(height_));
  glGenRenderbuffers(1, &depth_);
  glBindRenderbuffer(GL_RENDERBUFFER, depth_);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, GLsizei(width_), GLsizei(height_));
  glGenFramebuffers(1, &framebuffer_);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colour_);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, depth_);
  if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
    if (why) *why = "framebuffer incomplete";
    return E_FAIL;
  }
  glGenVertexArrays(1, &vertex_array_);
  glGenSamplers(GLsizei(stage_count), samplers_);
  if (glGetError() != GL_NO_ERROR) {
    if (why) *why = "GL objects could not be made";
    return E_FAIL;
  }
  GlStateCache& cache = runtime_->cache;
  cache.Viewport(0, 0, GLsizei(width_), GLsizei(height_));
  cache.FrontFace(GL_CW);  // Direct3D's front faces wind clockwise on screen
  cache.UseProgram(program_.program);
  cache.BindVertexArray(vertex_array_);
  for (std::size_t i = 0; i < stage_count; ++i) cache.BindSampler(i, samplers_[i]);
  // Direct3D leaves a new depth buffer undefined; starting at the far plane
  // spares a host that forgets the first Clear an empty frame.
  cache.ClearColor(0, 0, 0, 0);
  cache.ClearDepth(1);
  cache.DepthMask(true);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
  cache.CountClear();
  return D3D_OK;
}

GlesDevice::~GlesDevice() {
  for (GlesTexture*& t : state_.textures)
    if (t) t->Release();
  if (state_.stream.buffer) state_.stream.buffer->Release();
  if (!runtime_->MakeCurrent()) return;
  if (yuv_) yuv_->Destroy(runtime_->cache);
  program_.Destroy();
  glDeleteSamplers(GLsizei(stage_count), samplers_);
  glDeleteVertexArrays(1, &vertex_array_);
  glDeleteFramebuffers(1, &framebuffer_);
  glDeleteRenderbuffers(1, &colour_);
  glDeleteRenderbuffers(1, &depth_);
}

HRESULT GlesDevice::BeginScene() {
  if (in_scene_) return D3DERR_INVALIDCALL;
  in_scene_ = true;
  return D3D_OK;
}

HRESULT GlesDevice::EndScene() {
  if (!in_scene_) return D3DERR_INVALIDCALL;
  in_scene_ = false;
  return D3D_OK;
}

HRESULT GlesDevice::Clear(DWORD Count, const D3DRECT* pRects, DWORD Flags, D3DCOLOR Color, float Z, DWORD Stencil) {
  constexpr DWORD known = D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER | D3DCLEAR_STENCIL;
  if (Flags == 0 || (Flags & ~known) || (Count == 0) != (pRects == nullptr) || !(Z >= 0.0f && Z <= 1.0f))
    return D3DERR_INVALIDCALL;
  if (!runtime_->MakeCurrent()) return E_FAIL;
  GlStateCache& cache = runtime_->cache;
  GLbitfield mask = 0;
  if (Flags & D3DCLEAR_TARGET) {
    const auto c = Rgba(Color);
    cache.ClearColor(c[0], c[1], c[2], c[3]);
    cache.ColorMask(true);
    mask |= GL_COLOR_BUFFER_BIT;
  }
  if (Flags & D3DCLEAR_ZBUFFER) {
    cache.ClearDepth(Z);
    cache.DepthMask(true);  // Clear ignores ZWRITEENABLE; the next draw puts it back
    dirty_ |= dirty_depth;
    mask |= GL_DEPTH_BUFFER_BIT;
  }
  if (Flags & D3DCLEAR_STENCIL) {
    cache.ClearStencil(GLint(Stencil & 0xFF));
    mask |= GL_STENCIL_BUFFER_BIT;
  }
  if (Count == 0) {
    cache.Capability(GL_SCISSOR_TEST, false);
    glClear(mask);
    cache.CountClear();
    return D3D_OK;
  }
  cache.Capability(GL_SCISSOR_TEST, true);
  const LONG w = LONG(width_), h = LONG(height_);
  for (DWORD i = 0; i < Count; ++i) {
    const LONG x1 = std::clamp(pRects[i].x1, LONG(0), w), x2 = std::clamp(pRects[i].x2, LONG(0), w);
    const LONG y1 = std::clamp(pRects[i].y1, LONG(0), h), y2 = std::clamp(pRects[i].y2, LONG(0), h);
    if (x1 >= x2 || y1 >= y2) continue;
    cache.Scissor(x1, h - y2, x2 - x1, y2 - y1);  // GL counts rows from the bottom
    glClear(mask);
    cache.CountClear();
  }
  cache.Capability(GL_SCISSOR_TEST, false);
  return D3D_OK;
}

HRESULT GlesDevice::CreateTexture(UINT Width, UINT Height, UINT Levels, DWORD Usage, D3DFORMAT Format, D3DPOOL,
                                  IDirect3DTexture9** ppTexture, HANDLE* pSharedHandle) {
  if (!ppTexture) return D3DERR_INVALIDCALL;
  *ppTexture = nullptr;
  // Render targets and shared resources are beyond this device.
  if ((Usage & D3DUSAGE_RENDERTARGET) || pSharedHandle) return D3DERR_INVALIDCALL;
  GlesTexture* texture = nullptr;
  const HRESULT hr = GlesTexture::Create(runtime_, Width, Height, Levels, Format, &texture);
  *ppTexture = texture;
  return hr;
}

HRESULT GlesDevice::CreateVertexBuffer(UINT Length, DWORD, DWORD FVF, D3DPOOL, IDirect3DVertexBuffer9** ppVertexBuffer,
                                       HANDLE* pSharedHandle) {
  if (!ppVertexBuffer) return D3DERR_INVALIDCALL;
  *ppVertexBuffer = nullptr;
  if (pSharedHandle) return D3DERR_INVALIDCALL;
  GlesVertexBuffer* buffer = nullptr;
  const HRESULT hr = GlesVertexBuffer::Create(runtime_, Length, FVF, &buffer);
  *ppVertexBuffer = buffer;
  return hr;
}

HRESULT GlesDevice::SetTransform(D3DTRANSFORMSTATETYPE State, const D3DMATRIX* pMatrix) {
  std::size_t slot = 0;
  if (!pMatrix || !backend::SlotOf(State, slot)) return D3DERR_INVALIDCALL;
  D3DMATRIX& stored = state_.transforms[slot];
  if (std::memcmp(&stored, pMatrix, sizeof stored) == 0) return D3D_OK;
  stored = *pMatrix;
  if (slot <= slot_projection) dirty_ |= dirty_transforms;  // texture transforms stay off: stored only
  return D3D_OK;
}

HRESULT GlesDevice::GetTransform(D3DTRANSFORMSTATETYPE State, D3DMATRIX* pMatrix) {
  std::size_t slot = 0;
  if (!pMatrix || !backend::SlotOf(State, slot)) return D3DERR_INVALIDCALL;
  *pMatrix = state_.transforms[slot];
  return D3D_OK;
}

HRESULT GlesDevice::SetMaterial(const D3DMATERIAL9* pMaterial) {
  if (!pMaterial) return D3DERR_INVALIDCALL;
  if (std::memcmp(&state_.material, pMaterial, sizeof state_.material) == 0) return D3D_OK;
  state_.material = *pMaterial;
  dirty_ |= dirty_material;
  return D3D_OK;
}

HRESULT GlesDevice::SetRenderState(D3DRENDERSTATETYPE State, DWORD Value) {
  const std::uint32_t group = RenderStateGroup(State);
  if (!group || !RenderStateValid(State, Value)) return D3DERR_INVALIDCALL;
  DWORD& stored = state_.render[State];
  if (stored == Value) return D3D_OK;
  stored = Value;
  dirty_ |= group;
  return D3D_OK;
}

HRESULT GlesDevice::SetTexture(DWORD Stage, IDirect3DBaseTexture9* pTexture) {
  if (Stage >= stage_count) return D3DERR_INVALIDCALL;
  GlesTexture* texture = nullptr;
  if (pTexture) {
    texture = dynamic_cast<GlesTexture*>(pTexture);
    if (!texture || texture->Runtime() != runtime_.get()) return D3DERR_INVALIDCALL;  // another device's
  }
  GlesTexture*& stored = state_.textures[Stage];
  if (stored == texture) return D3D_OK;
  if (texture) texture->AddRef();
  if (stored) stored->Release();
  stored = texture;
  dirty_ |= dirty_textures | dirty_stages;
  return D3D_OK;
}

HRESULT GlesDevice::SetTextureStageState(DWORD Stage, D3DTEXTURESTAGESTATETYPE Type, DWORD Value) {
  if (Stage >= stage_count || Type >= stage_state_limit || !StageStateValid(Type, Value)) return D3DERR_INVALIDCALL;
  DWORD& stored = state_.stages[Stage][Type];
  if (stored == Value) return D3D_OK;
  stored = Value;
  dirty_ |= Type == D3DTSS_TEXCOORDINDEX ? dirty_vertices : dirty_stages;
  return D3D_OK;
}

HRESULT GlesDevice::SetSamplerState(DWORD Sampler, D3DSAMPLERSTATETYPE Type, DWORD Value) {
  if (Sampler >= stage_count || Type >= sampler_state_limit || !SamplerStateValid(Type, Value))
    return D3DERR_INVALIDCALL;
  DWORD& stored = state_.samplers[Sampler][Type];
  if (stored == Value) return D3D_OK;
  stored = Value;
  dirty_ |= dirty_samplers;
  return D3D_OK;
}

HRESULT GlesDevice::SetFVF(DWORD FVF) {
  if (!LayoutOf(FVF).valid) return D3DERR_INVALIDCALL;
  if (state_.fvf == FVF) return D3D_OK;
  state_.fvf = FVF;
  dirty_ |= dirty_vertices | dirty_material;  // the vertex colour feeds the lighting inputs
  return D3D_OK;
}

HRESULT GlesDevice::SetVertexShader(IDirect3DVertexShader9* pShader) { return pShader ? D3DERR_INVALIDCALL : D3D_OK; }

HRESULT GlesDevice::SetStreamSource(UINT StreamNumber, IDirect3DVertexBuffer9* pStreamData, UINT OffsetInBytes,
                                    UINT Stride) {
  if (StreamNumber >= stream_count) return D3DERR_INVALIDCALL;
  GlesVertexBuffer* buffer = nullptr;
  if (pStreamData) {
    buffer = dynamic_cast<GlesVertexBuffer*>(pStreamData);
    if (!buffer || buffer->Runtime() != runtime_.get() || Stride == 0) return D3DERR_INVALIDCALL;
  }
  StreamBinding& stored = state_.stream;
  if (stored.buffer == buffer && stored.offset == OffsetInBytes && stored.stride == Stride) return D3D_OK;
  if (buffer) buffer->AddRef();
  if (stored.buffer) stored.buffer->Release();
  stored = {buffer, OffsetInBytes, Stride};
  dirty_ |= dirty_vertices;
  return D3D_OK;
}

HRESULT GlesDevice::DrawPrimitive(D3DPRIMITIVETYPE PrimitiveType, UINT StartVertex, UINT PrimitiveCount) {
  const GLenum mode = PrimitiveMode(PrimitiveType);
  const std::uint64_t count = VerticesFor(PrimitiveType, PrimitiveCount);
  const StreamBinding& stream = state_.stream;
  const VertexLayout layout = LayoutOf(state_.fvf);
  if (!in_scene_ || !mode || !count || !stream.buffer || !layout.valid || stream.stride < layout.size)
    return D3DERR_INVALIDCALL;
  // The last vertex read must end inside the buffer; 64-bit sums cannot wrap here.
  const std::uint64_t last = std::uint64_t(StartVertex) + count - 1;
  const std::uint64_t end = std::uint64_t(stream.offset) + last * stream.stride + layout.size;
  if (end > stream.buffer->Length() || count > std::uint64_t(INT32_MAX)) return D3DERR_INVALIDCALL;
  if (!runtime_->MakeCurrent()) return E_FAIL;

  if (dirty_ & dirty_transforms) apply_transforms();
  if (dirty_ & dirty_material) apply_material();
  if (dirty_ & (dirty_blend | dirty_depth | dirty_raster)) apply_fixed_state();
  if (dirty_ & dirty_stages) apply_stages();
  // Uploads rebind unit 0 behind the device's back; the cache makes this free when nothing moved.
  apply_textures_and_samplers();
  if (dirty_ & dirty_vertices) apply_vertices();
  dirty_ = 0;

  glDrawArrays(mode, GLint(StartVertex), GLsizei(count));
  runtime_->cache.CountDraw();
  return D3D_OK;
}

void GlesDevice::apply_transforms() {
  const auto& t = state_.transforms;
  const auto clip = ClipMatrix(t[slot_world], t[slot_view], t[slot_projection], width_, height_);
  runtime_->cache.UniformMatrix(program_.clip, clip.data());
}

void GlesDevice::apply_material() {
  GlStateCache& cache = runtime_->cache;
  const D3DMATERIAL9& m = state_.material;
  const auto& r = state_.render;
  const bool has_colour = LayoutOf(state_.fvf).diffuse >= 0;
  const auto emissive = Rgba(m.Emissive), ambient = Rgba(m.Ambient), diffuse = Rgba(m.Diffuse);
  const auto global = Rgba(D3DCOLOR(r[D3DRS_AMBIENT]));
  const float sources[4] = {FromVertex(r[D3DRS_EMISSIVEMATERIALSOURCE], has_colour),
                            FromVertex(r[D3DRS_AMBIENTMATERIALSOURCE], has_colour),
                            FromVertex(r[D3DRS_DIFFUSEMATERIALSOURCE], has_colour), r[D3DRS_LIGHTING] ? 1.0f : 0.0f};
  const float vertex_colour = has_colour ? 1.0f : 0.0f;
  cache.UniformFloats(program_.emissive, emissive.data(), 4);
  cache.UniformFloats(program_.ambient, ambient.data(), 4);
  cache.UniformFloats(program_.diffuse, diffuse.data(), 4);
  cache.UniformFloats(program_.global_ambient, global.data(), 4);
  cache.UniformFloats(program_.colour_sources, sources, 4);
  cache.UniformFloats(program_.has_vertex_colour, &vertex_colour, 1);
}

void GlesDevice::apply_fixed_state() {
  GlStateCache& cache = runtime_->cache;
  const auto& r = state_.render;
  cache.Capability(GL_BLEND, r[D3DRS_ALPHABLENDENABLE] != 0);
  if (r[D3DRS_ALPHABLENDENABLE]) {
    const GLenum src = BlendFactor(r[D3DRS_SRCBLEND]), dst = BlendFactor(r[D3DRS_DESTBLEND]);
    if (alpha_over_) {
      cache.BlendFunc(src, dst, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    } else {
      cache.BlendFunc(src, dst);
    }
  }
  const bool depth = r[D3DRS_ZENABLE] != 0;
  cache.Capability(GL_DEPTH_TEST, depth);
  if (depth) {
    cache.DepthFunc(DepthFunction(r[D3DRS_ZFUNC]));
    cache.DepthMask(r[D3DRS_ZWRITEENABLE] != 0);
  }
  const GLenum culled = CulledFace(r[D3DRS_CULLMODE]);
  cache.Capability(GL_CULL_FACE, culled != GL_NONE);
  if (culled != GL_NONE) cache.CullFace(culled);
  cache.Capability(GL_DITHER, r[D3DRS_DITHERENABLE] != 0);
}

void GlesDevice::apply_stages() {
  const auto& s = state_.stages;
  const GLint ops[4] = {GLint(s[0][D3DTSS_COLOROP]), GLint(s[0][D3DTSS_ALPHAOP]), GLint(s[1][D3DTSS_COLOROP]),
                        GLint(s[1][D3DTSS_ALPHAOP])};
  GLint args[stage_count][4];
  for (std::size_t i = 0; i < stage_count; ++i) {
    args[i][0] = GLint(s[i][D3DTSS_COLORARG1]);
    args[i][1] = GLint(s[i][D3DTSS_COLORARG2]);
    args[i][2] = GLint(s[i][D3DTSS_ALPHAARG1]);
    args[i][3] = GLint(s[i][D3DTSS_ALPHAARG2]);
  }
  const float bound[2] = {state_.textures[0] ? 1.0f : 0.0f, state_.textures[1] ? 1.0f : 0.0f};
  GlStateCache& cache = runtime_->cache;
  cache.UniformInts(program_.ops, ops, 4);
  cache.UniformInts(program_.args0, args[0], 4);
  cache.UniformInts(program_.args1, args[1], 4);
  cache.UniformFloats(program_.has_texture, bound, 2);
}

void GlesDevice::apply_textures_and_samplers() {
  GlStateCache& cache = runtime_->cache;
  for (std::size_t i = 0; i < stage_count; ++i) {
    const GlesTexture* texture = state_.textures[i];
    cache.BindTexture(i, texture ? texture->Name() : 0);
    if (!(dirty_ & dirty_samplers)) continue;
    const auto& p = state_.samplers[i];
    cache.SamplerParameter(i, samplers_[i], GL_TEXTURE_MIN_FILTER, GLint(TextureFilter(p[D3DSAMP_MINFILTER])));
    cache.SamplerParameter(i, samplers_[i], GL_TEXTURE_MAG_FILTER, GLint(TextureFilter(p[D3DSAMP_MAGFILTER])));
    cache.SamplerParameter(i, samplers_[i], GL_TEXTURE_WRAP_S, GLint(TextureAddress(p[D3DSAMP_ADDRESSU])));
    cache.SamplerParameter(i, samplers_[i], GL_TEXTURE_WRAP_T, GLint(TextureAddress(p[D3DSAMP_ADDRESSV])));
  }
}

void GlesDevice::apply_vertices() {
  GlStateCache& cache = runtime_->cache;
  const StreamBinding& stream = state_.stream;
  const VertexLayout layout = LayoutOf(state_.fvf);
  const GLuint name = stream.buffer->Name();
  const auto at = [&](std::uint32_t offset) { return std::uintptr_t(stream.offset) + offset; };
  const GLsizei stride = GLsizei(stream.stride);
  cache.Attribute(attribute_position, {true, name, 3, GL_FLOAT, false, stride, at(0)});
  if (layout.diffuse >= 0)
    cache.Attribute(attribute_colour,
                    {true, name, 4, GL_UNSIGNED_BYTE, true, stride, at(std::uint32_t(layout.diffuse))});
  else
    cache.Attribute(attribute_colour, {});
  const GLuint uv_locations[stage_count] = {attribute_uv0, attribute_uv1};
  for (std::size_t i = 0; i < stage_count; ++i) {
    const DWORD set = state_.stages[i][D3DTSS_TEXCOORDINDEX];
    if (set < layout.set_count)
      cache.Attribute(uv_locations[i], {true, name, 2, GL_FLOAT, false, stride, at(layout.sets[set])});
    else
      cache.Attribute(uv_locations[i], {});  // a missing set reads GL's constant (0, 0)
  }
}

HRESULT GlesDevice::ReadPixels(std::uint8_t* out, std::size_t pitch, PixelOrder order) {
  const std::size_t row = std::size_t(width_) * 4;
  if (!out || pitch < row) return D3DERR_INVALIDCALL;
  if (!runtime_->MakeCurrent()) return E_FAIL;
  try {
    readback_.resize(row * height_);
  } catch (const std::bad_alloc&) { return E_OUTOFMEMORY; }
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glReadPixels(0, 0, GLsizei(width_), GLsizei(height_), GL_RGBA, GL_UNSIGNED_BYTE, readback_.data());
  runtime_->cache.CountReadback();
  if (glGetError() != GL_NO_ERROR) return E_FAIL;
  for (UINT y = 0; y < height_; ++y) {
    // GL's first row is the bottom one.
    const std::uint8_t* src = readback_.data() + std::size_t(height_ - 1 - y) * row;
    std::uint8_t* dst = out + std::size_t(y) * pitch;
    if (order == PixelOrder::rgba) {
      std::memcpy(dst, src, row);
      continue;
    }
    for (std::size_t x = 0; x < row; x += 4) {
      dst[x] = src[x + 2];
      dst[x + 1] = src[x + 1];
      dst[x + 2] = src[x];
      dst[x + 3] = src[x + 3];
    }
  }
  return D3D_OK;
}

std::vector<std::uint8_t> GlesDevice::ReadPixels(PixelOrder order) {
  std::vector<std::uint8_t> pixels(std::size_t(width_) * height_ * 4);
  if (FAILED(ReadPixels(pixels.data(), std::size_t(width_) * 4, order))) pixels.clear();
  return pixels;
}

HRESULT GlesDevice::ReleaseContext() {
  if (runtime_->egl->Release()) return D3D_OK;
  last_error_ = "eglMakeCurrent could not give the thread its binding back";
  return E_FAIL;
}

HRESULT GlesDevice::SetRenderTarget(GLuint texture) {
  if (!runtime_->MakeCurrent()) {
    last_error_ = "the device's context cannot be made current on this thread";
    return E_FAIL;
  }
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
  if (texture != 0 && glIsTexture(texture)) {
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE && glGetError() == GL_NO_ERROR)
      return D3D_OK;
    last_error_ = "the texture cannot be drawn into (not RGBA8, not the device's size, or not shared)";
  } else if (texture != 0) {
    last_error_ = "no such texture in a context shared with the device's";
  }
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colour_);
  return texture == 0 ? D3D_OK : D3DERR_INVALIDCALL;
}

HRESULT GlesDevice::WrapTexture(GLuint texture, UINT width, UINT height, IDirect3DTexture9** out) {
  GlesTexture* wrapped = nullptr;
  const HRESULT hr = GlesTexture::Wrap(runtime_, texture, width, height, &wrapped);
  if (out) *out = wrapped;
  if (FAILED(hr)) last_error_ = "the texture cannot be wrapped (null, empty, or not shared with the device's context)";
  return hr;
}

namespace {

bool PlanesCover(const YuvPicture& p) {
  if (p.width == 0 || p.height == 0 || !p.planes[0] || !p.planes[1] || p.strides[0] < p.width) return false;
  const std::size_t chroma = p.layout == YuvLayout::yuv444 ? p.width : (p.width + 1) / 2;
  if (p.layout == YuvLayout::nv12) return p.strides[1] >= 2 * chroma && p.strides[1] % 2 == 0;
  return p.planes[2] && p.strides[1] >= chroma && p.strides[2] >= chroma;
}

}  // namespace

HRESULT GlesDevice::ConvertYuv(const YuvPicture& picture, IDirect3DTexture9* texture) {
  auto* target = dynamic_cast<GlesTexture*>(texture);
  if (!target || target->Runtime() != runtime_.get() || target->Wrapped() || target->Width() != picture.width ||
      target->Height() != picture.height || !PlanesCover(picture)) {
    last_error_ = "the picture and the texture do not match (size, planes, or not this device's own texture)";
    return D3DERR_INVALIDCALL;
  }
  if (!runtime_->MakeCurrent()) {
    last_error_ = "the device's context cannot be made current on this thread";
    return E_FAIL;
  }
  if (!yuv_) {
    yuv_.reset(new (std::nothrow) YuvConverter);
    if (!yuv_) return E_OUTOFMEMORY;
  }
  GlStateCache& cache = runtime_->cache;
  const bool converted = yuv_->Convert(cache, picture, target->Name(), last_error_);
  // The fixed-function emulation's own GL state back, all of it applied
  // again at the next draw.
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
  cache.UseProgram(program_.program);
  cache.BindVertexArray(vertex_array_);
  cache.Viewport(0, 0, GLsizei(width_), GLsizei(height_));
  for (std::size_t i = 0; i < stage_count; ++i) cache.BindSampler(i, samplers_[i]);
  dirty_ = dirty_all;
  return converted ? D3D_OK : E_FAIL;
}

EGLDisplay GlesDevice::Display() const { return runtime_->egl->Display(); }
EGLContext GlesDevice::Context() const { return runtime_->egl->Context(); }

const GlCallCounts& GlesDevice::Counts() const { return runtime_->cache.Counts(); }
void GlesDevice::ResetCounts() { runtime_->cache.ResetCounts(); }
const std::string& GlesDevice::Renderer() const { return runtime_->egl->Renderer(); }
const std::string& GlesDevice::Platform() const { return runtime_->egl->Platform(); }

}  // namespace so3d::gles
