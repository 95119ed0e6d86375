#pragma once
// A Direct3D 9 device for tests. It logs every call made on it or on the
// resources it made, in order, with the arguments as text; it keeps the
// state that the calls set so tests can read it back; its textures and
// vertex buffers hold real memory. Resources stay in memory after their last
// Release, so a test can still read them and every call on a dead resource
// is logged as a misuse instead of crashing.
//
// Resources are named by kind and creation order: "tex1", "tex2" … for
// textures, "vb1" … for vertex buffers. In the log a null pointer reads
// "null" and a pointer the device did not make reads "foreign".
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/d3d9/d3d9.h"

namespace so3d::test {

class RecordingDevice;

// One logged call. `args` are the arguments as text: integers in decimal
// (enumerations by value), floats in shortest form, resources by name.
// Methods of a resource carry its name as the first argument.
struct DeviceCall {
  std::string name;               // method name, e.g. "SetRenderState", "LockRect"
  std::vector<std::string> args;  // pointer-out arguments are left out
  HRESULT result = D3D_OK;
  std::optional<D3DMATRIX> matrix;      // SetTransform, GetTransform (the matrix handed out)
  std::optional<D3DMATERIAL9> material;  // SetMaterial

  // "SetTexture(0, tex1)".
  std::string Text() const;
};

class RecordingTexture final : public IDirect3DTexture9 {
 public:
  ~RecordingTexture() override = default;  // the device owns the memory
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT LockRect(UINT Level, D3DLOCKED_RECT* pLockedRect, const RECT* pRect, DWORD Flags) override;
  HRESULT UnlockRect(UINT Level) override;

  const std::string& Name() const { return name_; }
  UINT Width() const { return width_; }
  UINT Height() const { return height_; }
  UINT Levels() const { return levels_; }
  DWORD Usage() const { return usage_; }
  D3DFORMAT Format() const { return format_; }
  D3DPOOL Pool() const { return pool_; }
  // Rows of level 0 lie this many bytes apart, more than a row needs, so
  // code that ignores the pitch shows up.
  INT Pitch() const { return pitch_; }
  ULONG References() const { return refs_; }
  bool Locked() const { return locked_; }
  // Texel (x, y) of level 0 as a 32-bit value (alpha in the top byte);
  // texels never written read RecordingDevice::unwritten. Throws
  // std::out_of_range outside the texture.
  std::uint32_t Texel(UINT x, UINT y) const;
  // Level 0 with its row padding, Pitch() bytes a row.
  const std::vector<std::uint8_t>& Bytes() const { return bytes_; }

 private:
  friend class RecordingDevice;
  RecordingTexture(RecordingDevice& device, std::string name, UINT width, UINT height, UINT levels, DWORD usage,
                   D3DFORMAT format, D3DPOOL pool);

  RecordingDevice& device_;
  std::string name_;
  UINT width_, height_, levels_;
  DWORD usage_;
  D3DFORMAT format_;
  D3DPOOL pool_;
  INT pitch_;
  ULONG refs_ = 1;
  bool locked_ = false;
  std::vector<std::uint8_t> bytes_;  // level 0 only
};

class RecordingVertexBuffer final : public IDirect3DVertexBuffer9 {
 public:
  ~RecordingVertexBuffer() override = default;  // the device owns the memory
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT Lock(UINT OffsetToLock, UINT SizeToLock, void** ppbData, DWORD Flags) override;
  HRESULT Unlock() override;

  const std::string& Name() const { return name_; }
  UINT Length() const { return UINT(bytes_.size()); }
  DWORD Usage() const { return usage_; }
  DWORD FVF() const { return fvf_; }
  D3DPOOL Pool() const { return pool_; }
  ULONG References() const { return refs_; }
  bool Locked() const { return locked_; }
  const std::vector<std::uint8_t>& Bytes() const { return bytes_; }
  // Element `index` of the contents read as an array of T.
  template <typename T>
  T At(std::size_t index) const {
    T value;
    std::memcpy(&value, bytes_.data() + index * sizeof(T), sizeof(T));
    return value;
  }

 private:
  friend class RecordingDevice;
  RecordingVertexBuffer(RecordingDevice& device, std::string name, UINT length, DWORD usage, DWORD fvf,
                        D3DPOOL pool);

  RecordingDevice& device_;
  std::string name_;
  DWORD usage_;
  DWORD fvf_;
  D3DPOOL pool_;
  ULONG refs_ = 1;
  bool locked_ = false;
  std::vector<std::uint8_t> bytes_;
};

class RecordingDevice final : public IDirect3DDevice9 {
 public:
  // Fill of fresh texture and vertex-buffer memory.
  static constexpr std::uint8_t unwritten_byte = 0xCD;
  static constexpr std::uint32_t unwritten = 0xCDCDCDCD;

