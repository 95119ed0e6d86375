#include "tests/support/recording_device.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace so3d::test {
namespace {

// Large enough for any test, small enough that a garbage size is refused
// instead of exhausting memory.
constexpr UINT max_texture_side = 8192;
constexpr UINT max_buffer_length = 64u << 20;
// Extra bytes after every texture row.
constexpr INT row_padding = 32;

std::string num(std::uint64_t value) { return std::to_string(value); }
std::string num(int value) { return std::to_string(value); }
std::string num(unsigned value) { return std::to_string(value); }

std::string rect_text(const RECT* rect) {
  if (!rect) return "null";
  return "{" + num(rect->left) + " " + num(rect->top) + " " + num(rect->right) + " " + num(rect->bottom) + "}";
}

UINT full_chain(UINT width, UINT height) {
  UINT levels = 1;
  for (UINT side = std::max(width, height); side > 1; side /= 2) ++levels;
  return levels;
}

D3DMATRIX identity() {
  D3DMATRIX m{};
  m._11 = m._22 = m._33 = m._44 = 1.0f;
  return m;
}

}  // namespace

std::string FloatText(float value) {
  char buffer[32];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  return std::string(buffer, end);
}

std::string DeviceCall::Text() const {
  std::string text = name + "(";
  for (std::size_t i = 0; i < args.size(); ++i) text += (i ? ", " : "") + args[i];
  return text + ")";
}

// ---- RecordingTexture ----

RecordingTexture::RecordingTexture(RecordingDevice& device, std::string name, UINT width, UINT height, UINT levels,
                                   DWORD usage, D3DFORMAT format, D3DPOOL pool)
    : device_(device),
      name_(std::move(name)),
      width_(width),
      height_(height),
      levels_(levels ? levels : full_chain(width, height)),
      usage_(usage),
      format_(format),
      pool_(pool),
      pitch_(INT(width) * 4 + row_padding),
      bytes_(std::size_t(pitch_) * height, RecordingDevice::unwritten_byte) {}

ULONG RecordingTexture::AddRef() {
  device_.record("AddRef", {name_});
  if (refs_ == 0) device_.misuse("AddRef on released " + name_);
  return ++refs_;
}

ULONG RecordingTexture::Release() {
  device_.record("Release", {name_});
  if (refs_ == 0) {
    device_.misuse("Release on released " + name_);
    return 0;
  }
  return --refs_;
}

HRESULT RecordingTexture::LockRect(UINT Level, D3DLOCKED_RECT* pLockedRect, const RECT* pRect, DWORD Flags) {
  HRESULT hr = device_.record("LockRect", {name_, num(Level), rect_text(pRect), num(Flags)});
  if (refs_ == 0) device_.misuse("LockRect on released " + name_);
  if (FAILED(hr)) return hr;
  const bool rect_ok = !pRect || (pRect->left >= 0 && pRect->top >= 0 && pRect->left < pRect->right &&
                                  pRect->top < pRect->bottom && UINT(pRect->right) <= width_ &&
                                  UINT(pRect->bottom) <= height_);
  // Only level 0 has memory behind it; deeper levels exist for the count.
  if (!pLockedRect || locked_ || Level >= levels_ || Level != 0 || !rect_ok) {
    hr = D3DERR_INVALIDCALL;
  } else {
    const std::size_t x = pRect ? std::size_t(pRect->left) : 0, y = pRect ? std::size_t(pRect->top) : 0;
    pLockedRect->Pitch = pitch_;
    pLockedRect->pBits = bytes_.data() + y * std::size_t(pitch_) + x * 4;
    locked_ = true;
  }
  device_.calls_.back().result = hr;
  return hr;
}

HRESULT RecordingTexture::UnlockRect(UINT Level) {
  HRESULT hr = device_.record("UnlockRect", {name_, num(Level)});
  if (refs_ == 0) device_.misuse("UnlockRect on released " + name_);
  if (FAILED(hr)) return hr;
  if (!locked_ || Level != 0) {
    device_.misuse("UnlockRect without LockRect on " + name_);
    hr = D3DERR_INVALIDCALL;
  }
  locked_ = false;
  device_.calls_.back().result = hr;
  return hr;
}

std::uint32_t RecordingTexture::Texel(UINT x, UINT y) const {
  if (x >= width_ || y >= height_) throw std::out_of_range(name_ + ": texel outside the texture");
  std::uint32_t value = 0;
  std::memcpy(&value, bytes_.data() + std::size_t(y) * std::size_t(pitch_) + std::size_t(x) * 4, 4);
  return value;
}

// ---- RecordingVertexBuffer ----

