#include "backends/null/null_device.h"

#include <cstdint>
#include <memory>
#include <new>

namespace so3d::backend {
namespace {

// One block of memory, handed out by Lock and LockRect; the contents stay
// as the module wrote them.
class NullTexture final : public RefCounted<IDirect3DTexture9> {
 public:
  NullTexture(UINT width, std::unique_ptr<std::uint8_t[]> texels)
      : pitch_(INT(width * 4)), texels_(std::move(texels)) {}
  HRESULT LockRect(UINT Level, D3DLOCKED_RECT* pLockedRect, const RECT*, DWORD) override {
    if (Level != 0 || !pLockedRect) return D3DERR_INVALIDCALL;
    pLockedRect->Pitch = pitch_;
    pLockedRect->pBits = texels_.get();
    return D3D_OK;
  }
  HRESULT UnlockRect(UINT) override { return D3D_OK; }

 private:
  INT pitch_;
  std::unique_ptr<std::uint8_t[]> texels_;
};

class NullVertexBuffer final : public RefCounted<IDirect3DVertexBuffer9> {
 public:
  NullVertexBuffer(UINT length, std::unique_ptr<std::uint8_t[]> bytes) : length_(length), bytes_(std::move(bytes)) {}
  HRESULT Lock(UINT OffsetToLock, UINT SizeToLock, void** ppbData, DWORD) override {
    // Size 0 locks the whole buffer, as the platform defines it.
    if (!ppbData || OffsetToLock > length_ || SizeToLock > length_ - OffsetToLock) return D3DERR_INVALIDCALL;
    *ppbData = bytes_.get() + OffsetToLock;
    return D3D_OK;
  }
  HRESULT Unlock() override { return D3D_OK; }

 private:
  UINT length_;
  std::unique_ptr<std::uint8_t[]> bytes_;
};

}  // namespace

HRESULT NullDevice::CreateTexture(UINT Width, UINT Height, UINT, DWORD, D3DFORMAT, D3DPOOL,
                                  IDirect3DTexture9** ppTexture, HANDLE*) {
  if (!ppTexture) return D3DERR_INVALIDCALL;
  *ppTexture = nullptr;
  if (Width == 0 || Height == 0 || Width > max_texture_side || Height > max_texture_side) return D3DERR_INVALIDCALL;
  std::unique_ptr<std::uint8_t[]> texels(new (std::nothrow) std::uint8_t[std::size_t(Width) * Height * 4]);
  if (!texels) return E_OUTOFMEMORY;
  *ppTexture = new (std::nothrow) NullTexture(Width, std::move(texels));
  return *ppTexture ? D3D_OK : E_OUTOFMEMORY;
}

HRESULT NullDevice::CreateVertexBuffer(UINT Length, DWORD, DWORD, D3DPOOL, IDirect3DVertexBuffer9** ppVertexBuffer,
                                       HANDLE*) {
  if (!ppVertexBuffer) return D3DERR_INVALIDCALL;
  *ppVertexBuffer = nullptr;
  if (Length == 0 || Length > max_buffer_length) return D3DERR_INVALIDCALL;
  std::unique_ptr<std::uint8_t[]> bytes(new (std::nothrow) std::uint8_t[Length]);
  if (!bytes) return E_OUTOFMEMORY;
  *ppVertexBuffer = new (std::nothrow) NullVertexBuffer(Length, std::move(bytes));
  return *ppVertexBuffer ? D3D_OK : E_OUTOFMEMORY;
}

HRESULT NullDevice::SetTransform(D3DTRANSFORMSTATETYPE State, const D3DMATRIX* pMatrix) {
  return pMatrix && transforms_.Set(State, *pMatrix) ? D3D_OK : D3DERR_INVALIDCALL;
}

HRESULT NullDevice::GetTransform(D3DTRANSFORMSTATETYPE State, D3DMATRIX* pMatrix) {
  if (!pMatrix) return D3DERR_INVALIDCALL;
  *pMatrix = transforms_.Get(State);
  return D3D_OK;
}

}  // namespace so3d::backend
