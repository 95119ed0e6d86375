#include "backends/recording/recording_device.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <stdexcept>
#include <type_traits>

namespace so3d::backend {
namespace {

// Large enough for any test, small enough that a garbage size is refused
// instead of exhausting memory.
constexpr UINT max_texture_side = 8192;
constexpr UINT max_buffer_length = 64u << 20;
// Extra bytes after every texture row.
constexpr INT row_padding = 32;

// One argument as the log writes it: text as is, floats in shortest form,
// integers and enumerations in decimal.
template <typename T>
std::string Arg(const T& value) {
  if constexpr (std::is_convertible_v<T, std::string>) {
    return value;
  } else if constexpr (std::is_floating_point_v<T>) {
    char buffer[32];
    return std::string(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
  } else if constexpr (std::is_enum_v<T>) {
    return std::to_string(static_cast<unsigned>(value));
  } else {
    return std::to_string(value);
  }
}
template <typename... T>
std::vector<std::string> Args(const T&... values) {
  return {Arg(values)...};
}

std::string RectText(const RECT* r) {
  return r ? "{" + Arg(r->left) + " " + Arg(r->top) + " " + Arg(r->right) + " " + Arg(r->bottom) + "}" : "null";
}

}  // namespace

std::string DeviceCall::Text() const {
  std::string text = name + "(";
  for (std::size_t i = 0; i < args.size(); ++i) text += (i ? ", " : "") + args[i];
  return text + ")";
}

// ---- Resources ----

template <typename Interface>
RecordingResource<Interface>::RecordingResource(RecordingDevice& device, std::string name, std::size_t size)
    : device_(device), name_(std::move(name)), bytes_(size, RecordingDevice::unwritten_byte) {}

template <typename Interface>
HRESULT RecordingResource<Interface>::Record(std::string method, std::vector<std::string> args) {
  if (refs_ == 0) device_.misuses_.push_back(method + " on released " + name_);
  args.insert(args.begin(), name_);
  return device_.Record(std::move(method), std::move(args));
}

template <typename Interface>
ULONG RecordingResource<Interface>::AddRef() {
  Record("AddRef", {});
  return ++refs_;
}

template <typename Interface>
ULONG RecordingResource<Interface>::Release() {
  Record("Release", {});
  return refs_ == 0 ? 0 : --refs_;
}

template <typename Interface>
HRESULT RecordingResource<Interface>::Lock(std::string method, std::vector<std::string> args, bool valid,
                                           std::size_t offset, void** bits) {
  const HRESULT hr = Record(std::move(method), std::move(args));
  if (FAILED(hr)) return hr;
  if (!valid || !bits || locked_) return device_.Result(D3DERR_INVALIDCALL);
  *bits = bytes_.data() + offset;
  locked_ = true;
  return hr;
}

template <typename Interface>
HRESULT RecordingResource<Interface>::Unlock(std::string method, std::vector<std::string> args, bool valid,
                                             const char* lock_method) {
  HRESULT hr = Record(method, std::move(args));
  if (FAILED(hr)) return hr;
  if (!locked_ || !valid) {
    device_.misuses_.push_back(method + " without " + lock_method + " on " + name_);
    hr = device_.Result(D3DERR_INVALIDCALL);
  }
  locked_ = false;
  return hr;
}

template class RecordingResource<IDirect3DTexture9>;
template class RecordingResource<IDirect3DVertexBuffer9>;

RecordingTexture::RecordingTexture(RecordingDevice& device, std::string name, UINT width, UINT height)
    : RecordingResource(device, std::move(name), std::size_t(width * 4 + row_padding) * height),
      width_(width),
      height_(height),
      pitch_(INT(width * 4 + row_padding)) {}

HRESULT RecordingTexture::LockRect(UINT Level, D3DLOCKED_RECT* pLockedRect, const RECT* r, DWORD Flags) {
  // Only level 0 has memory behind it; deeper levels exist for the count.
  const bool valid = Level == 0 && (!r || (r->left >= 0 && r->top >= 0 && r->left < r->right && r->top < r->bottom &&
                                           UINT(r->right) <= width_ && UINT(r->bottom) <= height_));
  const std::size_t offset = r ? std::size_t(r->top) * std::size_t(pitch_) + std::size_t(r->left) * 4 : 0;
  const HRESULT hr = Lock("LockRect", Args(Level, RectText(r), Flags), valid, valid ? offset : 0,
                          pLockedRect ? &pLockedRect->pBits : nullptr);
  if (SUCCEEDED(hr)) pLockedRect->Pitch = pitch_;
  return hr;
}

HRESULT RecordingTexture::UnlockRect(UINT Level) { return Unlock("UnlockRect", Args(Level), Level == 0, "LockRect"); }

std::uint32_t RecordingTexture::Texel(UINT x, UINT y) const {
  if (x >= width_ || y >= height_) throw std::out_of_range(name_ + ": texel outside the texture");
  std::uint32_t value = 0;
  std::memcpy(&value, bytes_.data() + std::size_t(y) * std::size_t(pitch_) + std::size_t(x) * 4, 4);
  return value;
}

HRESULT RecordingVertexBuffer::Lock(UINT OffsetToLock, UINT SizeToLock, void** ppbData, DWORD Flags) {
  // Size 0 locks everything from the offset.
  const bool valid = OffsetToLock <= Length() && SizeToLock <= Length() - OffsetToLock;
  return RecordingResource::Lock("Lock", Args(OffsetToLock, SizeToLock, Flags), valid, OffsetToLock, ppbData);
}

HRESULT RecordingVertexBuffer::Unlock() { return RecordingResource::Unlock("Unlock", {}, true, "Lock"); }

// ---- RecordingDevice ----

HRESULT RecordingDevice::Record(std::string name, std::vector<std::string> args) {
  HRESULT hr = D3D_OK;
  if (auto it = failures_.find(name); it != failures_.end() && it->second != 0) {
    hr = E_FAIL;
    if (it->second > 0) --it->second;
  }
  calls_.push_back(DeviceCall{std::move(name), std::move(args), hr, std::nullopt});
  return hr;
}

template <typename Resource, typename Pointer>
std::string RecordingDevice::NameIn(const std::vector<std::unique_ptr<Resource>>& own, const Pointer* p) {
  for (const auto& r : own)
    if (static_cast<const Pointer*>(r.get()) == p) return r->Name();
  return p ? "foreign" : "null";
}

ULONG RecordingDevice::AddRef() {
  Record("AddRef", {"device"});
  return ++refs_;
}

ULONG RecordingDevice::Release() {
  Record("Release", {"device"});
  if (refs_ == 0) misuses_.push_back("Release on released device");
  return refs_ == 0 ? 0 : --refs_;
}

HRESULT RecordingDevice::BeginScene() { return Record("BeginScene", {}); }

HRESULT RecordingDevice::EndScene() { return Record("EndScene", {}); }

HRESULT RecordingDevice::Clear(DWORD Count, const D3DRECT*, DWORD Flags, D3DCOLOR Color, float Z, DWORD Stencil) {
  return Record("Clear", Args(Count, Flags, Color, Z, Stencil));
}

HRESULT RecordingDevice::CreateTexture(UINT Width, UINT Height, UINT Levels, DWORD Usage, D3DFORMAT Format,
                                       D3DPOOL Pool, IDirect3DTexture9** ppTexture, HANDLE* pSharedHandle) {
  const HRESULT hr =
      Record("CreateTexture", Args(Width, Height, Levels, Usage, Format, Pool, pSharedHandle ? "handle" : "null"));
  if (ppTexture) *ppTexture = nullptr;
  if (FAILED(hr)) return hr;
  if (!ppTexture || (Format != D3DFMT_A8R8G8B8 && Format != D3DFMT_X8R8G8B8) || Width == 0 || Height == 0 ||
      Width > max_texture_side || Height > max_texture_side)
    return Result(D3DERR_INVALIDCALL);
  textures_.emplace_back(new RecordingTexture(*this, "tex" + Arg(textures_.size() + 1), Width, Height));
  *ppTexture = textures_.back().get();
  return hr;
}

HRESULT RecordingDevice::CreateVertexBuffer(UINT Length, DWORD Usage, DWORD FVF, D3DPOOL Pool,
                                            IDirect3DVertexBuffer9** ppVertexBuffer, HANDLE* pSharedHandle) {
  const HRESULT hr = Record("CreateVertexBuffer", Args(Length, Usage, FVF, Pool, pSharedHandle ? "handle" : "null"));
  if (ppVertexBuffer) *ppVertexBuffer = nullptr;
  if (FAILED(hr)) return hr;
  if (!ppVertexBuffer || Length == 0 || Length > max_buffer_length) return Result(D3DERR_INVALIDCALL);
  buffers_.emplace_back(new RecordingVertexBuffer(*this, "vb" + Arg(buffers_.size() + 1), Length));
  *ppVertexBuffer = buffers_.back().get();
  return hr;
}

HRESULT RecordingDevice::SetTransform(D3DTRANSFORMSTATETYPE State, const D3DMATRIX* pMatrix) {
  const HRESULT hr = Record("SetTransform", Args(State));
  if (FAILED(hr)) return hr;
  if (!pMatrix || !transforms_.Set(State, *pMatrix)) return Result(D3DERR_INVALIDCALL);
  calls_.back().matrix = *pMatrix;
  return hr;
}

HRESULT RecordingDevice::GetTransform(D3DTRANSFORMSTATETYPE State, D3DMATRIX* pMatrix) {
  const HRESULT hr = Record("GetTransform", Args(State));
  if (FAILED(hr)) return hr;
  if (!pMatrix) return Result(D3DERR_INVALIDCALL);
  calls_.back().matrix = *pMatrix = Transform(State);
  return hr;
}

HRESULT RecordingDevice::SetMaterial(const D3DMATERIAL9* pMaterial) {
  const HRESULT hr = Record("SetMaterial", {});
  if (FAILED(hr)) return hr;
  if (!pMaterial) return Result(D3DERR_INVALIDCALL);
  material_ = *pMaterial;
  return hr;
}

HRESULT RecordingDevice::SetRenderState(D3DRENDERSTATETYPE State, DWORD Value) {
  return Record("SetRenderState", Args(State, Value));
}

HRESULT RecordingDevice::SetTexture(DWORD Stage, IDirect3DBaseTexture9* pTexture) {
  const HRESULT hr = Record("SetTexture", Args(Stage, NameIn(textures_, pTexture)));
  for (const auto& texture : textures_)
    if (texture.get() == pTexture && texture->References() == 0)
      misuses_.push_back("SetTexture with released " + texture->Name());
  if (SUCCEEDED(hr)) bound_[Stage] = pTexture;
  return hr;
}

HRESULT RecordingDevice::SetTextureStageState(DWORD Stage, D3DTEXTURESTAGESTATETYPE Type, DWORD Value) {
  return Record("SetTextureStageState", Args(Stage, Type, Value));
}

HRESULT RecordingDevice::SetSamplerState(DWORD Sampler, D3DSAMPLERSTATETYPE Type, DWORD Value) {
  return Record("SetSamplerState", Args(Sampler, Type, Value));
}

HRESULT RecordingDevice::DrawPrimitive(D3DPRIMITIVETYPE PrimitiveType, UINT StartVertex, UINT PrimitiveCount) {
  const HRESULT hr = Record("DrawPrimitive", Args(PrimitiveType, StartVertex, PrimitiveCount));
  for (const auto& buffer : buffers_)
    if (buffer.get() == stream_ && buffer->References() == 0)
      misuses_.push_back("DrawPrimitive from released " + buffer->Name());
  return hr;
}

HRESULT RecordingDevice::SetFVF(DWORD FVF) { return Record("SetFVF", Args(FVF)); }

HRESULT RecordingDevice::SetVertexShader(IDirect3DVertexShader9* pShader) {
  return Record("SetVertexShader", {pShader ? "foreign" : "null"});
}

HRESULT RecordingDevice::SetStreamSource(UINT StreamNumber, IDirect3DVertexBuffer9* pStreamData, UINT OffsetInBytes,
                                         UINT Stride) {
  const HRESULT hr =
      Record("SetStreamSource", Args(StreamNumber, NameIn(buffers_, pStreamData), OffsetInBytes, Stride));
  if (SUCCEEDED(hr) && StreamNumber == 0) stream_ = pStreamData;
  return hr;
}

std::vector<DeviceCall> RecordingDevice::Calls(std::string_view method) const {
  std::vector<DeviceCall> out;
  std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(out),
               [&](const DeviceCall& c) { return c.name == method; });
  return out;
}

std::vector<std::string> RecordingDevice::Log(std::optional<std::string_view> method) const {
  std::vector<std::string> out;
  for (const DeviceCall& call : calls_)
    if (!method || call.name == *method) out.push_back(call.Text());
  return out;
}

RecordingTexture* RecordingDevice::MakeHostTexture(UINT width, UINT height) {
  textures_.emplace_back(new RecordingTexture(*this, "tex" + Arg(textures_.size() + 1), width, height));
  textures_.back()->host_ = true;
  return textures_.back().get();
}

RecordingVertexBuffer* RecordingDevice::VertexBufferNamed(std::string_view name) const {
  for (const auto& buffer : buffers_)
    if (buffer->Name() == name) return buffer.get();
  return nullptr;
}

int RecordingDevice::LiveResources() const {
  const auto live = [](const auto& r) { return r->References() > 0; };
  return int(std::count_if(textures_.begin(), textures_.end(), [&](const auto& t) { return live(t) && !t->host_; }) +
             std::count_if(buffers_.begin(), buffers_.end(), live));
}

D3DMATRIX RecordingDevice::Transform(D3DTRANSFORMSTATETYPE state) const { return transforms_.Get(state); }

}  // namespace so3d::backend
