#include "base/so_surface.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "platform/memory/large_blocks.h"

namespace {

constexpr std::size_t kVertexAlignment = 32;

// Written at the start of every interleaved block the module makes, in the
// slack before the aligned vertices, so that later writers know how many
// vertices the block holds even after the surface's vertex count changed.
struct InterleavedHeader {
  std::uint32_t tag;
  std::int32_t capacity;
};
constexpr std::uint32_t kInterleavedTag = 0x534F4956;  // "SOIV"
constexpr std::size_t kBlockSlack = sizeof(InterleavedHeader) + kVertexAlignment;

std::int32_t position_count(const so_surface& surface) {
  return surface.vertices != nullptr && surface.vertex_count > 0 ? surface.vertex_count : 0;
}

}  // namespace

bool so_surface_has_name(const so_surface& surface, std::string_view name) {
  const void* end = std::memchr(surface.name, '\0', so_surface_name_size);
  const std::size_t length = end != nullptr ? static_cast<const char*>(end) - surface.name : so_surface_name_size;
  return std::string_view(surface.name, length) == name;
}

bool so_surface_shows_screen(const so_surface& surface) {
  return so_surface_has_name(surface, "One") || so_surface_has_name(surface, "Two") ||
         so_surface_has_name(surface, "Three") || so_surface_has_name(surface, "Four");
}

void so_surface_release_blocks(so_surface* surface) {
  if (surface == nullptr) return;
  std::free(surface->vertices);
  std::free(surface->normals);
  if (surface->texcoords != nullptr) std::free(surface->texcoords->uv);
  std::free(surface->texcoords);
  std::free(surface->interleaved_block);
  surface->vertices = nullptr;
  surface->vertex_count = 0;
  surface->normals = nullptr;
  surface->normal_count = 0;
  surface->texcoords = nullptr;
  surface->interleaved_block = nullptr;
  surface->interleaved = nullptr;
}

bool so_surface_allocate_geometry(so_surface& surface, std::int32_t capacity) {
  std::free(surface.vertices);
  std::free(surface.normals);
  surface.vertices = nullptr;
  surface.normals = nullptr;
  surface.vertex_count = 0;
  surface.normal_count = 0;
  if (capacity < 0) return false;
  if (capacity == 0) return true;
  const auto count = static_cast<std::size_t>(capacity);
  surface.vertices = static_cast<so_vector3*>(std::calloc(count, sizeof(so_vector3)));
  surface.normals = static_cast<so_vector3*>(std::calloc(count, sizeof(so_vector3)));
  if (surface.vertices != nullptr && surface.normals != nullptr) {
    so3d::advise_large_block(surface.vertices, count * sizeof(so_vector3));
    so3d::advise_large_block(surface.normals, count * sizeof(so_vector3));
    return true;
  }
  std::free(surface.vertices);
  std::free(surface.normals);
  surface.vertices = nullptr;
  surface.normals = nullptr;
  return false;
}

void so_surface_set_name(so_surface& surface, const char* name) {
  std::memset(surface.name, 0, so_surface_name_size);
  if (name == nullptr) return;
  const void* end = std::memchr(name, '\0', so_surface_name_size - 1);
  const std::size_t length = end != nullptr ? static_cast<const char*>(end) - name : so_surface_name_size - 1;
  std::memcpy(surface.name, name, length);
}

bool so_surface_build_interleaved(so_surface& surface) {
  std::free(surface.interleaved_block);
  surface.interleaved_block = nullptr;
  surface.interleaved = nullptr;

  const std::int32_t count = position_count(surface);
  std::size_t space = static_cast<std::size_t>(count) * sizeof(so_interleaved_vertex) + kBlockSlack;
  void* block = std::calloc(1, space);
  if (block == nullptr) return false;
  so3d::advise_large_block(block, space);
  const InterleavedHeader header{kInterleavedTag, count};
  std::memcpy(block, &header, sizeof header);

  void* first = static_cast<unsigned char*>(block) + sizeof header;
  space -= sizeof header;
  // The slack holds a full alignment step, so std::align cannot fail here.
  std::align(kVertexAlignment, static_cast<std::size_t>(count) * sizeof(so_interleaved_vertex), first, space);
  auto* out = static_cast<so_interleaved_vertex*>(first);

  const so_texcoord_set* set = surface.texcoords;
  const std::int32_t uv_count = set != nullptr && set->uv != nullptr ? set->count : 0;
  const std::int32_t normal_count = surface.normals != nullptr ? surface.normal_count : 0;
  for (std::int32_t i = 0; i < count; ++i) {
    out[i].position = surface.vertices[i];
    if (i < normal_count) out[i].normal = surface.normals[i];
    if (i < uv_count) out[i].uv0 = set->uv[i];
  }
  surface.interleaved_block = block;
  surface.interleaved = out;
  return true;
}

std::int32_t so_interleaved_capacity(const so_surface& surface) {
  if (surface.interleaved == nullptr) return 0;
  if (surface.interleaved_block != nullptr) {
    InterleavedHeader header;
    std::memcpy(&header, surface.interleaved_block, sizeof header);
    if (header.tag == kInterleavedTag) return header.capacity;
  }
  return surface.vertex_count > 0 ? surface.vertex_count : 0;
}

void so_surface_deleter::operator()(so_surface* surface) const noexcept {
  so_surface_release_blocks(surface);
  delete surface;
}

so_surface_ptr so_make_surface() noexcept { return so_surface_ptr(new (std::nothrow) so_surface{}); }
