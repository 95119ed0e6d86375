#include "objects/so_lightwave_object.h"

#include <cstddef>
#include <exception>
#include <limits>
#include <new>
#include <vector>

#include "objects/lightwave/so_lwo_file.h"
#include "textures/so_texture_manager.h"

namespace {

// Ambient is a third of the diffuse colour.
constexpr float kAmbientShare = 0.33333334f;
// The box starts from these, asymmetric like the texture-coordinate bounds:
// an object without vertices reports them as its box.
constexpr float kBoundsStartMin = 1e6f;
constexpr float kBoundsStartMax = -1e5f;
constexpr std::int64_t kMaxVertices = std::numeric_limits<std::int32_t>::max();

struct file_releaser {
  void operator()(so_lwo_file* file) const noexcept { so_lwo_release(file); }
};

// Registers the file's still images and gives each clip its id. Unless
// kept, the registrations are withdrawn again when the load fails later.
class still_images {
 public:
  still_images(so_lwo_file& file, soTextureManager* registry) : textures(registry) {
    ids.reserve(file.clips.size());  // so that no registration goes unrecorded
    for (const auto& clip : file.clips) {
      if (clip == nullptr || clip->kind != so_lwo_clip_still) continue;
      std::int32_t id = 0;
      // An empty name has nothing to register; the clip keeps id 0.
      if (textures != nullptr && !clip->file_name.empty()) {
        textures->AddTexture(clip->file_name.c_str(), &id);
        if (id != 0) ids.push_back(id);
      }
      clip->texture_id = id;
    }
  }
  still_images(const still_images&) = delete;
  still_images& operator=(const still_images&) = delete;
  ~still_images() {
    for (std::int32_t id : ids) textures->UnloadAndDeleteTexture(id);
  }
  void keep() { ids.clear(); }

 private:
  soTextureManager* textures;
  std::vector<std::int32_t> ids;
};

// The registered id of the image that the first colour layer maps, or 0.
// With several clips of that index the last one wins.
std::int32_t first_color_image(const so_lwo_surface& surface, const so_lwo_file& file) {
  const so_lwo_texture_list& layers = surface.color.textures;
  if (layers.empty() || layers.front().kind != so_lwo_kind_image_map) return 0;
  const std::int32_t wanted = layers.front().image_map.clip_index;
  std::int32_t id = 0;
  for (const auto& clip : file.clips) {
    if (clip != nullptr && clip->index == wanted) id = clip->texture_id;
  }
  return id;
}

void fill_material(so_surface& out, const so_lwo_surface& in, const so_lwo_file& file) {
  const float r = in.color.rgb[0];
  const float g = in.color.rgb[1];
  const float b = in.color.rgb[2];
  const float d = in.diffuse.value;
  const float l = in.luminosity.value;
  const float s = in.specular.value;
  const float dk = d * kAmbientShare;
  out.color = so_rgba{r * d, g * d, b * d, 0};
  out.ambient = so_rgba{dk * r, dk * g, dk * b, 0};
  out.diffuse = out.color;
  out.specular = so_rgba{s, s, s, 0};
  out.emissive = so_rgba{r * l, g * l, b * l, 0};
  out.power = in.glossiness.value;
  out.double_sided = in.sidedness == so_lwo_side_both;
  out.texture_id = first_color_image(in, file);
  so_surface_set_name(out, in.name.c_str());  // cut to 63 bytes
}

// A polygon makes triangles when it has three corners or more, names a
// surface of the file and its corners lie inside the layer's corner list.
bool drawable(const so_lwo_layer& layer, const so_lwo_polygon& polygon, std::size_t surfaces) {
  if (polygon.corner_count < 3) return false;
  if (polygon.surface < 0 || static_cast<std::size_t>(polygon.surface) >= surfaces) return false;
  if (polygon.corner_first < 0) return false;
  const auto first = static_cast<std::size_t>(polygon.corner_first);
  return first <= layer.corners.size() && polygon.corner_count <= layer.corners.size() - first;
}

// The reader has checked every corner's point already; checked again here
// because a stray index would write outside the layer. Only the filling pass
// asks, so a surface's arrays may end up with room to spare, never short.
bool points_exist(const so_lwo_layer& layer, const so_lwo_corner* corner, std::uint16_t count) {
  const std::size_t points = layer.points.size();
  for (std::uint16_t i = 0; i < count; ++i) {
    if (static_cast<std::size_t>(corner[i].point) >= points) return false;
  }
  return true;
}

// Triangles each surface receives, or an empty list when one surface would
// hold more vertices than its counts can express.
std::vector<std::int64_t> count_triangles(const so_lwo_file& file) {
  std::vector<std::int64_t> triangles(file.surfaces.size(), 0);
  for (const auto& layer : file.layers) {
    if (layer == nullptr) continue;
    for (const so_lwo_polygon& polygon : layer->polygons) {
      if (!drawable(*layer, polygon, triangles.size())) continue;
      std::int64_t& count = triangles[static_cast<std::size_t>(polygon.surface)];
      count += polygon.corner_count - 2;
      if (count > kMaxVertices / 3) return {};
    }
  }
  return triangles;
}

// Writes one corner's position and normal, z negated for right-handed
// output.
inline void put_corner(so_vector3* vertex, so_vector3* normal, const so_lwo_point* points, const so_lwo_corner& corner,
                       float z_sign) {
  const float* p = points[corner.point].position;
  *vertex = so_vector3{p[0], p[1], p[2] * z_sign};
  *normal = so_vector3{corner.normal[0], corner.normal[1], corner.normal[2] * z_sign};
}

// Fans every drawable polygon of every layer into its surface's arrays, in
// layer and polygon order. Right-handed output reverses each triangle.
void add_triangles(so_surface* surfaces, const so_lwo_file& file, bool right_handed) {
  const std::size_t surface_total = file.surfaces.size();
  const float z_sign = right_handed ? -1.0f : 1.0f;
  for (const auto& layer : file.layers) {
    if (layer == nullptr) continue;
    const so_lwo_point* points = layer->points.data();
    for (const so_lwo_polygon& polygon : layer->polygons) {
      if (!drawable(*layer, polygon, surface_total)) continue;
      so_surface& surface = surfaces[polygon.surface];
      const so_lwo_corner* corner = layer->corners.data() + polygon.corner_first;
      if (!points_exist(*layer, corner, polygon.corner_count)) continue;
      // Room was counted per surface before allocating: the fan fits.
      so_vector3* vertex = surface.vertices + surface.vertex_count;
      so_vector3* normal = surface.normals + surface.vertex_count;
      for (std::int32_t k = 1; k + 1 < polygon.corner_count; ++k) {
        const so_lwo_corner& first = right_handed ? corner[k + 1] : corner[0];
        const so_lwo_corner& last = right_handed ? corner[0] : corner[k + 1];
        put_corner(vertex++, normal++, points, first, z_sign);
        put_corner(vertex++, normal++, points, corner[k], z_sign);
        put_corner(vertex++, normal++, points, last, z_sign);
      }
      surface.vertex_count += 3 * (polygon.corner_count - 2);
    }
  }
}

}  // namespace

