// Loading image files into device textures for the registry.
#include <cstring>

#include "platform/image/image_file.h"
#include "textures/so_texture_manager.h"

bool soTextureManager::make_bitmap(const char* path, std::int32_t id) {
  namespace image = so3d::image;
  constexpr std::int32_t size = file_texture_size;
  constexpr std::size_t row_bytes = std::size_t(size) * 4;

  image::Picture decoded;
  if (image::DecodeFile(path, decoded) != image::Status::ok) return false;
  // Every file texture has the same size, whatever the picture's aspect.
  image::Picture scaled;
  if (image::Scale(decoded, size, size, scaled) != image::Status::ok) return false;
  decoded = image::Picture{};

  if (!create_new_texture(size, size, id)) return false;
  std::int32_t pitch = 0;
  auto* texels = static_cast<std::uint8_t*>(lock_bits_for(id, &pitch));
  if (!texels) return false;
  // A pitch shorter than a row would make rows overlap and run past the end.
  if (pitch < 0 || std::size_t(pitch) < row_bytes) {
    unlock_bits_for(id);
    return false;
  }
  for (std::int32_t y = 0; y < size; ++y)
    std::memcpy(texels + std::size_t(y) * std::size_t(pitch), scaled.bgra.data() + std::size_t(y) * row_bytes,
                row_bytes);
  unlock_bits_for(id);
  return true;
}
