#pragma once
// PNG files of rendered frames, and a contact sheet that gathers shrunken
// copies of them in a grid.
#include <cstdint>
#include <string>
#include <vector>

namespace so3d::tools {

// `rgba`: width × height pixels, R, G, B, A bytes, rows top to bottom.
bool WritePng(const std::string& path, unsigned width, unsigned height, const std::uint8_t* rgba);
// The same through a temporary file in the same folder, renamed into place
// once complete: no half-written file is ever seen under `path`.
bool WritePngAtomically(const std::string& path, unsigned width, unsigned height, const std::uint8_t* rgba);

// At most `max_cells` frames of a run, shrunken to at most `thumb_width`
// wide: memory stays bounded whatever the frame count.
class ContactSheet {
 public:
  static constexpr int max_cells = 100;
  // Frames of width × height shrink to at most `thumb_width` wide.
  ContactSheet(unsigned width, unsigned height, int columns, unsigned thumb_width = 240);
  // Whether frame `index` of `count` is one the sheet shows (evenly spread
  // when there are more frames than cells).
  static bool Shows(int index, int count);
  // Shrinks a frame (R, G, B, A) and keeps it; false when memory is short.
  bool Add(const std::vector<std::uint8_t>& rgba);
  // The grid, 4-pixel gaps on a dark ground; false if nothing was added or
  // the file cannot be written.
  bool Write(const std::string& path) const;

 private:
  unsigned width_, height_, thumb_w_, thumb_h_;
  int columns_;
  std::vector<std::vector<std::uint8_t>> thumbs_;
};

}  // namespace so3d::tools
