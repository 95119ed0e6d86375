#pragma once
// GlesDevice: an IDirect3DDevice9 over OpenGL ES 3. It renders into its own
// framebuffer (RGBA8 colour, 24-bit depth with stencil) of the size it was
// made with and hands the frame back with ReadPixels, or into a GL texture of
// the host's (SetRenderTarget). It runs headless on a display it finds, or
// inside a host on the host's EGL display with its own context sharing
// objects with the host's, so that host textures become screens without a
// copy (WrapTexture).
//
// It emulates the fixed-function subset the module drives: world, view and
// projection transforms (Direct3D's row vectors, left-handed, depth 0 to 1,
// pixel centres on integers); a material lit with no lights (emissive plus
// ambient × the global ambient, the diffuse alpha); two texture stages with
// DISABLE, SELECTARG1, SELECTARG2 and MODULATE over DIFFUSE, CURRENT,
// TEXTURE and TFACTOR (the default, opaque white); alpha blending; culling
// with clockwise front faces; depth test and write; linear or point
// sampling with wrap, mirror or clamp addressing. A stage whose argument is
// TEXTURE while no texture is bound reads opaque white.
//
// Every Set* call validates (D3DERR_INVALIDCALL), compares, stores into one
// DeviceState and marks a dirty group; DrawPrimitive applies the groups
// through a GL state cache, so an unchanged state costs no GL call.
// SetTexture and SetStreamSource hold a reference on what they bind, as
// Direct3D does. Draws need BeginScene; Clear does not.
//
// All calls on one thread at a time; the device makes its context current
// on the calling thread when it needs GL, remembering what the thread had
// bound. ReleaseContext after a frame gives the thread back as it was, so
// that another thread may use the device next (streaming and teardown
// threads differ in most hosts).
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "backends/gles/device_state.h"
#include "backends/gles/egl_context.h"
#include "backends/gles/ffp_program.h"
#include "backends/gles/gl_state_cache.h"
#include "backends/gles/yuv_picture.h"
#include "backends/state/ref_counted.h"
#include "platform/d3d9/d3d9.h"

namespace so3d::gles {

struct GlesRuntime;
class YuvConverter;

// Byte order of ReadPixels' pixels.
enum class PixelOrder { bgra, rgba };

// How Create makes a device.
struct DeviceOptions {
  // The frame in pixels: the framebuffer's size and SetRenderTarget's.
  UINT width = 720;
  UINT height = 480;
  // A host's initialised EGL display to make the device's context on, and
  // the host context it shares objects with (EGL_NO_CONTEXT: none). With no
  // display the device finds one of its own, headless.
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLContext share_context = EGL_NO_CONTEXT;
  // Blended draws compose the frame's alpha as "over" (source alpha plus
  // what it leaves of the destination's) instead of blending it like the
  // colour: the frame's alpha is then the pictures' coverage and its colour
  // premultiplied by it, ready for keying over other video. The colour is
  // drawn the same either way.
  bool alpha_over = false;
};

class GlesDevice final : public backend::RefCounted<IDirect3DDevice9> {
 public:
  // A device with one reference, the caller's: the last Release destroys it
  // (never delete it). Textures and buffers it made keep its context alive
  // until they are released too; the context goes with the thread's binding
  // given back. A headless device leaves its context current on the calling
  // thread; one inside a host gives the thread back as it was. E_FAIL when
  // no ES 3 context can be made (then `why`, which may be null, says why),
  // D3DERR_INVALIDCALL for a null `out` or a zero or too large size,
  // E_OUTOFMEMORY; *out is null on failure.
  static HRESULT Create(const DeviceOptions& options, GlesDevice** out, std::string* why = nullptr);

  HRESULT BeginScene() override;
  HRESULT EndScene() override;
  // `rects` (Count of them, in pixels from the top left) limit the clear;
  // null with a Count of 0 clears everything.
  HRESULT Clear(DWORD Count, const D3DRECT* pRects, DWORD Flags, D3DCOLOR Color, float Z, DWORD Stencil) override;
  HRESULT CreateTexture(UINT Width, UINT Height, UINT Levels, DWORD Usage, D3DFORMAT Format, D3DPOOL Pool,
                        IDirect3DTexture9** ppTexture, HANDLE* pSharedHandle) override;
  HRESULT CreateVertexBuffer(UINT Length, DWORD Usage, DWORD FVF, D3DPOOL Pool, IDirect3DVertexBuffer9** ppVertexBuffer,
                             HANDLE* pSharedHandle) override;
  HRESULT SetTransform(D3DTRANSFORMSTATETYPE State, const D3DMATRIX* pMatrix) override;
  HRESULT GetTransform(D3DTRANSFORMSTATETYPE State, D3DMATRIX* pMatrix) override;
  HRESULT SetMaterial(const D3DMATERIAL9* pMaterial) override;
  HRESULT SetRenderState(D3DRENDERSTATETYPE State, DWORD Value) override;
  HRESULT SetTexture(DWORD Stage, IDirect3DBaseTexture9* pTexture) override;
  HRESULT SetTextureStageState(DWORD Stage, D3DTEXTURESTAGESTATETYPE Type, DWORD Value) override;
  HRESULT SetSamplerState(DWORD Sampler, D3DSAMPLERSTATETYPE Type, DWORD Value) override;
  HRESULT DrawPrimitive(D3DPRIMITIVETYPE PrimitiveType, UINT StartVertex, UINT PrimitiveCount) override;
  HRESULT SetFVF(DWORD FVF) override;
  // Only null (the fixed pipeline) is accepted.
  HRESULT SetVertexShader(IDirect3DVertexShader9* pShader) override;
  HRESULT SetStreamSource(UINT StreamNumber, IDirect3DVertexBuffer9* pStreamData, UINT OffsetInBytes,
                          UINT Stride) override;