  RecordingDevice() = default;
  RecordingDevice(const RecordingDevice&) = delete;
  RecordingDevice& operator=(const RecordingDevice&) = delete;
  ~RecordingDevice() override;

  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT BeginScene() override;
  HRESULT EndScene() override;
  HRESULT Clear(DWORD Count, const D3DRECT* pRects, DWORD Flags, D3DCOLOR Color, float Z, DWORD Stencil) override;
  HRESULT CreateTexture(UINT Width, UINT Height, UINT Levels, DWORD Usage, D3DFORMAT Format, D3DPOOL Pool,
                        IDirect3DTexture9** ppTexture, HANDLE* pSharedHandle) override;
  HRESULT CreateVertexBuffer(UINT Length, DWORD Usage, DWORD FVF, D3DPOOL Pool,
                             IDirect3DVertexBuffer9** ppVertexBuffer, HANDLE* pSharedHandle) override;
  HRESULT SetTransform(D3DTRANSFORMSTATETYPE State, const D3DMATRIX* pMatrix) override;
  HRESULT GetTransform(D3DTRANSFORMSTATETYPE State, D3DMATRIX* pMatrix) override;
  HRESULT SetMaterial(const D3DMATERIAL9* pMaterial) override;
  HRESULT SetRenderState(D3DRENDERSTATETYPE State, DWORD Value) override;
  HRESULT SetTexture(DWORD Stage, IDirect3DBaseTexture9* pTexture) override;
  HRESULT SetTextureStageState(DWORD Stage, D3DTEXTURESTAGESTATETYPE Type, DWORD Value) override;
  HRESULT SetSamplerState(DWORD Sampler, D3DSAMPLERSTATETYPE Type, DWORD Value) override;
  HRESULT DrawPrimitive(D3DPRIMITIVETYPE PrimitiveType, UINT StartVertex, UINT PrimitiveCount) override;
  HRESULT SetFVF(DWORD FVF) override;
  HRESULT SetVertexShader(IDirect3DVertexShader9* pShader) override;
  HRESULT SetStreamSource(UINT StreamNumber, IDirect3DVertexBuffer9* pStreamData, UINT OffsetInBytes,
                          UINT Stride) override;

  // --- Failures on demand ---
  // Makes the next `times` calls of `method` (any logged name, e.g.
  // "CreateTexture", "LockRect", "Lock") fail with E_FAIL; a negative
  // `times` fails every call until Succeed(method).
  void Fail(std::string_view method, int times = -1);
  void Succeed(std::string_view method);

  // --- The log ---
  const std::vector<DeviceCall>& Calls() const { return calls_; }
  // The calls as text, optionally only those named `method`.
  std::vector<std::string> Log() const;
  std::vector<std::string> Log(std::string_view method) const;
  std::vector<DeviceCall> Calls(std::string_view method) const;
  std::size_t Count(std::string_view method) const;
  void ClearLog() { calls_.clear(); }
  // Calls made on resources after their last Release, and unlocks without a
  // lock, as log text; empty when the library behaved.
  const std::vector<std::string>& Misuses() const { return misuses_; }

  // --- Resources ---
  // A texture the test hands in as the host's own, made without a log entry.
  // It starts with one reference, which the test owns.
  RecordingTexture* MakeHostTexture(UINT width, UINT height);
  const std::vector<std::unique_ptr<RecordingTexture>>& Textures() const { return textures_; }
  const std::vector<std::unique_ptr<RecordingVertexBuffer>>& VertexBuffers() const { return buffers_; }
  RecordingTexture* TextureNamed(std::string_view name) const;
  RecordingVertexBuffer* VertexBufferNamed(std::string_view name) const;
  // Resources made through CreateTexture / CreateVertexBuffer that still hold
  // a reference (host textures are not counted).
  int LiveResources() const;
  ULONG References() const { return refs_; }

  // --- State set through the calls ---
  // Transforms start as the identity; other states as 0 until set.
  D3DMATRIX Transform(D3DTRANSFORMSTATETYPE state) const;
  std::optional<DWORD> RenderState(D3DRENDERSTATETYPE state) const;
  std::optional<DWORD> TextureStageState(DWORD stage, D3DTEXTURESTAGESTATETYPE type) const;
  std::optional<DWORD> SamplerState(DWORD sampler, D3DSAMPLERSTATETYPE type) const;
  IDirect3DBaseTexture9* BoundTexture(DWORD stage) const;
  const std::optional<D3DMATERIAL9>& Material() const { return material_; }
  DWORD CurrentFVF() const { return fvf_; }
  IDirect3DVertexBuffer9* StreamSource() const { return stream_; }
  UINT StreamOffset() const { return stream_offset_; }
  UINT StreamStride() const { return stream_stride_; }

  // Name of a resource pointer as the log writes it.
  std::string NameOf(const IDirect3DBaseTexture9* texture) const;
  std::string NameOf(const IDirect3DVertexBuffer9* buffer) const;

 private:
  friend class RecordingTexture;
  friend class RecordingVertexBuffer;

  // Logs a call and returns its result: E_FAIL when a failure was asked for.
  HRESULT record(std::string name, std::vector<std::string> args);
  void misuse(const std::string& what) { misuses_.push_back(what); }

  std::vector<DeviceCall> calls_;
  std::vector<std::string> misuses_;
  std::map<std::string, int, std::less<>> failures_;
  std::vector<std::unique_ptr<RecordingTexture>> textures_;
  std::vector<std::unique_ptr<RecordingVertexBuffer>> buffers_;
  std::vector<const RecordingTexture*> host_textures_;
  ULONG refs_ = 1;

  std::map<DWORD, D3DMATRIX> transforms_;
  std::map<DWORD, DWORD> render_states_;
  std::map<std::pair<DWORD, DWORD>, DWORD> stage_states_;
  std::map<std::pair<DWORD, DWORD>, DWORD> sampler_states_;
  std::map<DWORD, IDirect3DBaseTexture9*> bound_;
  std::optional<D3DMATERIAL9> material_;
  DWORD fvf_ = 0;
  IDirect3DVertexBuffer9* stream_ = nullptr;
  UINT stream_offset_ = 0;
  UINT stream_stride_ = 0;
};

// Formats a float as the log does (shortest form that reads back exactly).
std::string FloatText(float value);

}  // namespace so3d::test
