// Reading primitives: encodings, the running count and its error marker.
#include <gtest/gtest.h>

#include "objects/lightwave/so_lwo_read.h"
#include "tests/support/lwo_writer.h"
#include "tests/support/temp_dir.h"

namespace so3d::test {
namespace {

using namespace so3d::lwo;

// A reader over a scratch file holding `bytes`.
class ReaderOver {
 public:
  explicit ReaderOver(std::string_view bytes) {
    EXPECT_TRUE(open_reader(r, dir_.Write("bytes.bin", bytes).c_str()));
  }
  ~ReaderOver() { close_reader(r); }
  reader r;

 private:
  TempDir dir_;
};

TEST(LightWavePrimitives, NumbersAndIndexFormsCountTheirBytes) {
  IffBytes b;
  b.u2(0xBEEF).u4(0x01020304).f4(-2.5f).index(0x1234).index4(0x56).raw("\xFF\x01\x02\x03").u1(0x80);
  ReaderOver in(b.bytes());
  reader& r = in.r;
  EXPECT_EQ(read_u2(r), 0xBEEF);
  EXPECT_EQ(read_u4(r), 0x01020304u);
  EXPECT_EQ(read_f4(r), -2.5f);
  EXPECT_EQ(r.bytes_read, 10);
  EXPECT_EQ(read_index(r), 0x1234u);
  EXPECT_EQ(r.bytes_read, 12);
  EXPECT_EQ(read_index(r), 0x56u);  // 4-byte form of a small value
  EXPECT_EQ(read_index(r), 0x010203u);
  EXPECT_EQ(r.bytes_read, 20);
  EXPECT_EQ(read_i2(r), 0);  // one byte left: fails
  EXPECT_EQ(r.bytes_read, read_error);
  const std::uint64_t at = r.position;
  EXPECT_EQ(read_u1(r), 0);  // the marker sticks: nothing is read
  EXPECT_EQ(r.position, at);
}

TEST(LightWavePrimitives, StringsArePaddedToEvenAndEmptyReadsAsNull) {
  IffBytes b;
  b.str("ab").str("").str("abc").raw("no end");
  ReaderOver in(b.bytes());
  reader& r = in.r;
  EXPECT_EQ(read_string(r), "ab");
  EXPECT_EQ(r.bytes_read, 4);
  EXPECT_EQ(read_string(r), "");
  EXPECT_EQ(r.bytes_read, 6);
  EXPECT_EQ(read_string(r), "abc");
  EXPECT_EQ(r.bytes_read, 10);
  EXPECT_EQ(read_string(r), "");  // no zero before the end of the file
  EXPECT_TRUE(r.failed());
}

TEST(LightWavePrimitives, BlocksMustBePositiveAndFitTheFile) {
  ReaderOver in("12345678");
  reader& r = in.r;
  EXPECT_EQ(read_block(r, 0).size, 0u);
  EXPECT_TRUE(r.failed());
  r.bytes_read = 0;
  EXPECT_EQ(read_block(r, -4).size, 0u);
  EXPECT_TRUE(r.failed());
  r.bytes_read = 0;
  EXPECT_EQ(read_block(r, 9).size, 0u);  // one byte more than the file
  EXPECT_TRUE(r.failed());
  r.bytes_read = 0;
  const block all = read_block(r, 8);
  ASSERT_EQ(all.size, 8u);
  EXPECT_EQ(std::string(all.begin(), all.end()), "12345678");
  EXPECT_EQ(r.bytes_read, 8);

  skip(r, 1);  // past the end
  EXPECT_TRUE(r.failed());
  r.bytes_read = 0;
  EXPECT_TRUE(read_rest(r, 0).empty());  // an empty rest of a sub-chunk is fine
  EXPECT_FALSE(r.failed());
}

TEST(LightWavePrimitives, BlockReadsStopAtTheBlockEnd) {
  reader r;
  const std::uint8_t data[] = {0x00, 0x05, 0xFF, 0x00, 0x00, 0x07, 'h', 'i', 0, 0, 'x', 'y'};
  cursor c{data, data + sizeof data};
  EXPECT_EQ(take_index(r, c), 5u);
  EXPECT_EQ(take_index(r, c), 7u);
  EXPECT_EQ(take_string(r, c), "hi");
  EXPECT_EQ(r.bytes_read, 10);
  EXPECT_EQ(take_string(r, c), "");  // "xy" has no zero inside the block
  EXPECT_TRUE(r.failed());

  reader r2;
  cursor short_index{data + 2, data + 5};  // 4-byte form with 3 bytes left
  EXPECT_EQ(take_index(r2, short_index), 0u);
  EXPECT_TRUE(r2.failed());

}

}  // namespace
}  // namespace so3d::test
