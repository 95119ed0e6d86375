#pragma once
// A Direct3D 9 device that draws nothing. Textures and vertex buffers hold
// real memory, so the module can fill them; transforms read back what was
// set; every other call succeeds and is forgotten. For benchmarks of the
// module's own per-frame work, and tests that need a device but not its
// calls. Reference counted like a real device: made with one reference,
// destroyed by the last Release.
#include <array>

#include "backends/state/ref_counted.h"
#include "backends/state/transform_slots.h"
#include "platform/d3d9/d3d9.h"

namespace so3d::backend {

class NullDevice final : public RefCounted<IDirect3DDevice9> {
 public:
  // Refuses textures and vertex buffers past these, as a real device would
  // run out of memory.
  static constexpr UINT max_texture_side = 16384;
  static constexpr UINT max_buffer_length = 1u << 30;

  HRESULT BeginScene() override { return D3D_OK; }
  HRESULT EndScene() override { return D3D_OK; }
  HRESULT Clear(DWORD, const D3DRECT*, DWORD, D3DCOLOR, float, DWORD) override { return D3D_OK; }
  HRESULT CreateTexture(UINT Width, UINT Height, UINT Levels, DWORD Usage, D3DFORMAT Format, D3DPOOL Pool,
                        IDirect3DTexture9** ppTexture, HANDLE* pSharedHandle) override;
  HRESULT CreateVertexBuffer(UINT Length, DWORD Usage, DWORD FVF, D3DPOOL Pool, IDirect3DVertexBuffer9** ppVertexBuffer,
                             HANDLE* pSharedHandle) override;
  HRESULT SetTransform(D3DTRANSFORMSTATETYPE State, const D3DMATRIX* pMatrix) override;
  HRESULT GetTransform(D3DTRANSFORMSTATETYPE State, D3DMATRIX* pMatrix) override;
  HRESULT SetMaterial(const D3DMATERIAL9*) override { return D3D_OK; }
  HRESULT SetRenderState(D3DRENDERSTATETYPE, DWORD) override { return D3D_OK; }
  HRESULT SetTexture(DWORD, IDirect3DBaseTexture9*) override { return D3D_OK; }
  HRESULT SetTextureStageState(DWORD, D3DTEXTURESTAGESTATETYPE, DWORD) override { return D3D_OK; }
  HRESULT SetSamplerState(DWORD, D3DSAMPLERSTATETYPE, DWORD) override { return D3D_OK; }
  HRESULT DrawPrimitive(D3DPRIMITIVETYPE, UINT, UINT) override { return D3D_OK; }
  HRESULT SetFVF(DWORD) override { return D3D_OK; }
  HRESULT SetVertexShader(IDirect3DVertexShader9*) override { return D3D_OK; }
  HRESULT SetStreamSource(UINT, IDirect3DVertexBuffer9*, UINT, UINT) override { return D3D_OK; }

 private:
  TransformState transforms_;
};

}  // namespace so3d::backend
