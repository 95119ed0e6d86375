// Writes the fixture-made seed inputs of each fuzz target into
// <folder>/<target>/: objects in the three forms with surfaces, maps and
// clips, and scenes that key every channel, light and camera line.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "fixtures/lwo_writer.h"
#include "fixtures/scene_writer.h"

namespace {

namespace fs = std::filesystem;
using namespace so3d::fixtures;

void put(const fs::path& dir, const std::string& name, const std::string& bytes) {
  fs::create_directories(dir);
  std::ofstream(dir / name, std::ios::binary) << bytes;
}

std::string quad_lwob() {
  LwobWriter w;
  w.srfs({"One"}).points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
  w.polygons({{{0, 1, 2, 3}, 1, {}}, {{0, 1, 2}, -1, {{{0, 2, 3}, 1, {}}}}});
  w.surface("One", [](IffBytes& b) { b.sub("COLR", [](IffBytes& s) { s.u1(200).u1(100).u1(50).u1(0); }); });
  return w.bytes();
}

std::string quad_lwo3() {
  LwoWriter w("LWO3");
  w.tags({"One"}).layer(0).points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}).polygons({{0, 1, 2, 3}});
  w.ptag("SURF", {{0, 0}}).clip3(1, "picture.png");
  w.surface3("One", [](IffBytes& b) { b.chunk4("COLR", [](IffBytes& c) { c.f4(1).f4(1).f4(1).index(0); }); });
  return w.bytes();
}

std::string keyed_scene() {
  SceneWriter s;
  s.Ambient(1, 1, 1, 0.25f).Camera().Place(0, 0, -5).Line("TargetItem 1");
  s.Object("quad.lwo", 0).Channel(0, {{0, 0, 0}, {1, 1, 1}, {-1, 2, 2}}).Channel(5, {{0, 0, 3}, {1, 2, 4}});
  s.Object("simple_cube.lwo", 1).Place(1, 2, 3, 10, 20, 30, 2).Pivot(0.5f, 0, 0).Line("ParentItem 1");
  s.Light(2, 1, 0.5f, 0.25f, 0.8f).Line("LightConeAngle 30");
  return s.Text();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: make_seeds FOLDER\n";
    return 2;
  }
  const fs::path root = argv[1];
  for (const char* target : {"object_reader", "object_load"}) {
    put(root / target, "quad.lwo", QuadObject());
    put(root / target, "textured.lwo", TexturedObject("wood.png"));
    put(root / target, "quad_lwob.lwo", quad_lwob());
    put(root / target, "quad_lwo3.lwo", quad_lwo3());
  }
  for (const char* target : {"scene_reader", "scene_draw"}) {
    put(root / target, "keyed.lws", keyed_scene());
    put(root / target, "plain.lws", SceneWriter().Object("quad.lwo", 0).Object("quad.lwo", 1).Text());
  }
  return 0;
}