RecordingVertexBuffer::RecordingVertexBuffer(RecordingDevice& device, std::string name, UINT length, DWORD usage,
                                             DWORD fvf, D3DPOOL pool)
    : device_(device),
      name_(std::move(name)),
      usage_(usage),
      fvf_(fvf),
      pool_(pool),
      bytes_(length, RecordingDevice::unwritten_byte) {}

ULONG RecordingVertexBuffer::AddRef() {
  device_.record("AddRef", {name_});
  if (refs_ == 0) device_.misuse("AddRef on released " + name_);
  return ++refs_;
}

ULONG RecordingVertexBuffer::Release() {
  device_.record("Release", {name_});
  if (refs_ == 0) {
    device_.misuse("Release on released " + name_);
    return 0;
  }
  return --refs_;
}

HRESULT RecordingVertexBuffer::Lock(UINT OffsetToLock, UINT SizeToLock, void** ppbData, DWORD Flags) {
  HRESULT hr = device_.record("Lock", {name_, num(OffsetToLock), num(SizeToLock), num(Flags)});
  if (refs_ == 0) device_.misuse("Lock on released " + name_);
  if (FAILED(hr)) return hr;
  const UINT length = Length();
  // Size 0 locks everything from the offset.
  if (!ppbData || locked_ || OffsetToLock > length || SizeToLock > length - OffsetToLock) {
    hr = D3DERR_INVALIDCALL;
  } else {
    *ppbData = bytes_.data() + OffsetToLock;
    locked_ = true;
  }
  device_.calls_.back().result = hr;
  return hr;
}

HRESULT RecordingVertexBuffer::Unlock() {
  HRESULT hr = device_.record("Unlock", {name_});
  if (refs_ == 0) device_.misuse("Unlock on released " + name_);
  if (FAILED(hr)) return hr;
  if (!locked_) {
    device_.misuse("Unlock without Lock on " + name_);
    hr = D3DERR_INVALIDCALL;
  }
  locked_ = false;
  device_.calls_.back().result = hr;
  return hr;
}

// ---- RecordingDevice ----

RecordingDevice::~RecordingDevice() = default;

HRESULT RecordingDevice::record(std::string name, std::vector<std::string> args) {
  HRESULT hr = D3D_OK;
  if (auto it = failures_.find(name); it != failures_.end() && it->second != 0) {
    hr = E_FAIL;
    if (it->second > 0) --it->second;
  }
  calls_.push_back(DeviceCall{std::move(name), std::move(args), hr, std::nullopt, std::nullopt});
  return hr;
}

void RecordingDevice::Fail(std::string_view method, int times) { failures_[std::string(method)] = times; }

void RecordingDevice::Succeed(std::string_view method) {
  if (auto it = failures_.find(method); it != failures_.end()) failures_.erase(it);
}

ULONG RecordingDevice::AddRef() {
  record("AddRef", {"device"});
  return ++refs_;
}

ULONG RecordingDevice::Release() {
  record("Release", {"device"});
  if (refs_ == 0) {
    misuse("Release on released device");
    return 0;
  }
  return --refs_;
}

HRESULT RecordingDevice::BeginScene() { return record("BeginScene", {}); }

HRESULT RecordingDevice::EndScene() { return record("EndScene", {}); }

HRESULT RecordingDevice::Clear(DWORD Count, const D3DRECT*, DWORD Flags, D3DCOLOR Color, float Z, DWORD Stencil) {
  return record("Clear", {num(Count), num(Flags), num(Color), FloatText(Z), num(Stencil)});
}

HRESULT RecordingDevice::CreateTexture(UINT Width, UINT Height, UINT Levels, DWORD Usage, D3DFORMAT Format,
                                       D3DPOOL Pool, IDirect3DTexture9** ppTexture, HANDLE* pSharedHandle) {
  HRESULT hr = record("CreateTexture", {num(Width), num(Height), num(Levels), num(Usage), num(unsigned(Format)),
                                        num(unsigned(Pool)), pSharedHandle ? "handle" : "null"});
  if (ppTexture) *ppTexture = nullptr;
  if (FAILED(hr)) return hr;
  const bool four_bytes = Format == D3DFMT_A8R8G8B8 || Format == D3DFMT_X8R8G8B8;
  if (!ppTexture || !four_bytes || Width == 0 || Height == 0 || Width > max_texture_side ||
      Height > max_texture_side) {
    calls_.back().result = D3DERR_INVALIDCALL;
    return D3DERR_INVALIDCALL;
  }
  textures_.emplace_back(new RecordingTexture(*this, "tex" + num(textures_.size() + 1), Width, Height, Levels,
                                              Usage, Format, Pool));
  *ppTexture = textures_.back().get();
  return D3D_OK;
}

