#include "backends/gles/gles_vertex_buffer.h"

#include <new>

#include "backends/gles/gles_runtime.h"

namespace so3d::gles {

GlesVertexBuffer::GlesVertexBuffer(std::shared_ptr<GlesRuntime> runtime, DWORD fvf)
    : runtime_(std::move(runtime)), fvf_(fvf) {}

HRESULT GlesVertexBuffer::Create(std::shared_ptr<GlesRuntime> runtime, UINT length, DWORD fvf, GlesVertexBuffer** out) {
  if (!out) return D3DERR_INVALIDCALL;
  *out = nullptr;
  if (!runtime || length == 0) return D3DERR_INVALIDCALL;
  if (!runtime->MakeCurrent()) return E_FAIL;
  std::unique_ptr<GlesVertexBuffer> buffer(new (std::nothrow) GlesVertexBuffer(runtime, fvf));
  if (!buffer) return E_OUTOFMEMORY;
  try {
    buffer->bytes_.assign(length, 0);
  } catch (const std::bad_alloc&) { return E_OUTOFMEMORY; }
  glGenBuffers(1, &buffer->name_);
  runtime->cache.BindArrayBuffer(buffer->name_);
  glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(length), buffer->bytes_.data(), GL_STATIC_DRAW);
  runtime->cache.CountUpload();
  if (glGetError() != GL_NO_ERROR) return D3DERR_OUTOFVIDEOMEMORY;
  *out = buffer.release();
  return D3D_OK;
}

GlesVertexBuffer::~GlesVertexBuffer() {
  if (name_ && runtime_->MakeCurrent()) {
    runtime_->cache.ForgetBuffer(name_);
    glDeleteBuffers(1, &name_);
  }
}

HRESULT GlesVertexBuffer::Lock(UINT offset, UINT size, void** data, DWORD flags) {
  if (!data || locked_) return D3DERR_INVALIDCALL;
  const UINT length = Length();
  if (offset > length) return D3DERR_INVALIDCALL;
  if (size == 0) size = length - offset;
  if (size > length - offset || size == 0) return D3DERR_INVALIDCALL;
  *data = bytes_.data() + offset;
  locked_ = true;
  read_only_ = (flags & D3DLOCK_READONLY) != 0;
  lock_offset_ = offset;
  lock_size_ = size;
  return D3D_OK;
}

HRESULT GlesVertexBuffer::Unlock() {
  if (!locked_) return D3DERR_INVALIDCALL;
  locked_ = false;
  if (read_only_) return D3D_OK;
  if (!runtime_->MakeCurrent()) return E_FAIL;
  runtime_->cache.BindArrayBuffer(name_);
  glBufferSubData(GL_ARRAY_BUFFER, GLintptr(lock_offset_), GLsizeiptr(lock_size_), bytes_.data() + lock_offset_);
  runtime_->cache.CountUpload();
  return D3D_OK;
}

}  // namespace so3d::gles
