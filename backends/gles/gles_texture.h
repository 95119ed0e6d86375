#pragma once
// A managed A8R8G8B8 or X8R8G8B8 texture with one level. The texels live in
// system memory as B, G, R, A bytes, rows top to bottom, pitch width × 4;
// LockRect hands out that memory and UnlockRect sends the locked rows to the
// GL texture. GL reads the bytes as R, G, B, A and swaps red and blue with a
// texture swizzle, so no texel is copied on the way; X8R8G8B8 reads alpha as 1.
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

class GlesTexture final : public backend::RefCounted<IDirect3DTexture9> {
 public:
  // D3DERR_INVALIDCALL for a zero or too large size, a format other than the
  // two above, or more than one level asked for; E_OUTOFMEMORY when memory
  // is short. `levels` 0 (a full chain) gets one level, which is all the
  // device samples with mip filtering off.
  static HRESULT Create(std::shared_ptr<GlesRuntime> runtime, UINT width, UINT height, UINT levels, D3DFORMAT format,
                        GlesTexture** out);

  // A host's GL texture, used as it is and never deleted; it cannot be
  // locked (D3DERR_INVALIDCALL).
  static HRESULT Wrap(std::shared_ptr<GlesRuntime> runtime, GLuint name, UINT width, UINT height, GlesTexture** out);

  // Level 0 only; `rect` (may be null: the whole texture) must lie inside
  // and not be empty. One lock at a time.
  HRESULT LockRect(UINT level, D3DLOCKED_RECT* locked, const RECT* rect, DWORD flags) override;
  // Uploads the locked rows unless the lock was D3DLOCK_READONLY.
  HRESULT UnlockRect(UINT level) override;

  GLuint Name() const { return name_; }
  bool Wrapped() const { return !owned_; }
  UINT Width() const { return width_; }
  UINT Height() const { return height_; }
  const GlesRuntime* Runtime() const { return runtime_.get(); }
  const std::uint8_t* Texels() const { return texels_.data(); }

 private:
  friend struct std::default_delete<GlesTexture>;
  GlesTexture(std::shared_ptr<GlesRuntime> runtime, UINT width, UINT height);
  ~GlesTexture() override;

  std::shared_ptr<GlesRuntime> runtime_;
  UINT width_, height_;
  std::vector<std::uint8_t> texels_;
  GLuint name_ = 0;
  bool owned_ = true;  // false for a host's texture
  bool locked_ = false;
  bool read_only_ = false;
  RECT lock_rect_{};
};

}  // namespace so3d::gles
