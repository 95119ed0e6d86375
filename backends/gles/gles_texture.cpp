#include "backends/gles/gles_texture.h"

#include <new>

#include "backends/gles/gles_runtime.h"

namespace so3d::gles {

namespace {
constexpr std::size_t texel_bytes = 4;
}

GlesTexture::GlesTexture(std::shared_ptr<GlesRuntime> runtime, UINT width, UINT height)
    : runtime_(std::move(runtime)), width_(width), height_(height) {}

HRESULT GlesTexture::Create(std::shared_ptr<GlesRuntime> runtime, UINT width, UINT height, UINT levels,
                            D3DFORMAT format, GlesTexture** out) {
  if (!out) return D3DERR_INVALIDCALL;
  *out = nullptr;
  if (!runtime || width == 0 || height == 0 || levels > 1) return D3DERR_INVALIDCALL;
  if (format != D3DFMT_A8R8G8B8 && format != D3DFMT_X8R8G8B8) return D3DERR_INVALIDCALL;
  if (width > UINT(runtime->max_texture_size) || height > UINT(runtime->max_texture_size)) return D3DERR_INVALIDCALL;
  if (!runtime->MakeCurrent()) return E_FAIL;

  std::unique_ptr<GlesTexture> texture(new (std::nothrow) GlesTexture(runtime, width, height));
  if (!texture) return E_OUTOFMEMORY;
  try {
    texture->texels_.assign(std::size_t(width) * height * texel_bytes, 0);
  } catch (const std::bad_alloc&) { return E_OUTOFMEMORY; }
  GlStateCache& cache = runtime->cache;
  glGenTextures(1, &texture->name_);
  cache.BindTextureToChange(0, texture->name_);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, GLsizei(width), GLsizei(height), 0, GL_RGBA, GL_UNSIGNED_BYTE,
               texture->texels_.data());
  cache.CountUpload();
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_R, GL_BLUE);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_B, GL_RED);
  if (format == D3DFMT_X8R8G8B8) glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_A, GL_ONE);
  if (glGetError() != GL_NO_ERROR) return D3DERR_OUTOFVIDEOMEMORY;  // the destructor deletes the name
  *out = texture.release();
  return D3D_OK;
}

HRESULT GlesTexture::Wrap(std::shared_ptr<GlesRuntime> runtime, GLuint name, UINT width, UINT height,
                          GlesTexture** out) {
  if (!out) return D3DERR_INVALIDCALL;
  *out = nullptr;
  if (!runtime || name == 0 || width == 0 || height == 0) return D3DERR_INVALIDCALL;
  if (!runtime->MakeCurrent()) return E_FAIL;
  if (!glIsTexture(name)) return D3DERR_INVALIDCALL;  // not shared with the device's context
  std::unique_ptr<GlesTexture> texture(new (std::nothrow) GlesTexture(std::move(runtime), width, height));
  if (!texture) return E_OUTOFMEMORY;
  texture->name_ = name;
  texture->owned_ = false;
  *out = texture.release();
  return D3D_OK;
}

GlesTexture::~GlesTexture() {
  if (name_ && runtime_->MakeCurrent()) {
    runtime_->cache.ForgetTexture(name_);
    if (owned_) glDeleteTextures(1, &name_);
  }
}

HRESULT GlesTexture::LockRect(UINT level, D3DLOCKED_RECT* locked, const RECT* rect, DWORD flags) {
  if (!locked || level != 0 || locked_ || !owned_) return D3DERR_INVALIDCALL;
  RECT r{0, 0, LONG(width_), LONG(height_)};
  if (rect) {
    if (rect->left < 0 || rect->top < 0 || rect->left >= rect->right || rect->top >= rect->bottom ||
        rect->right > LONG(width_) || rect->bottom > LONG(height_))
      return D3DERR_INVALIDCALL;
    r = *rect;
  }
  const std::size_t pitch = std::size_t(width_) * texel_bytes;
  locked->Pitch = INT(pitch);
  locked->pBits = texels_.data() + std::size_t(r.top) * pitch + std::size_t(r.left) * texel_bytes;
  locked_ = true;
  read_only_ = (flags & D3DLOCK_READONLY) != 0;
  lock_rect_ = r;
  return D3D_OK;
}

HRESULT GlesTexture::UnlockRect(UINT level) {
  if (level != 0 || !locked_) return D3DERR_INVALIDCALL;
  locked_ = false;
  if (read_only_) return D3D_OK;
  if (!runtime_->MakeCurrent()) return E_FAIL;
  const RECT& r = lock_rect_;
  runtime_->cache.BindTextureToChange(0, name_);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, GLint(width_));
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  const std::uint8_t* first = texels_.data() + (std::size_t(r.top) * width_ + std::size_t(r.left)) * texel_bytes;
  glTexSubImage2D(GL_TEXTURE_2D, 0, r.left, r.top, r.right - r.left, r.bottom - r.top, GL_RGBA, GL_UNSIGNED_BYTE,
                  first);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  runtime_->cache.CountUpload();
  return D3D_OK;
}

}  // namespace so3d::gles
