#pragma once
// A Direct3D 9 device that records: it logs every call made on it or on the
// resources it made, in order, with the arguments as text (so3d-info --trace
// prints what the module sends a device; the tests read it back); it keeps the
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
#include <vector>

#include "backends/state/transform_slots.h"
#include "platform/d3d9/d3d9.h"

namespace so3d::backend {

class RecordingDevice;

// One logged call. `args` are the arguments as text: integers in decimal
// (enumerations by value), floats in shortest form, resources by name.
// Methods of a resource carry its name as the first argument.
struct DeviceCall {
  std::string name;               // method name, e.g. "SetRenderState", "LockRect"
  std::vector<std::string> args;  // pointer-out arguments are left out
  HRESULT result = D3D_OK;
  std::optional<D3DMATRIX> matrix;  // SetTransform, GetTransform (the matrix handed out)

  // "SetTexture(0, tex1)".
  std::string Text() const;
};

// What textures and vertex buffers share: a name, a reference count that
// may fall to zero without freeing anything, one lock at a time, and memory
// filled with RecordingDevice::unwritten_byte until written.
template <typename Interface>
class RecordingResource : public Interface {
 public:
  ULONG AddRef() override;
  ULONG Release() override;
  const std::string& Name() const { return name_; }
  ULONG References() const { return refs_; }
  const std::vector<std::uint8_t>& Bytes() const { return bytes_; }

 protected:
  RecordingResource(RecordingDevice& device, std::string name, std::size_t size);
  // Logs a lock; unless a failure was asked for, hands out the memory at
  // `offset` when `valid` and the resource is not locked yet.
  HRESULT Lock(std::string method, std::vector<std::string> args, bool valid, std::size_t offset, void** bits);
  // Logs an unlock; one without a lock, or not `valid`, is a misuse.
  HRESULT Unlock(std::string method, std::vector<std::string> args, bool valid, const char* lock_method);
  // Logs a call, noting a misuse when the resource is already released.
  HRESULT Record(std::string method, std::vector<std::string> args);

  RecordingDevice& device_;
  std::string name_;
  ULONG refs_ = 1;
  bool locked_ = false;
  std::vector<std::uint8_t> bytes_;
};

class RecordingTexture final : public RecordingResource<IDirect3DTexture9> {
 public:
  HRESULT LockRect(UINT Level, D3DLOCKED_RECT* pLockedRect, const RECT* pRect, DWORD Flags) override;
  HRESULT UnlockRect(UINT Level) override;
  // Rows of level 0 lie this many bytes apart, more than a row needs, so
  // code that ignores the pitch shows up. Bytes() holds level 0 only.
  INT Pitch() const { return pitch_; }
  // Texel (x, y) of level 0 as a 32-bit value (alpha in the top byte);
  // texels never written read RecordingDevice::unwritten. Throws
  // std::out_of_range outside the texture.
  std::uint32_t Texel(UINT x, UINT y) const;

 private:
  friend class RecordingDevice;
  RecordingTexture(RecordingDevice& device, std::string name, UINT width, UINT height);
  UINT width_, height_;
  INT pitch_;
  bool host_ = false;  // made by MakeHostTexture
};

class RecordingVertexBuffer final : public RecordingResource<IDirect3DVertexBuffer9> {
 public:
  HRESULT Lock(UINT OffsetToLock, UINT SizeToLock, void** ppbData, DWORD Flags) override;
  HRESULT Unlock() override;
  UINT Length() const { return UINT(bytes_.size()); }
  // Element `index` of the contents read as an array of T.
  template <typename T>
  T At(std::size_t index) const {
    T value;
    std::memcpy(&value, bytes_.data() + index * sizeof(T), sizeof(T));
    return value;
  }

 private:
  friend class RecordingDevice;
  using RecordingResource::RecordingResource;
};

class RecordingDevice final : public IDirect3DDevice9 {
 public:
  // Fill of fresh texture and vertex-buffer memory.
  static constexpr std::uint8_t unwritten_byte = 0xCD;
  static constexpr std::uint32_t unwritten = 0xCDCDCDCD;

  RecordingDevice() = default;
  RecordingDevice(const RecordingDevice&) = delete;
  RecordingDevice& operator=(const RecordingDevice&) = delete;

  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT BeginScene() override;
  HRESULT EndScene() override;
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
  HRESULT SetVertexShader(IDirect3DVertexShader9* pShader) override;
  HRESULT SetStreamSource(UINT StreamNumber, IDirect3DVertexBuffer9* pStreamData, UINT OffsetInBytes,
                          UINT Stride) override;

  // --- Failures on demand ---
  // Makes the next `times` calls of `method` (any logged name, e.g.
  // "CreateTexture", "LockRect", "Lock") fail with E_FAIL; a negative
  // `times` fails every call until Succeed(method).
  void Fail(std::string_view method, int times = -1) { failures_[std::string(method)] = times; }
  void Succeed(std::string_view method) { failures_.erase(std::string(method)); }

  // --- The log ---
  const std::vector<DeviceCall>& Calls() const { return calls_; }
  // The calls, or their text, optionally only those named `method`.
  std::vector<DeviceCall> Calls(std::string_view method) const;
  std::vector<std::string> Log(std::optional<std::string_view> method = std::nullopt) const;
  std::size_t Count(std::string_view method) const { return Calls(method).size(); }
  void ClearLog() { calls_.clear(); }
  // Calls made on resources after their last Release, and unlocks without a
  // lock, as log text; empty when the library behaved.
  const std::vector<std::string>& Misuses() const { return misuses_; }

  // --- Resources ---
  // A texture the test hands in as the host's own, made without a log entry.
  // It starts with one reference, which the test owns.
  RecordingTexture* MakeHostTexture(UINT width, UINT height);
  const std::vector<std::unique_ptr<RecordingTexture>>& Textures() const { return textures_; }
  RecordingVertexBuffer* VertexBufferNamed(std::string_view name) const;
  // Resources made through CreateTexture / CreateVertexBuffer that still hold
  // a reference (host textures are not counted).
  int LiveResources() const;
  ULONG References() const { return refs_; }

  // --- State set through the calls ---
  // Transforms start as the identity.
  D3DMATRIX Transform(D3DTRANSFORMSTATETYPE state) const;
  IDirect3DBaseTexture9* BoundTexture(DWORD stage) const { return bound_.count(stage) ? bound_.at(stage) : nullptr; }
  const std::optional<D3DMATERIAL9>& Material() const { return material_; }

 private:
  template <typename>
  friend class RecordingResource;

  // Logs a call and returns its result: E_FAIL when a failure was asked for.
  HRESULT Record(std::string name, std::vector<std::string> args);
  // Sets the result of the last logged call.
  HRESULT Result(HRESULT hr) { return calls_.back().result = hr; }
  template <typename Resource, typename Pointer>
  static std::string NameIn(const std::vector<std::unique_ptr<Resource>>& own, const Pointer* p);

  std::vector<DeviceCall> calls_;
  std::vector<std::string> misuses_;
  std::map<std::string, int, std::less<>> failures_;
  std::vector<std::unique_ptr<RecordingTexture>> textures_;
  std::vector<std::unique_ptr<RecordingVertexBuffer>> buffers_;
  ULONG refs_ = 1;

  TransformState transforms_;
  std::map<DWORD, IDirect3DBaseTexture9*> bound_;
  std::optional<D3DMATERIAL9> material_;
  IDirect3DVertexBuffer9* stream_ = nullptr;
};

}  // namespace so3d::backend
