// Picture decoding, every format through its signature.
#include "platform/image/image_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  so3d::image::Picture picture;
  if (so3d::image::Decode(data, size, picture) == so3d::image::Status::ok) {
    so3d::image::Picture scaled;
    so3d::image::Scale(picture, 16, 16, scaled);
  }
  return 0;
}
