#include <gtest/gtest.h>

#include "platform/foundation/z_file_stream.h"
#include "platform/foundation/z_fs_path.h"
#include "platform/foundation/z_string.h"
#include "tests/support/temp_dir.h"

TEST(zString, EditsAndComparesBytewise) {
  zString s("C:/Models/cube.lwo");
  s.ReplaceChar('/', '\\');
  s.Prepend("X");
  s += '!';
  s += zString("?");
  EXPECT_EQ(s, "XC:\\Models\\cube.lwo!?");
  EXPECT_FALSE(zString("One") == zString("one"));
  EXPECT_STREQ(zString(static_cast<const char*>(nullptr)).CString(), "");
}

TEST(zFSPath, SplitsOnEitherSeparator) {
  EXPECT_EQ(zFSPath("a/b\\c").GetLeaf(), "c");
  EXPECT_EQ(zFSPath("plain").GetLeaf(), "plain");
  EXPECT_EQ(zFSPath("dir/").GetLeaf(), "");
  zFSPath p("D:\\Shows/sub\\intro.lws");
  EXPECT_EQ(p.GoParent().Path(), "D:\\Shows/sub");
  EXPECT_EQ(p.GoParent().Path(), "D:\\Shows");
  EXPECT_EQ(p.GoParent().Path(), "D:");
  EXPECT_EQ(p.GoParent().Path(), "");
}

TEST(zFileStream, ReadsWholeFilesAndReportsFailures) {
  so3d::test::TempDir dir;
  zFileStream stream(dir.Write("data.bin", std::string("ab\0cd", 5)).c_str(), 5, false);
  ASSERT_EQ(stream.Open(), 0);
  zBuffer buffer;
  ASSERT_EQ(stream.ReadAll(buffer), 0);
  ASSERT_EQ(buffer.Size(), 5u);
  EXPECT_EQ(buffer.Data()[4], 'd');

  zFileStream empty(dir.Write("empty", "").c_str(), 5, false);
  ASSERT_EQ(empty.Open(), 0);
  EXPECT_EQ(empty.ReadAll(buffer), 0);
  EXPECT_EQ(buffer.Size(), 0u);

  zFileStream missing((dir.Path() / "nope").c_str(), 5, false);
  EXPECT_EQ(missing.Open(), zFileStream::kErrNotFound);
  EXPECT_EQ(missing.ReadAll(buffer), zFileStream::kErrNotOpen);
  zFileStream folder(dir.Path().c_str(), 5, false);
  EXPECT_NE(folder.Open(), 0);
}
