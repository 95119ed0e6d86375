#pragma once
// The Direct3D 9 subset that the module drives, with the type names, method
// names, parameter lists and constant values of the platform header, so the
// module's sources compile against either. Interfaces are abstract; a device
// is supplied by the host (on Linux: backends/gles, or a test double).
#include <cstdint>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using INT = int;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using BOOL = int;
using FLOAT = float;
using HRESULT = std::int32_t;
using HANDLE = void*;
using D3DCOLOR = DWORD;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

constexpr HRESULT D3D_OK = 0;
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
constexpr HRESULT D3DERR_INVALIDCALL = static_cast<HRESULT>(0x8876086Cu);
constexpr HRESULT D3DERR_OUTOFVIDEOMEMORY = static_cast<HRESULT>(0x8876017Cu);
constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
constexpr bool FAILED(HRESULT hr) { return hr < 0; }

struct RECT {
  LONG left, top, right, bottom;
};

struct D3DRECT {
  LONG x1, y1, x2, y2;
};

struct D3DVECTOR {
  float x, y, z;
};

struct D3DCOLORVALUE {
  float r, g, b, a;
};

struct D3DMATRIX {
  union {
    __extension__ struct {  // anonymous, as in the platform header
      float _11, _12, _13, _14;
      float _21, _22, _23, _24;
      float _31, _32, _33, _34;
      float _41, _42, _43, _44;
    };
    float m[4][4];
  };
};

struct D3DMATERIAL9 {
  D3DCOLORVALUE Diffuse;
  D3DCOLORVALUE Ambient;
  D3DCOLORVALUE Specular;
  D3DCOLORVALUE Emissive;
  float Power;
};

struct D3DLOCKED_RECT {
  INT Pitch;
  void* pBits;
};

enum D3DTRANSFORMSTATETYPE : std::uint32_t {
  D3DTS_VIEW = 2,
  D3DTS_PROJECTION = 3,
  D3DTS_TEXTURE0 = 16,
  D3DTS_TEXTURE1 = 17,
  D3DTS_WORLD = 256,
};

enum D3DRENDERSTATETYPE : std::uint32_t {
  D3DRS_ZENABLE = 7,
  D3DRS_FILLMODE = 8,
  D3DRS_SHADEMODE = 9,
  D3DRS_ZWRITEENABLE = 14,
  D3DRS_ALPHATESTENABLE = 15,
  D3DRS_SRCBLEND = 19,
  D3DRS_DESTBLEND = 20,
  D3DRS_CULLMODE = 22,
  D3DRS_ZFUNC = 23,
  D3DRS_DITHERENABLE = 26,
  D3DRS_ALPHABLENDENABLE = 27,
  D3DRS_SPECULARENABLE = 29,
  D3DRS_LIGHTING = 137,
  D3DRS_AMBIENT = 139,
  D3DRS_NORMALIZENORMALS = 143,
  D3DRS_DIFFUSEMATERIALSOURCE = 145,
  D3DRS_SPECULARMATERIALSOURCE = 146,
  D3DRS_AMBIENTMATERIALSOURCE = 147,
  D3DRS_EMISSIVEMATERIALSOURCE = 148,
};

enum D3DCULL : std::uint32_t { D3DCULL_NONE = 1, D3DCULL_CW = 2, D3DCULL_CCW = 3 };

enum D3DBLEND : std::uint32_t {
  D3DBLEND_ZERO = 1,
  D3DBLEND_ONE = 2,
  D3DBLEND_SRCCOLOR = 3,
  D3DBLEND_INVSRCCOLOR = 4,
  D3DBLEND_SRCALPHA = 5,
  D3DBLEND_INVSRCALPHA = 6,
};

enum D3DMATERIALCOLORSOURCE : std::uint32_t {
  D3DMCS_MATERIAL = 0,
  D3DMCS_COLOR1 = 1,
  D3DMCS_COLOR2 = 2,
};

enum D3DTEXTURESTAGESTATETYPE : std::uint32_t {
  D3DTSS_COLOROP = 1,
  D3DTSS_COLORARG1 = 2,
  D3DTSS_COLORARG2 = 3,
  D3DTSS_ALPHAOP = 4,
  D3DTSS_ALPHAARG1 = 5,
  D3DTSS_ALPHAARG2 = 6,
  D3DTSS_TEXCOORDINDEX = 11,
};

enum D3DTEXTUREOP : std::uint32_t {
  D3DTOP_DISABLE = 1,
  D3DTOP_SELECTARG1 = 2,
  D3DTOP_SELECTARG2 = 3,
  D3DTOP_MODULATE = 4,
};

constexpr DWORD D3DTA_DIFFUSE = 0x0;
constexpr DWORD D3DTA_CURRENT = 0x1;
constexpr DWORD D3DTA_TEXTURE = 0x2;
constexpr DWORD D3DTA_TFACTOR = 0x3;

enum D3DSAMPLERSTATETYPE : std::uint32_t {
  D3DSAMP_ADDRESSU = 1,
  D3DSAMP_ADDRESSV = 2,
  D3DSAMP_ADDRESSW = 3,
  D3DSAMP_BORDERCOLOR = 4,
  D3DSAMP_MAGFILTER = 5,
  D3DSAMP_MINFILTER = 6,
  D3DSAMP_MIPFILTER = 7,
};

enum D3DTEXTUREFILTERTYPE : std::uint32_t { D3DTEXF_NONE = 0, D3DTEXF_POINT = 1, D3DTEXF_LINEAR = 2 };

