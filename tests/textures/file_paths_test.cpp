#include <gtest/gtest.h>

#include "base/so_file_paths.h"

namespace {

constexpr const char* back = "\\";

zString absolute(const char* name, const char* sep) {
  zString out("unchanged");
  resolve_absolute_path(name, out, sep);
  return out;
}

zString relative(const char* name, const char* base, const char* sep) {
  zString out("unchanged");
  resolve_relative_to_base(name, out, base, sep);
  return out;
}

zString beside(const char* name, const char* base, const char* sep) {
  zString out("pre:");
  resolve_beside_base(name, out, base, sep);
  return out;
}

}  // namespace

TEST(TexturePaths, DriveLetterRule) {
  EXPECT_EQ(absolute("C:Images/wood.jpg", back), "C:\\Images\\wood.jpg");
  EXPECT_EQ(absolute("C:/Images/wood.jpg", back), "C:\\\\Images\\wood.jpg");
  EXPECT_EQ(absolute("C:Images\\wood.jpg", "/"), "C:/Images/wood.jpg");
  for (const char* name : {"Images/wood.jpg", "/srv/a:b.jpg", "C", "", ":"})
    EXPECT_EQ(absolute(name, back), "unchanged") << name;
  EXPECT_EQ(absolute(nullptr, back), "unchanged");
}

TEST(TexturePaths, CommonFolderRuleReRootsAtTheDeepestSharedFolder) {
  EXPECT_EQ(relative("X:Content/Images/wood.jpg", "D:\\Work\\Content\\Scenes\\intro.lws", back),
            "D:\\Work\\Content\\Images\\wood.jpg");
  EXPECT_EQ(relative("X:/Shared/Images/wood.jpg", "D:\\Shared\\Images\\Scenes\\s.lws", back),
            "D:\\Shared\\Images\\wood.jpg");
  // Walking the base upwards finds its deepest occurrence first.
  EXPECT_EQ(relative("X:Content/Images/w.jpg", "D:\\Content\\Work\\Content\\Scenes\\s.lws", back),
            "D:\\Content\\Work\\Content\\Images\\w.jpg");
  EXPECT_EQ(relative("X:\\Content\\Images\\wood.jpg", "/home/u/Content/Scenes/intro.lws", "/"),
            "/home/u/Content/Images/wood.jpg");
}

TEST(TexturePaths, CommonFolderRuleLeavesOutAloneWithoutAMatch) {
  const char* base = "D:\\Work\\Content\\Scenes\\intro.lws";
  EXPECT_EQ(relative("X:Other/Images/wood.jpg", base, back), "unchanged");
  EXPECT_EQ(relative("X:content/Images/wood.jpg", base, back), "unchanged");  // case matters
  EXPECT_EQ(relative("Content/Images/wood.jpg", base, back), "unchanged");    // no ':'
  EXPECT_EQ(relative("X:wood.jpg", base, back), "unchanged");                 // no folder
  EXPECT_EQ(relative("X:Content/Images/wood.jpg", nullptr, back), "unchanged");
  EXPECT_EQ(relative("X:Content/Images/wood.jpg", "", back), "unchanged");
}

TEST(TexturePaths, SameFolderRuleAppendsTheLeafBesideTheBase) {
  EXPECT_EQ(beside("C:/Models/cube.lwo", "D:\\Shows\\intro.lws", back), "pre:D:\\Shows\\cube.lwo");
  EXPECT_EQ(beside("C:\\Models\\cube.lwo", "/srv/shows/intro.lws", "/"), "pre:/srv/shows/cube.lwo");
  EXPECT_EQ(beside("cube.lwo", "/intro.lws", "/"), "pre:/cube.lwo");
  EXPECT_EQ(beside("Models/cube.lwo", "intro.lws", "/"), "pre:cube.lwo");
  EXPECT_EQ(beside("Models/cube.lwo", nullptr, "/"), "pre:cube.lwo");
}
