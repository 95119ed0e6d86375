#include "render/so_d3d_drawable_object.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <exception>
#include <limits>

#include "platform/d3dx/d3dx_math.h"
#include "platform/foundation/z_record.h"
#include "render/host_interfaces.h"
#include "scene/so_object_settings.h"
#include "textures/so_d3d_texture_manager.h"

namespace {

constexpr UINT vertex_stride = sizeof(so_interleaved_vertex);
constexpr std::int32_t quad_vertices = 6;

// Vertices of the surface that can be read from its interleaved block.
std::int32_t readable_vertices(const so_surface& surface) {
  if (surface.interleaved == nullptr || surface.vertex_count <= 0) return 0;
  return std::min(surface.vertex_count, so_interleaved_capacity(surface));
}

// The decor interface of the host's drawing functions, with a reference the
// caller gives back; null when the host offers none.
soXIOGLDrawingFunctions* query_decor(soXIDrawingFunctions* functions) {
  if (functions == nullptr) return nullptr;
  void* found = nullptr;
  if (functions->QueryInterface("soXIOGLDrawingFunctions", &found) != 0) return nullptr;
  return static_cast<soXIOGLDrawingFunctions*>(found);
}

void set_material(IDirect3DDevice9& device, float opacity) {
  D3DMATERIAL9 material{};
  material.Diffuse = {1, 1, 1, opacity};
  material.Ambient = {1, 1, 1, opacity};
  material.Specular = {0, 0, 0, 0};
  material.Emissive = {1, 1, 1, opacity};
  material.Power = 0;
  device.SetMaterial(&material);
}

}  // namespace

soD3DDrawableObject::soD3DDrawableObject(soObject* source, soD3DTextureManager* textures)
    : soDrawableObject(source), texture_manager(textures) {}

soD3DDrawableObject::~soD3DDrawableObject() { release_vertex_buffers(); }

void soD3DDrawableObject::ReleaseDeviceDependentResources() { release_vertex_buffers(); }

void soD3DDrawableObject::release_vertex_buffers() {
  for (const surface_buffer& entry : vertex_buffers) {
    if (entry.buffer != nullptr) entry.buffer->Release();
  }
  vertex_buffers.clear();
  vertex_buffers.shrink_to_fit();
  vertex_buffer_count = 0;
}

soD3DDrawableObject::surface_buffer soD3DDrawableObject::create_vertex_buffer(so_surface& surface,
                                                                              IDirect3DDevice9& device) {
  const std::int32_t count = readable_vertices(surface);
  if (count == 0 || static_cast<std::uint32_t>(count) > std::numeric_limits<UINT>::max() / vertex_stride) {
    return {nullptr, 0};
  }
  const UINT length = static_cast<UINT>(count) * vertex_stride;
  IDirect3DVertexBuffer9* buffer = nullptr;
  if (FAILED(device.CreateVertexBuffer(length, D3DUSAGE_WRITEONLY, so_interleaved_fvf, D3DPOOL_MANAGED, &buffer,
                                       nullptr)) ||
      buffer == nullptr) {
    return {nullptr, 0};
  }
  void* data = nullptr;
  if (SUCCEEDED(buffer->Lock(0, length, &data, 0))) {
    if (data != nullptr) std::memcpy(data, surface.interleaved, length);
    buffer->Unlock();
  }
  return {buffer, count};
}

soD3DDrawableObject::surface_buffer soD3DDrawableObject::create_masked_vertex_buffer(so_surface& surface,
                                                                                     IDirect3DDevice9& device) {
  const std::int32_t count = readable_vertices(surface);
  if (count == 0) return {nullptr, 0};
  so_uv quad[quad_vertices];
  soD3DTextureManager::GenerateTextureCoords(1, 1, &quad[0].u, sizeof(so_uv));
  so_interleaved_vertex* vertices = surface.interleaved;
  for (std::int32_t i = 0; i < count; ++i) { vertices[i].uv1 = i < quad_vertices ? quad[i] : vertices[i].uv0; }
  return create_vertex_buffer(surface, device);
}

bool soD3DDrawableObject::create_vertex_buffers(IDirect3DDevice9& device) {
  const std::int32_t count = SurfaceCount();
  if (count <= 0) return true;
  try {
    vertex_buffers.assign(static_cast<std::size_t>(count), surface_buffer{nullptr, 0});
  } catch (const std::exception&) {
    vertex_buffers.clear();
    return false;
  }
  for (std::int32_t i = 0; i < count; ++i) {
    if (so_surface* surface = SurfaceAt(i)) {
      vertex_buffers[static_cast<std::size_t>(i)] = create_masked_vertex_buffer(*surface, device);
    }
  }
  vertex_buffer_count = count;
  return true;
}

