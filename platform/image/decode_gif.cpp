// GIF through giflib, record by record so that nothing past the first
// picture is read, and nothing is allocated before its size is checked.
#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "platform/image/image_formats.h"

namespace so3d::image::detail {
namespace {

struct Source {
  const std::uint8_t* at;
  std::size_t left;
};

int read_source(GifFileType* gif, GifByteType* into, int wanted) {
  auto* source = static_cast<Source*>(gif->UserData);
  const std::size_t n = std::min(source->left, std::size_t(wanted > 0 ? wanted : 0));
  std::memcpy(into, source->at, n);
  source->at += n;
  source->left -= n;
  return int(n);
}

struct GifClose {
  void operator()(GifFileType* gif) const {
    int error = 0;
    DGifCloseFile(gif, &error);
  }
};

// The rows of an interlaced picture arrive in four passes.
std::vector<int> row_order(int height, bool interlaced) {
  std::vector<int> rows;
  rows.reserve(std::size_t(height));
  if (!interlaced) {
    for (int y = 0; y < height; ++y) rows.push_back(y);
    return rows;
  }
  constexpr int start[] = {0, 4, 2, 1}, step[] = {8, 8, 4, 2};
  for (int pass = 0; pass < 4; ++pass)
    for (int y = start[pass]; y < height; y += step[pass]) rows.push_back(y);
  return rows;
}

Status draw_first_picture(GifFileType* gif, int transparent, Picture& out) {
  if (DGifGetImageDesc(gif) != GIF_OK) return Status::not_an_image;
  const GifImageDesc& desc = gif->Image;
  const ColorMapObject* palette = desc.ColorMap ? desc.ColorMap : gif->SColorMap;
  if (!palette || desc.Width <= 0 || desc.Height <= 0 || desc.Width > max_side || desc.Height > max_side)
    return Status::not_an_image;
  std::vector<GifByteType> line(std::size_t(desc.Width));
  for (int y : row_order(desc.Height, desc.Interlace)) {
    if (DGifGetLine(gif, line.data(), desc.Width) != GIF_OK) return Status::not_an_image;
    const int row = desc.Top + y;
    if (row < 0 || row >= out.height) continue;  // a frame may reach past the screen
    for (int x = 0; x < desc.Width; ++x) {
      const int column = desc.Left + x;
      const int index = line[std::size_t(x)];
      if (column < 0 || column >= out.width || index == transparent || index >= palette->ColorCount) continue;
      const GifColorType& colour = palette->Colors[index];
      std::uint8_t* p = &out.bgra[(std::size_t(row) * std::size_t(out.width) + std::size_t(column)) * 4];
      p[0] = colour.Blue;
      p[1] = colour.Green;
      p[2] = colour.Red;
      p[3] = 255;
    }
  }
  return Status::ok;
}

}  // namespace

Status decode_gif(const std::uint8_t* data, std::size_t size, Picture& out) {
  Source source{data, size};
  int error = 0;
  const std::unique_ptr<GifFileType, GifClose> gif(DGifOpen(&source, read_source, &error));
  if (!gif) return error == D_GIF_ERR_NOT_ENOUGH_MEM ? Status::no_memory : Status::not_an_image;
  // One 12-bit code can stand for a run of up to 4096 pixels.
  const Status sized = size_picture(out, gif->SWidth, gif->SHeight, size, 4096);
  if (sized != Status::ok) return sized;

  int transparent = -1;
  try {
    for (;;) {
      GifRecordType record = UNDEFINED_RECORD_TYPE;
      if (DGifGetRecordType(gif.get(), &record) != GIF_OK) break;
      if (record == IMAGE_DESC_RECORD_TYPE) {
        const Status drawn = draw_first_picture(gif.get(), transparent, out);
        if (drawn != Status::ok) out = Picture{};
        return drawn;
      }
      if (record == EXTENSION_RECORD_TYPE) {
        int code = 0;
        GifByteType* block = nullptr;
        if (DGifGetExtension(gif.get(), &code, &block) != GIF_OK) break;
        // Graphic control: flags, delay (2 bytes), transparent index.
        if (code == GRAPHICS_EXT_FUNC_CODE && block && block[0] >= 4 && (block[1] & 1)) transparent = block[4];
        bool read = true;
        while (block && read) read = DGifGetExtensionNext(gif.get(), &block) == GIF_OK;
        if (!read) break;
        continue;
      }
      break;  // the end before any picture, or an unknown record
    }
  } catch (const std::bad_alloc&) {
    out = Picture{};
    return Status::no_memory;
  }
  out = Picture{};
  return Status::not_an_image;
}

}  // namespace so3d::image::detail
