// Writes the project's demo effect into a folder: two object files whose
// surfaces are all named "One" (so they show screens) and two scene files
// that place them differently, ready for a transition from the first scene
// to the second:
//
//   screen.lwo  a flat 7.2 × 4.8 quad, the whole frame seen from the default camera
//   card.lwo    a 3 × 2 × 0.25 box, a picture card with some thickness
//   flat.lws    screen 0 fills the frame; the card (screen 1) waits behind it
//   card.lws    screen 0 has swung away to the left; the card turns in front
//
//   usage: make_demo_effect FOLDER
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "fixtures/lwo_writer.h"
#include "fixtures/scene_writer.h"

namespace {

using so3d::fixtures::LwoWriter;
using so3d::fixtures::QuadObject;
using so3d::fixtures::SceneWriter;

std::string Box(float w, float h, float d) {
  const float x = w / 2, y = h / 2, z = d / 2;
  LwoWriter lwo;
  lwo.tags({"One"})
      .points({{-x, -y, -z}, {-x, y, -z}, {x, y, -z}, {x, -y, -z}, {-x, -y, z}, {-x, y, z}, {x, y, z}, {x, -y, z}})
      // Front (facing the camera at -z), back, left, right, top, bottom.
      .polygons({{0, 1, 2, 3}, {7, 6, 5, 4}, {4, 5, 1, 0}, {3, 2, 6, 7}, {1, 5, 6, 2}, {4, 0, 3, 7}})
      .ptag("SURF", {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}})
      .surface("One");
  return lwo.bytes();
}

// Position, heading, pitch, bank (radians) and scale, keyed at time 0.
void Place(SceneWriter& s, float x, float y, float z, float heading, float pitch, float scale) {
  const float values[9] = {x, y, z, heading, pitch, 0.0f, scale, scale, scale};
  for (int channel = 0; channel < 9; ++channel) s.Channel(channel, {{values[channel], 0.0f}});
}

bool Write(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), std::streamsize(bytes.size()));
  return bool(out);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_demo_effect FOLDER\n");
    return 2;
  }
  const std::filesystem::path dir = argv[1];
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);

  SceneWriter flat;
  flat.Object("screen.lwo", 0);
  Place(flat, 0, 0, 0, 0, 0, 1);
  flat.Object("card.lwo", 1);
  Place(flat, 0, 0, 6, 0, 0, 1);

  SceneWriter card;
  card.Object("screen.lwo", 0);
  Place(card, -9, 0, 6, -1.2f, 0, 0.6f);
  card.Object("card.lwo", 1);
  Place(card, 0, 0, 0, 0.5f, 0.25f, 1.2f);

  const bool ok = Write(dir / "screen.lwo", QuadObject(7.2f, 4.8f)) &&
                  Write(dir / "card.lwo", Box(3.0f, 2.0f, 0.25f)) && Write(dir / "flat.lws", flat.Text()) &&
                  Write(dir / "card.lws", card.Text());
  if (!ok) {
    std::fprintf(stderr, "make_demo_effect: cannot write into %s\n", dir.c_str());
    return 1;
  }
  std::printf("demo effect written to %s\n", dir.c_str());
  return 0;
}
