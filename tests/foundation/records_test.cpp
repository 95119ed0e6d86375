#include <gtest/gtest.h>

#include "platform/foundation/z_record.h"
#include "platform/foundation/z_types.h"

namespace {
constexpr std::uint32_t kA = zFourCC("aaaa");
constexpr std::uint32_t kB = zFourCC("bbbb");
constexpr std::uint32_t kC = zFourCC("cccc");
}  // namespace

TEST(zFourCC, PacksFirstCharacterHighest) {
  EXPECT_EQ(zFourCC("QVR_"), 0x5156525Fu);
  EXPECT_EQ(zFourCC("lftH"), 0x6C667448u);
  EXPECT_EQ(zFourCC("rhtH"), 0x72687448u);
}

TEST(zVariable, ConvertsNumbersAndKeepsDefaultsForOtherKinds) {
  const zVariable empty;
  EXPECT_EQ(empty.AsInt32(7), 7);
  EXPECT_EQ(empty.AsRect(zRect(1, 2, 3, 4)), zRect(1, 2, 3, 4));

  EXPECT_FLOAT_EQ(zVariable::FromInt32(3).AsFloat(), 3.0f);
  EXPECT_EQ(zVariable::FromFloat(-2.75f).AsInt32(), -2);
  EXPECT_EQ(zVariable::FromFloat(1e20f).AsInt32(9), 9);  // no integer value
  EXPECT_EQ(zVariable::FromFloat(2.0f).AsFloatPoint({5, 6}), zFloatPoint(5, 6));
  EXPECT_EQ(zVariable::FromRect({1, 2, 3, 4}).AsInt32(-1), -1);
  EXPECT_EQ(zVariable::FromFloatPoint({0.5f, 2}).AsFloatPoint(), zFloatPoint(0.5f, 2));
}

TEST(zRecord, SetReplacesAndListLookupMarksMissing) {
  zRecord r;
  r.SetInt32(kA, 1);
  r.SetRect(kB, {10, 0, 0, 5});
  r.SetInt32(kA, 2);  // replaces, does not add
  EXPECT_EQ(r.Count(), 2u);
  EXPECT_EQ(r.AsInt32(kA), 2);
  EXPECT_EQ(r.AsRect(kB), zRect(10, 0, 0, 5));
  EXPECT_EQ(r.AsRect(kC, zRect(340, 340, 2, 2)), zRect(340, 340, 2, 2));

  const std::uint32_t ids[3] = {kC, kB, kA};
  const zVariable missing;
  const zVariable* out[3] = {};
  r.VariableGetList(ids, out, 3, &missing);
  EXPECT_EQ(out[0], &missing);
  EXPECT_EQ(out[1], r.Variable(kB));
  EXPECT_EQ(out[2], r.Variable(kA));

  EXPECT_TRUE(r.Remove(kA));
  EXPECT_FALSE(r.Remove(kA));
  EXPECT_EQ(r.Variable(kA), nullptr);
}