HRESULT RecordingDevice::CreateVertexBuffer(UINT Length, DWORD Usage, DWORD FVF, D3DPOOL Pool,
                                            IDirect3DVertexBuffer9** ppVertexBuffer, HANDLE* pSharedHandle) {
  HRESULT hr = record("CreateVertexBuffer",
                      {num(Length), num(Usage), num(FVF), num(unsigned(Pool)), pSharedHandle ? "handle" : "null"});
  if (ppVertexBuffer) *ppVertexBuffer = nullptr;
  if (FAILED(hr)) return hr;
  if (!ppVertexBuffer || Length == 0 || Length > max_buffer_length) {
    calls_.back().result = D3DERR_INVALIDCALL;
    return D3DERR_INVALIDCALL;
  }
  buffers_.emplace_back(new RecordingVertexBuffer(*this, "vb" + num(buffers_.size() + 1), Length, Usage, FVF, Pool));
  *ppVertexBuffer = buffers_.back().get();
  return D3D_OK;
}

HRESULT RecordingDevice::SetTransform(D3DTRANSFORMSTATETYPE State, const D3DMATRIX* pMatrix) {
  HRESULT hr = record("SetTransform", {num(unsigned(State))});
  if (FAILED(hr)) return hr;
  if (!pMatrix) return calls_.back().result = D3DERR_INVALIDCALL;
  calls_.back().matrix = *pMatrix;
  transforms_[State] = *pMatrix;
  return hr;
}

HRESULT RecordingDevice::GetTransform(D3DTRANSFORMSTATETYPE State, D3DMATRIX* pMatrix) {
  HRESULT hr = record("GetTransform", {num(unsigned(State))});
  if (FAILED(hr)) return hr;
  if (!pMatrix) return calls_.back().result = D3DERR_INVALIDCALL;
  *pMatrix = Transform(State);
  calls_.back().matrix = *pMatrix;
  return hr;
}

HRESULT RecordingDevice::SetMaterial(const D3DMATERIAL9* pMaterial) {
  HRESULT hr = record("SetMaterial", {});
  if (FAILED(hr)) return hr;
  if (!pMaterial) return calls_.back().result = D3DERR_INVALIDCALL;
  calls_.back().material = *pMaterial;
  material_ = *pMaterial;
  return hr;
}

HRESULT RecordingDevice::SetRenderState(D3DRENDERSTATETYPE State, DWORD Value) {
  HRESULT hr = record("SetRenderState", {num(unsigned(State)), num(Value)});
  if (SUCCEEDED(hr)) render_states_[State] = Value;
  return hr;
}

HRESULT RecordingDevice::SetTexture(DWORD Stage, IDirect3DBaseTexture9* pTexture) {
  HRESULT hr = record("SetTexture", {num(Stage), NameOf(pTexture)});
  for (const auto& texture : textures_)
    if (static_cast<IDirect3DBaseTexture9*>(texture.get()) == pTexture && texture->References() == 0)
      misuse("SetTexture with released " + texture->Name());
  if (SUCCEEDED(hr)) bound_[Stage] = pTexture;
  return hr;
}

HRESULT RecordingDevice::SetTextureStageState(DWORD Stage, D3DTEXTURESTAGESTATETYPE Type, DWORD Value) {
  HRESULT hr = record("SetTextureStageState", {num(Stage), num(unsigned(Type)), num(Value)});
  if (SUCCEEDED(hr)) stage_states_[{Stage, Type}] = Value;
  return hr;
}

HRESULT RecordingDevice::SetSamplerState(DWORD Sampler, D3DSAMPLERSTATETYPE Type, DWORD Value) {
  HRESULT hr = record("SetSamplerState", {num(Sampler), num(unsigned(Type)), num(Value)});
  if (SUCCEEDED(hr)) sampler_states_[{Sampler, Type}] = Value;
  return hr;
}

HRESULT RecordingDevice::DrawPrimitive(D3DPRIMITIVETYPE PrimitiveType, UINT StartVertex, UINT PrimitiveCount) {
  HRESULT hr = record("DrawPrimitive", {num(unsigned(PrimitiveType)), num(StartVertex), num(PrimitiveCount)});
  for (const auto& buffer : buffers_)
    if (static_cast<IDirect3DVertexBuffer9*>(buffer.get()) == stream_ && buffer->References() == 0)
      misuse("DrawPrimitive from released " + buffer->Name());
  return hr;
}

HRESULT RecordingDevice::SetFVF(DWORD FVF) {
  HRESULT hr = record("SetFVF", {num(FVF)});
  if (SUCCEEDED(hr)) fvf_ = FVF;
  return hr;
}