bool soD3DDrawableObject::bind_mask_texture(const so_drawing_state& state, soXIOGLDrawingFunctions* decor) {
  IDirect3DDevice9& device = *state.device;
  const std::int32_t decor_id = state.record->AsInt32(so_id_border_decor, 0);
  IDirect3DTexture9* texture = nullptr;
  std::int32_t handle = 0;
  if (decor_id != 0) {
    // A decor texture can only come from the host.
    if (decor == nullptr) return false;
    // A lookup that hands back no texture failed, whatever it returned: its
    // handle is not one to give back.
    const std::int32_t result = decor->GetDecorTexture(decor_id, &texture, &handle);
    if (result != 0 || texture == nullptr) return false;
  } else {
    texture = texture_manager->GetMaskTexture();
    if (texture == nullptr) return false;
  }
  device.SetTexture(1, texture);

  // The enlargement accumulates: it is not undone after the surface, so each
  // masked surface of the object scales the world once more.
  D3DXMATRIX world;
  if (SUCCEEDED(device.GetTransform(D3DTS_WORLD, &world))) {
    D3DXMATRIX scaling;
    D3DXMatrixScaling(&scaling, std::bit_cast<float>(mask_scale_x_bits), std::bit_cast<float>(mask_scale_y_bits), 1.0f);
    D3DXMatrixMultiply(&world, &scaling, &world);
    device.SetTransform(D3DTS_WORLD, &world);
  }
  if (handle != 0 && decor_id != 0) decor->ReleaseDecorTexture(handle);
  return true;
}

void soD3DDrawableObject::draw_surface(const so_drawing_state& state, std::int32_t index,
                                       soXIOGLDrawingFunctions* decor) {
  so_surface* surface = SurfaceAt(index);
  if (surface == nullptr) return;
  IDirect3DDevice9& device = *state.device;
  const so_object_data& data = *state.object_data;
  const bool screen = so_surface_has_name(*surface, "One");
  if (screen && (texture_manager == nullptr || !texture_manager->HasTexture(*surface, data))) return;

  soTextureManager::so_alpha_type alpha = soTextureManager::so_alpha_opaque;
  std::int32_t width = 0;
  std::int32_t height = 0;
  float u_extent = 0;
  float v_extent = 0;
  const bool bound = texture_manager != nullptr &&
                     texture_manager->BindTexture(*surface, data, &alpha, &width, &height, &u_extent, &v_extent);
  const bool mask = state.record != nullptr && texture_manager != nullptr && texture_manager->MultitexturingEnabled() &&
                    bind_mask_texture(state, decor);

  if (bound) {
    set_material(device, state.opacity);
    device.SetRenderState(D3DRS_ALPHABLENDENABLE, TRUE);
    device.SetRenderState(D3DRS_SRCBLEND, D3DBLEND_SRCALPHA);
    device.SetRenderState(D3DRS_DESTBLEND, D3DBLEND_INVSRCALPHA);
  } else {
    device.SetRenderState(D3DRS_ALPHABLENDENABLE, FALSE);
  }

  // Nothing samples stage 0 on an unbound surface, and without a texture
  // there is no size to crop against, so its coordinates are left alone.
  const bool have_slot = index < vertex_buffer_count;
  if (bound && update_texture_coordinates(state, *surface, index, width, height, u_extent, v_extent, true) &&
      have_slot) {
    surface_buffer& entry = vertex_buffers[static_cast<std::size_t>(index)];
    if (entry.buffer != nullptr) entry.buffer->Release();
    entry = create_vertex_buffer(*surface, device);
  }

  if (have_slot) {
    const surface_buffer& entry = vertex_buffers[static_cast<std::size_t>(index)];
    const UINT triangles = static_cast<UINT>(entry.vertex_count / 3);
    if (entry.buffer != nullptr && triangles > 0) {
      device.SetStreamSource(0, entry.buffer, 0, vertex_stride);
      device.SetFVF(so_interleaved_fvf);
      device.DrawPrimitive(D3DPT_TRIANGLELIST, 0, triangles);
    }
  }

  if (mask) device.SetTexture(1, nullptr);
  if (bound) device.SetRenderState(D3DRS_ALPHABLENDENABLE, FALSE);
}

void soD3DDrawableObject::Draw(const so_drawing_state& state) {
  if (state.device == nullptr || state.object_data == nullptr) return;
  const std::int32_t count = SurfaceCount();
  soXIOGLDrawingFunctions* decor = query_decor(state.drawing_functions);
  if (vertex_buffer_count != 0 || create_vertex_buffers(*state.device)) {
    for (std::int32_t i = 0; i < count; ++i) draw_surface(state, i, decor);
  }
  if (decor != nullptr) decor->Release();
}