  // The size the device was made with.
  UINT Width() const { return width_; }
  UINT Height() const { return height_; }

  // --- Inside a host ---
  // Gives the calling thread back the EGL binding it had before the device
  // took it (or none). E_FAIL when EGL refuses (LastError says why).
  HRESULT ReleaseContext();
  // Draws from now on into the host's GL texture `texture` (RGBA8, Width() ×
  // Height(), from a context that shares objects with the device's); 0
  // returns to the device's own framebuffer. The frame lands in GL's row
  // order (the first row is the picture's bottom). The texture stays the
  // host's. D3DERR_INVALIDCALL when the texture cannot be drawn into: the
  // device then draws into its own framebuffer. E_FAIL when the context
  // cannot be made current.
  HRESULT SetRenderTarget(GLuint texture);
  // The host's GL texture `texture` (RGBA, width × height, shared with the
  // device's context) as a screen texture for soD3DTextureManager::SetTexture,
  // written to *out with one reference, the caller's (Release it). The
  // texture stays the host's: it is never written, locked or deleted, and
  // must outlive the wrapper's last reference. D3DERR_INVALIDCALL for a zero
  // name or size or a texture the context cannot see, E_FAIL when the
  // context cannot be made current, E_OUTOFMEMORY; *out is null then.
  HRESULT WrapTexture(GLuint texture, UINT width, UINT height, IDirect3DTexture9** out);
  // --- Video pictures ---
  // Converts `picture` (planar Y'CbCr) into `texture`, one of this device's
  // own textures of the picture's size, on the GPU: the way to feed a
  // screen from a video source without converting on the CPU. The texture's
  // lockable copy is not updated. D3DERR_INVALIDCALL for a texture of
  // another device or size, a wrapped one, or planes that are missing or
  // whose rows are shorter than the picture's; E_FAIL when GL fails
  // (LastError says why).
  HRESULT ConvertYuv(const YuvPicture& picture, IDirect3DTexture9* texture);

  // Why the last failed ReleaseContext, SetRenderTarget, WrapTexture or ConvertYuv did,
  // in words ("" before any failure); the Direct3D calls answer with their
  // HRESULT only.
  const std::string& LastError() const { return last_error_; }
  // The display the device runs on (the host's when given) and its own
  // context, for hosts that share with it the other way.
  EGLDisplay Display() const;
  EGLContext Context() const;
  // The frame, rows top to bottom, four bytes a pixel in `order`, rows
  // `pitch` bytes apart (at least Width() × 4). No allocation after the first
  // call. D3DERR_INVALIDCALL for a null `out` or a short pitch, E_FAIL when
  // GL fails, E_OUTOFMEMORY.
  HRESULT ReadPixels(std::uint8_t* out, std::size_t pitch, PixelOrder order);
  // Convenience: the whole frame as one tightly packed block; empty on
  // failure.
  std::vector<std::uint8_t> ReadPixels(PixelOrder order);

  // Diagnostics: the state the Set* calls stored, and the GL calls made
  // since the last ResetCounts (by the device and what it made).
  const DeviceState& State() const { return state_; }
  const GlCallCounts& Counts() const;
  void ResetCounts();
  const std::string& Renderer() const;  // GL_RENDERER of the context
  const std::string& Platform() const;  // the EGL display that served

 private:
  friend struct std::default_delete<GlesDevice>;
  GlesDevice(std::shared_ptr<GlesRuntime> runtime, UINT width, UINT height);
  ~GlesDevice() override;
  HRESULT build(std::string* why);

  // Draw-time application of the dirty groups.
  void apply_transforms();
  void apply_material();
  void apply_fixed_state();
  void apply_stages();
  void apply_textures_and_samplers();
  void apply_vertices();

  std::shared_ptr<GlesRuntime> runtime_;
  UINT width_, height_;
  DeviceState state_;
  std::uint32_t dirty_ = dirty_all;
  bool in_scene_ = false;
  bool alpha_over_ = false;
  FfpProgram program_;
  GLuint framebuffer_ = 0;
  GLuint colour_ = 0, depth_ = 0;  // renderbuffers
  GLuint vertex_array_ = 0;
  GLuint samplers_[stage_count] = {};
  std::vector<std::uint8_t> readback_;
  std::unique_ptr<YuvConverter> yuv_;  // made on the first ConvertYuv
  std::string last_error_;
};

}  // namespace so3d::gles