HRESULT RecordingDevice::SetVertexShader(IDirect3DVertexShader9* pShader) {
  return record("SetVertexShader", {pShader ? "foreign" : "null"});
}

HRESULT RecordingDevice::SetStreamSource(UINT StreamNumber, IDirect3DVertexBuffer9* pStreamData, UINT OffsetInBytes,
                                         UINT Stride) {
  HRESULT hr = record("SetStreamSource", {num(StreamNumber), NameOf(pStreamData), num(OffsetInBytes), num(Stride)});
  if (SUCCEEDED(hr) && StreamNumber == 0) {
    stream_ = pStreamData;
    stream_offset_ = OffsetInBytes;
    stream_stride_ = Stride;
  }
  return hr;
}

std::vector<std::string> RecordingDevice::Log() const {
  std::vector<std::string> out;
  for (const DeviceCall& call : calls_) out.push_back(call.Text());
  return out;
}

std::vector<std::string> RecordingDevice::Log(std::string_view method) const {
  std::vector<std::string> out;
  for (const DeviceCall& call : calls_)
    if (call.name == method) out.push_back(call.Text());
  return out;
}

std::vector<DeviceCall> RecordingDevice::Calls(std::string_view method) const {
  std::vector<DeviceCall> out;
  for (const DeviceCall& call : calls_)
    if (call.name == method) out.push_back(call);
  return out;
}

std::size_t RecordingDevice::Count(std::string_view method) const {
  return std::size_t(
      std::count_if(calls_.begin(), calls_.end(), [&](const DeviceCall& c) { return c.name == method; }));
}

RecordingTexture* RecordingDevice::MakeHostTexture(UINT width, UINT height) {
  textures_.emplace_back(new RecordingTexture(*this, "tex" + num(textures_.size() + 1), width, height, 1, 0,
                                              D3DFMT_A8R8G8B8, D3DPOOL_DEFAULT));
  host_textures_.push_back(textures_.back().get());
  return textures_.back().get();
}

RecordingTexture* RecordingDevice::TextureNamed(std::string_view name) const {
  for (const auto& texture : textures_)
    if (texture->Name() == name) return texture.get();
  return nullptr;
}

RecordingVertexBuffer* RecordingDevice::VertexBufferNamed(std::string_view name) const {
  for (const auto& buffer : buffers_)
    if (buffer->Name() == name) return buffer.get();
  return nullptr;
}

int RecordingDevice::LiveResources() const {
  int live = 0;
  for (const auto& texture : textures_)
    if (texture->References() > 0 &&
        std::find(host_textures_.begin(), host_textures_.end(), texture.get()) == host_textures_.end())
      ++live;
  for (const auto& buffer : buffers_)
    if (buffer->References() > 0) ++live;
  return live;
}

D3DMATRIX RecordingDevice::Transform(D3DTRANSFORMSTATETYPE state) const {
  auto it = transforms_.find(state);
  return it == transforms_.end() ? identity() : it->second;
}

std::optional<DWORD> RecordingDevice::RenderState(D3DRENDERSTATETYPE state) const {
  auto it = render_states_.find(state);
  return it == render_states_.end() ? std::nullopt : std::optional<DWORD>(it->second);
}

std::optional<DWORD> RecordingDevice::TextureStageState(DWORD stage, D3DTEXTURESTAGESTATETYPE type) const {
  auto it = stage_states_.find({stage, type});
  return it == stage_states_.end() ? std::nullopt : std::optional<DWORD>(it->second);
}

std::optional<DWORD> RecordingDevice::SamplerState(DWORD sampler, D3DSAMPLERSTATETYPE type) const {
  auto it = sampler_states_.find({sampler, type});
  return it == sampler_states_.end() ? std::nullopt : std::optional<DWORD>(it->second);
}

IDirect3DBaseTexture9* RecordingDevice::BoundTexture(DWORD stage) const {
  auto it = bound_.find(stage);
  return it == bound_.end() ? nullptr : it->second;
}

std::string RecordingDevice::NameOf(const IDirect3DBaseTexture9* texture) const {
  if (!texture) return "null";
  for (const auto& own : textures_)
    if (static_cast<const IDirect3DBaseTexture9*>(own.get()) == texture) return own->Name();
  return "foreign";
}

std::string RecordingDevice::NameOf(const IDirect3DVertexBuffer9* buffer) const {
  if (!buffer) return "null";
  for (const auto& own : buffers_)
    if (static_cast<const IDirect3DVertexBuffer9*>(own.get()) == buffer) return own->Name();
  return "foreign";
}

}  // namespace so3d::test
