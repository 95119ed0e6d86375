#pragma once
// Pictures for screens that the user gave none: colour bars (even screens)
// or a checkerboard (odd screens), each with its screen number in large
// digits and a corner mark at the top left, so that orientation, cropping
// and which screen lands where can be read off a rendered frame.
#include <cstdint>
#include <vector>

namespace so3d::tools {

// width × height pixels, B, G, R, A bytes, rows top to bottom.
std::vector<std::uint8_t> TestPicture(int screen, unsigned width, unsigned height);

}  // namespace so3d::tools