void soLightWaveObject::surfaces_deleter::operator()(so_surface* records) const noexcept {
  if (records == nullptr) return;
  for (std::int32_t i = 0; i < count; ++i) so_surface_release_blocks(&records[i]);
  delete[] records;
}

soLightWaveObject::soLightWaveObject(const char* object_name, soTextureManager* textures)
    : soObject(object_name), texture_manager(textures) {}

soLightWaveObject::~soLightWaveObject() = default;

bool soLightWaveObject::LoadObject(const char* path, std::int32_t handedness) {
  if (surfaces != nullptr) return true;
  const std::unique_ptr<so_lwo_file, file_releaser> file(so_lwo_load(path));
  if (file == nullptr) return false;

  try {
    if (file->surfaces.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) { return false; }
    const auto count = static_cast<std::int32_t>(file->surfaces.size());
    const std::vector<std::int64_t> triangles = count_triangles(*file);
    if (triangles.size() != file->surfaces.size()) return false;

    still_images images(*file, texture_manager);

    // Zero surfaces still make an array, so that the object counts as loaded.
    std::unique_ptr<so_surface[], surfaces_deleter> built(
        new (std::nothrow) so_surface[static_cast<std::size_t>(count)](), surfaces_deleter{count});
    if (built == nullptr) return false;
    for (std::int32_t i = 0; i < count; ++i) {
      so_surface& surface = built[i];
      if (const so_lwo_surface* source = file->surfaces[static_cast<std::size_t>(i)].get()) {
        fill_material(surface, *source, *file);
      }
      const auto vertices = static_cast<std::int32_t>(triangles[static_cast<std::size_t>(i)] * 3);
      if (!so_surface_allocate_geometry(surface, vertices)) return false;
    }

    add_triangles(built.get(), *file, handedness == so_handedness_right);

    for (std::int32_t i = 0; i < count; ++i) {
      so_surface& surface = built[i];
      surface.normal_count = surface.vertex_count;
      // Coordinates first: the interleaved block then takes them in the same
      // pass that copies positions and normals, instead of a second pass.
      generate_texture_coordinates(surface, 1, 1, 0, 0, 0, 0, 0, 0);
      create_interleaved_surface(&surface);
      if (surface.vertex_count > 0 && surface.interleaved == nullptr) return false;
    }

    images.keep();
    surfaces = std::move(built);
    surface_count = count;
    return true;
  } catch (const std::exception&) { return false; }
}

std::int32_t soLightWaveObject::SurfaceCount() const { return surface_count; }

so_surface* soLightWaveObject::SurfaceAt(std::int32_t index) {
  if (index < 0 || index >= surface_count) return nullptr;
  return &surfaces[index];
}

void soLightWaveObject::GetBoundingBox(so_vector3& min, so_vector3& max) {
  if (!bounds_valid) {
    so_vector3 low{kBoundsStartMin, kBoundsStartMin, kBoundsStartMin};
    so_vector3 high{kBoundsStartMax, kBoundsStartMax, kBoundsStartMax};
    const std::int32_t count = SurfaceCount();
    for (std::int32_t i = 0; i < count; ++i) {
      const so_surface* surface = SurfaceAt(i);
      if (surface == nullptr || surface->vertices == nullptr) continue;
      for (std::int32_t v = 0; v < surface->vertex_count; ++v) {
        const so_vector3& p = surface->vertices[v];
        if (p.x < low.x) low.x = p.x;
        if (p.y < low.y) low.y = p.y;
        if (p.z < low.z) low.z = p.z;
        if (p.x > high.x) high.x = p.x;
        if (p.y > high.y) high.y = p.y;
        if (p.z > high.z) high.z = p.z;
      }
    }
    bounds_min = low;
    bounds_max = high;
    bounds_valid = true;
  }
  min = bounds_min;
  max = bounds_max;
}
