#pragma once
// A vertex buffer: its bytes live in system memory, which Lock hands out,
// and in a GL buffer that Unlock brings up to date with the locked range.
//
// Reference counted: created with one reference, deleted at the last Release.
#include <GLES3/gl3.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "backends/state/ref_counted.h"
#include "platform/d3d9/d3d9.h"

namespace so3d::gles {

struct GlesRuntime;

class GlesVertexBuffer final : public backend::RefCounted<IDirect3DVertexBuffer9> {
 public:
  // D3DERR_INVALIDCALL for a length of 0; E_OUTOFMEMORY when memory is short.
  static HRESULT Create(std::shared_ptr<GlesRuntime> runtime, UINT length, DWORD fvf, GlesVertexBuffer** out);

  // `size` 0 (with offset 0) locks the whole buffer; the range must lie
  // inside. One lock at a time.
  HRESULT Lock(UINT offset, UINT size, void** data, DWORD flags) override;
  HRESULT Unlock() override;

  GLuint Name() const { return name_; }
  UINT Length() const { return UINT(bytes_.size()); }
  DWORD Fvf() const { return fvf_; }
  const GlesRuntime* Runtime() const { return runtime_.get(); }
  const std::uint8_t* Bytes() const { return bytes_.data(); }

 private:
  friend struct std::default_delete<GlesVertexBuffer>;
  GlesVertexBuffer(std::shared_ptr<GlesRuntime> runtime, DWORD fvf);
  ~GlesVertexBuffer() override;

  std::shared_ptr<GlesRuntime> runtime_;
  DWORD fvf_;
  std::vector<std::uint8_t> bytes_;
  GLuint name_ = 0;
  bool locked_ = false;
  bool read_only_ = false;
  UINT lock_offset_ = 0;
  UINT lock_size_ = 0;
};

}  // namespace so3d::gles
