// The texture registry over in-memory textures: ids, the three path rules
// for finding files, and decoding, stretching and uploading pictures.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/so_file_paths.h"
#include "tests/support/temp_dir.h"
#include "tests/support/test_images.h"
#include "tests/textures/memory_texture_manager.h"

using namespace so3d::test;

namespace {

TEST(TextureRegistry, IdsInOrderDecorIdsKeepTheirFirstNameUnloadAndCopies) {
  auto m = MakeMemoryManager();
  std::int32_t first = 0, second = 0;
  EXPECT_EQ(m->AddTexture("C:/Images/wood.jpg", &first), 0);
  EXPECT_EQ(m->AddTexture("C:/Images/wood.jpg", &second), 0);  // one name twice: two ids
  EXPECT_TRUE(first != 0 && first != second);
  EXPECT_EQ(m->AddTexture("x.png", nullptr), -1);
  EXPECT_TRUE(m->AddDecorTexture("frame.png", 5) == 0 && m->AddDecorTexture("other.png", 5) == 0);
  ASSERT_EQ(m->TextureCount(), 3u);
  EXPECT_EQ((std::vector<std::int32_t>{m->TextureIDAt(1), m->TextureIDAt(2), m->TextureIDAt(3)}),
            (std::vector<std::int32_t>{second, 5, 0}));  // 0 past the end
  EXPECT_TRUE(m->get_texture_entry(5)->name == "frame.png" && m->get_texture_entry(6) == nullptr);

  // Unloading deletes only that entry; copies are independent.
  m = MakeMemoryManager();
  auto copy = MakeMemoryManager();
  std::int32_t a = 0, b = 0, c = 0;
  for (auto [name, id] : {std::pair{"a", &a}, {"b", &b}, {"c", &c}}) m->AddTexture(name, id);
  m->SetMultitexturingEnabled(false);
  copy->AddDecorTexture("old.png", 1000000);
  *copy = *m;
  *copy = *copy;
  EXPECT_EQ(m->UnloadAndDeleteTexture(b), 0);
  ASSERT_EQ(m->TextureCount(), 2u);
  EXPECT_EQ(m->TextureIDAt(1), c);
  // A second unload, and ids never registered, change nothing.
  EXPECT_EQ(m->UnloadAndDeleteTexture(b), -1);
  EXPECT_EQ(m->OpenAndUploadTexture(b, "/tmp/scene.lws"), -1);
  EXPECT_EQ(m->calls, std::vector<std::string>{"delete " + std::to_string(b)});

  ASSERT_EQ(copy->TextureCount(), 3u);
  EXPECT_TRUE(copy->get_texture_entry(b)->name == "b" && copy->get_texture_entry(1000000) == nullptr);
  EXPECT_TRUE(!copy->MultitexturingEnabled() && copy->ReferenceCount() == 1);
}

constexpr const char* back = "\\";

// Each rule writes `out` only when it applies; the beside rule appends.
zString absolute(const char* name, const char* sep) {
  zString out("unchanged");
  return resolve_absolute_path(name, out, sep), out;
}
zString relative(const char* name, const char* base, const char* sep) {
  zString out("unchanged");
  return resolve_relative_to_base(name, out, base, sep), out;
}
zString beside(const char* name, const char* base, const char* sep) {
  zString out("pre:");
  return resolve_beside_base(name, out, base, sep), out;
}

TEST(TexturePaths, DriveLetterCommonFolderAndSameFolderRules) {
  EXPECT_EQ(absolute("C:Images/wood.jpg", back), "C:\\Images\\wood.jpg");
  EXPECT_EQ(absolute("C:/Images/wood.jpg", back), "C:\\\\Images\\wood.jpg");
  EXPECT_EQ(absolute("C:Images\\wood.jpg", "/"), "C:/Images/wood.jpg");
  for (const char* name : {"Images/wood.jpg", "/srv/a:b.jpg", "C", "", ":"})
    EXPECT_EQ(absolute(name, back), "unchanged") << name;
  EXPECT_EQ(absolute(nullptr, back), "unchanged");

  // The common-folder rule re-roots at the deepest shared folder.
  EXPECT_EQ(relative("X:Content/Images/wood.jpg", "D:\\Work\\Content\\Scenes\\intro.lws", back),
            "D:\\Work\\Content\\Images\\wood.jpg");
  EXPECT_EQ(relative("X:/Shared/Images/wood.jpg", "D:\\Shared\\Images\\Scenes\\s.lws", back),
            "D:\\Shared\\Images\\wood.jpg");
  // Walking the base upwards finds its deepest occurrence first.
  EXPECT_EQ(relative("X:Content/Images/w.jpg", "D:\\Content\\Work\\Content\\Scenes\\s.lws", back),
            "D:\\Content\\Work\\Content\\Images\\w.jpg");
  EXPECT_EQ(relative("X:\\Content\\Images\\wood.jpg", "/home/u/Content/Scenes/intro.lws", "/"),
            "/home/u/Content/Images/wood.jpg");
  // Without a match `out` is left alone.
  // Case matters; no ':', or no folder, never matches.
  for (const char* name :
       {"X:Other/Images/wood.jpg", "X:content/Images/wood.jpg", "Content/Images/wood.jpg", "X:wood.jpg"})
    EXPECT_EQ(relative(name, "D:\\Work\\Content\\Scenes\\intro.lws", back), "unchanged") << name;
  for (const char* base : {static_cast<const char*>(nullptr), ""})
    EXPECT_EQ(relative("X:Content/Images/wood.jpg", base, back), "unchanged");

  // The same-folder rule appends the leaf beside the base.
  EXPECT_EQ(beside("C:/Models/cube.lwo", "D:\\Shows\\intro.lws", back), "pre:D:\\Shows\\cube.lwo");
  EXPECT_EQ(beside("C:\\Models\\cube.lwo", "/srv/shows/intro.lws", "/"), "pre:/srv/shows/cube.lwo");
  EXPECT_EQ(beside("cube.lwo", "/intro.lws", "/"), "pre:/cube.lwo");
  for (const char* base : {"intro.lws", static_cast<const char*>(nullptr)})
    EXPECT_EQ(beside("Models/cube.lwo", base, "/"), "pre:cube.lwo");
}

constexpr Rgba red{255, 0, 0, 255}, green{0, 255, 0, 255}, blue{0, 0, 255, 255}, grey{90, 120, 150, 255};

std::array<int, 4> bgra(Rgba c) { return {c.b, c.g, c.r, c.a}; }

// Texels (near|far, near|far) must show the four quadrant colours.
void expect_quadrants(const MemoryTextureManager& m, std::int32_t id, int near, int far) {
  EXPECT_EQ(
      (std::vector{m.Texel(id, near, near), m.Texel(id, far, near), m.Texel(id, near, far), m.Texel(id, far, far)}),
      (std::vector{bgra(red), bgra(green), bgra(blue), bgra(grey)}));
}

TestImage quadrants(int width, int height) { return TestImage::Quadrants(width, height, red, green, blue, grey); }

TEST(MakeBitmap, StretchesToTheTextureRowByRowWithThePitch) {
  TempDir dir;
  for (const std::string& path :
       {dir.Write("q.png", EncodePng(quadrants(64, 32))), dir.Write("q.bmp", EncodeBmp(quadrants(64, 32))),
        dir.Write("wide.png", EncodePng(quadrants(640, 480)))}) {
    SCOPED_TRACE(path);
    auto m = MakeMemoryManager();
    ASSERT_TRUE(m->make_bitmap(path.c_str(), 7));
    EXPECT_EQ(m->calls, (std::vector<std::string>{"create 7", "lock 7", "unlock 7"}));
    expect_quadrants(*m, 7, 0, 255);
    expect_quadrants(*m, 7, 120, 135);  // edges at texel 128 both ways: no letterbox
    const auto& t = m->textures.at(7);
    for (int y : {0, 128, 255})  // the padding after each row is left alone
      EXPECT_EQ(t.bytes[std::size_t(y * t.pitch + 256 * 4)], MemoryTextureManager::fill);
  }
}

TEST(MakeBitmap, KeepsStraightAlphaWithoutBleedingTransparentColour) {
  TempDir dir;
  auto m = MakeMemoryManager();
  constexpr Rgba half{200, 100, 50, 128}, clear{0, 0, 0, 0};
  ASSERT_TRUE(m->make_bitmap(dir.Write("half.png", EncodePng(TestImage::Filled(1, 1, half))).c_str(), 1));
  for (int p : {0, 77, 255}) EXPECT_EQ(m->Texel(1, p, 255 - p), bgra(half));
  // Transparent black beside opaque red: where they blend, alpha falls but the
  // colour stays red.
  const TestImage edge = TestImage::Quadrants(4, 4, clear, red, clear, red);
  ASSERT_TRUE(m->make_bitmap(dir.Write("edge.png", EncodePng(edge)).c_str(), 2));
  int blended = 0;
  for (int x = 0; x < 256; ++x) {
    const auto t = m->Texel(2, x, 10);
    if (t[3] == 0 || t[3] == 255) continue;
    ++blended;
    EXPECT_TRUE(t[2] >= 254 && t[0] + t[1] <= 2) << "x " << x;
  }
  EXPECT_GT(blended, 0);
}

// Device refusals are the Direct3D registry's tests.
TEST(MakeBitmap, UnusableFilesFailBeforeAnyTextureIsMade) {
  TempDir dir;
  const std::string png = EncodePng(quadrants(16, 16));
  std::string huge = png;  // 10000 × 10000, big-endian at 16 and 20
  for (int at : {16, 20}) huge.replace(std::size_t(at), 4, std::string("\x00\x00\x27\x10", 4));
  FixPngChecksum(huge, 8);
  std::filesystem::create_directories(dir.Path() / "folder.png");
  const std::string bad[] = {(dir.Path() / "missing.png").string(),
                             dir.Write("empty.png", ""),
                             (dir.Path() / "folder.png").string(),
                             dir.Write("cut.png", png.substr(0, png.size() / 2)),
                             dir.Write("text.png", "only some text, not a picture\n"),
                             dir.Write("huge.png", huge),
                             ""};
  auto m = MakeMemoryManager();
  for (const auto& path : bad) EXPECT_FALSE(m->make_bitmap(path.c_str(), 3)) << path;
  EXPECT_FALSE(m->make_bitmap(nullptr, 3));
  EXPECT_TRUE(m->calls.empty());
}

TEST(OpenAndUploadTexture, TriesTheDriveLetterThenTheCommonFolder) {
  TempDir dir;
  const std::string png = EncodePng(quadrants(16, 16));
  dir.Write("Content/Images/wood.png", png);
  dir.Write("Content/Scenes/wood.png", png);
  dir.Write("C:/Images/drive.png", png);
  const std::string base = (dir.Path() / "Content/Scenes/intro.lws").string();
  auto m = MakeMemoryManager();
  std::int32_t common = 0, plain = 0, drive = 0;
  m->AddTexture("X:Content/Images/wood.png", &common);
  m->AddTexture("wood.png", &plain);  // beside the scene, but the name is never tried as it stands
  m->AddTexture("C:Images/drive.png", &drive);

  EXPECT_EQ(m->OpenAndUploadTexture(common, nullptr), -1);
  EXPECT_EQ(m->OpenAndUploadTexture(common, base.c_str()), 0);
  expect_quadrants(*m, common, 10, 245);
  EXPECT_EQ(m->OpenAndUploadTexture(plain, base.c_str()), -1);
  // The drive-letter candidate "C:/Images/drive.png" is relative on this platform.
  const auto previous = std::filesystem::current_path();
  std::filesystem::current_path(dir.Path());
  const std::int32_t result = m->OpenAndUploadTexture(drive, nullptr);
  std::filesystem::current_path(previous);
  EXPECT_TRUE(result == 0 && m->textures.count(drive) == 1u);
}

}  // namespace
