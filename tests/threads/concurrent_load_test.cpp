// Object loads on two threads at once: each load's reader state travels
// with it, so results match single-threaded loads (the test command runs
// this under ThreadSanitizer too).
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "fixtures/lwo_writer.h"
#include "objects/lightwave/so_lwo_file.h"
#include "tests/support/temp_dir.h"

namespace {

std::size_t PolygonsOf(const std::string& path) {
  so_lwo_file* file = so_lwo_load(path.c_str());
  const std::size_t n = file ? file->layers[0]->polygons.size() : 0;
  so_lwo_release(file);
  return n;
}

TEST(Threads, TwoThreadsLoadDifferentObjectsAtOnce) {
  so3d::test::TempDir dir;
  so3d::fixtures::LwoWriter small, large;
  small.points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}).polygons({{0, 1, 2}});
  large.points({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}).polygons({{0, 1, 2}, {0, 2, 3}, {0, 1, 3}});
  const std::string a = dir.Write("a.lwo", small.bytes()), b = dir.Write("b.lwo", large.bytes());
  const std::string broken = dir.Write("c.lwo", large.bytes().substr(0, 40));
  bool agree_a = true, agree_b = true;
  std::thread first([&] {
    for (int i = 0; i < 200; ++i) agree_a = agree_a && PolygonsOf(a) == 1 && PolygonsOf(broken) == 0;
  });
  std::thread second([&] {
    for (int i = 0; i < 200; ++i) agree_b = agree_b && PolygonsOf(b) == 3;
  });
  first.join();
  second.join();
  EXPECT_TRUE(agree_a && agree_b);
}

}  // namespace
