#include "backends/gles/device_state.h"

namespace so3d::gles {

DeviceState DefaultDeviceState() {
  DeviceState s{};
  s.transforms.fill(backend::identity_matrix());

  auto& r = s.render;
  r[D3DRS_ZENABLE] = TRUE;  // the device always has a depth buffer
  r[D3DRS_FILLMODE] = fill_solid;
  r[D3DRS_SHADEMODE] = shade_gouraud;
  r[D3DRS_ZWRITEENABLE] = TRUE;
  r[D3DRS_SRCBLEND] = D3DBLEND_ONE;
  r[D3DRS_DESTBLEND] = D3DBLEND_ZERO;
  r[D3DRS_CULLMODE] = D3DCULL_CCW;
  r[D3DRS_ZFUNC] = cmp_less_equal;
  r[D3DRS_LIGHTING] = TRUE;
  r[D3DRS_AMBIENT] = 0;
  r[D3DRS_DIFFUSEMATERIALSOURCE] = D3DMCS_COLOR1;
  r[D3DRS_SPECULARMATERIALSOURCE] = D3DMCS_COLOR2;
  r[D3DRS_AMBIENTMATERIALSOURCE] = D3DMCS_MATERIAL;
  r[D3DRS_EMISSIVEMATERIALSOURCE] = D3DMCS_MATERIAL;

  for (std::size_t i = 0; i < stage_count; ++i) {
    auto& t = s.stages[i];
    // Stage 0 modulates the texture with the lit colour; later stages start off.
    t[D3DTSS_COLOROP] = i == 0 ? D3DTOP_MODULATE : D3DTOP_DISABLE;
    t[D3DTSS_ALPHAOP] = i == 0 ? D3DTOP_SELECTARG1 : D3DTOP_DISABLE;
    t[D3DTSS_COLORARG1] = D3DTA_TEXTURE;
    t[D3DTSS_COLORARG2] = D3DTA_CURRENT;
    t[D3DTSS_ALPHAARG1] = D3DTA_TEXTURE;
    t[D3DTSS_ALPHAARG2] = D3DTA_CURRENT;
    t[D3DTSS_TEXCOORDINDEX] = DWORD(i);
    auto& p = s.samplers[i];
    p[D3DSAMP_ADDRESSU] = p[D3DSAMP_ADDRESSV] = p[D3DSAMP_ADDRESSW] = D3DTADDRESS_WRAP;
    p[D3DSAMP_MAGFILTER] = p[D3DSAMP_MINFILTER] = D3DTEXF_POINT;
    p[D3DSAMP_MIPFILTER] = D3DTEXF_NONE;
  }
  return s;
}

}  // namespace so3d::gles