enum D3DTEXTUREADDRESS : std::uint32_t {
  D3DTADDRESS_WRAP = 1,
  D3DTADDRESS_MIRROR = 2,
  D3DTADDRESS_CLAMP = 3,
  D3DTADDRESS_BORDER = 4,
};

enum D3DPRIMITIVETYPE : std::uint32_t {
  D3DPT_POINTLIST = 1,
  D3DPT_LINELIST = 2,
  D3DPT_LINESTRIP = 3,
  D3DPT_TRIANGLELIST = 4,
  D3DPT_TRIANGLESTRIP = 5,
  D3DPT_TRIANGLEFAN = 6,
};

enum D3DFORMAT : std::uint32_t {
  D3DFMT_UNKNOWN = 0,
  D3DFMT_A8R8G8B8 = 21,
  D3DFMT_X8R8G8B8 = 22,
};

enum D3DPOOL : std::uint32_t {
  D3DPOOL_DEFAULT = 0,
  D3DPOOL_MANAGED = 1,
  D3DPOOL_SYSTEMMEM = 2,
};

constexpr DWORD D3DUSAGE_RENDERTARGET = 0x1;
constexpr DWORD D3DUSAGE_WRITEONLY = 0x8;
constexpr DWORD D3DUSAGE_DYNAMIC = 0x200;

constexpr DWORD D3DFVF_XYZ = 0x002;
constexpr DWORD D3DFVF_NORMAL = 0x010;
constexpr DWORD D3DFVF_DIFFUSE = 0x040;
constexpr DWORD D3DFVF_TEX1 = 0x100;
constexpr DWORD D3DFVF_TEX2 = 0x200;

constexpr DWORD D3DLOCK_READONLY = 0x10;
constexpr DWORD D3DLOCK_NOOVERWRITE = 0x1000;
constexpr DWORD D3DLOCK_DISCARD = 0x2000;

constexpr DWORD D3DCLEAR_TARGET = 0x1;
constexpr DWORD D3DCLEAR_ZBUFFER = 0x2;
constexpr DWORD D3DCLEAR_STENCIL = 0x4;

constexpr D3DCOLOR D3DCOLOR_ARGB(DWORD a, DWORD r, DWORD g, DWORD b) {
  return ((a & 0xFF) << 24) | ((r & 0xFF) << 16) | ((g & 0xFF) << 8) | (b & 0xFF);
}

// Reference counting of every Direct3D interface.
class IUnknown {
 public:
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  virtual ~IUnknown() = default;
};

class IDirect3DResource9 : public IUnknown {};
class IDirect3DBaseTexture9 : public IDirect3DResource9 {};

class IDirect3DTexture9 : public IDirect3DBaseTexture9 {
 public:
  virtual HRESULT LockRect(UINT Level, D3DLOCKED_RECT* pLockedRect, const RECT* pRect, DWORD Flags) = 0;
  virtual HRESULT UnlockRect(UINT Level) = 0;
};

class IDirect3DVertexBuffer9 : public IDirect3DResource9 {
 public:
  virtual HRESULT Lock(UINT OffsetToLock, UINT SizeToLock, void** ppbData, DWORD Flags) = 0;
  virtual HRESULT Unlock() = 0;
};

class IDirect3DVertexShader9;

class IDirect3DDevice9 : public IUnknown {
 public:
  virtual HRESULT BeginScene() = 0;
  virtual HRESULT EndScene() = 0;
  virtual HRESULT Clear(DWORD Count, const D3DRECT* pRects, DWORD Flags, D3DCOLOR Color, float Z, DWORD Stencil) = 0;
  virtual HRESULT CreateTexture(UINT Width, UINT Height, UINT Levels, DWORD Usage, D3DFORMAT Format, D3DPOOL Pool,
                                IDirect3DTexture9** ppTexture, HANDLE* pSharedHandle) = 0;
  virtual HRESULT CreateVertexBuffer(UINT Length, DWORD Usage, DWORD FVF, D3DPOOL Pool,
                                     IDirect3DVertexBuffer9** ppVertexBuffer, HANDLE* pSharedHandle) = 0;
  virtual HRESULT SetTransform(D3DTRANSFORMSTATETYPE State, const D3DMATRIX* pMatrix) = 0;
  virtual HRESULT GetTransform(D3DTRANSFORMSTATETYPE State, D3DMATRIX* pMatrix) = 0;
  virtual HRESULT SetMaterial(const D3DMATERIAL9* pMaterial) = 0;
  virtual HRESULT SetRenderState(D3DRENDERSTATETYPE State, DWORD Value) = 0;
  virtual HRESULT SetTexture(DWORD Stage, IDirect3DBaseTexture9* pTexture) = 0;
  virtual HRESULT SetTextureStageState(DWORD Stage, D3DTEXTURESTAGESTATETYPE Type, DWORD Value) = 0;
  virtual HRESULT SetSamplerState(DWORD Sampler, D3DSAMPLERSTATETYPE Type, DWORD Value) = 0;
  virtual HRESULT DrawPrimitive(D3DPRIMITIVETYPE PrimitiveType, UINT StartVertex, UINT PrimitiveCount) = 0;
  virtual HRESULT SetFVF(DWORD FVF) = 0;
  virtual HRESULT SetVertexShader(IDirect3DVertexShader9* pShader) = 0;
  virtual HRESULT SetStreamSource(UINT StreamNumber, IDirect3DVertexBuffer9* pStreamData, UINT OffsetInBytes,
                                  UINT Stride) = 0;
};
