#include <gtest/gtest.h>

#include "platform/foundation/z_record.h"
#include "platform/foundation/z_types.h"

TEST(zVariable, ConvertsNumbersAndKeepsDefaultsForOtherKinds) {
  EXPECT_EQ(zFourCC("QVR_"), 0x5156525Fu);  // first character highest
  EXPECT_EQ(zVariable().AsRect(zRect(1, 2, 3, 4)), zRect(1, 2, 3, 4));
  EXPECT_FLOAT_EQ(zVariable::FromInt32(3).AsFloat(), 3.0f);
  EXPECT_EQ(zVariable::FromFloat(-2.75f).AsInt32(), -2);
  EXPECT_EQ(zVariable::FromFloat(1e20f).AsInt32(9), 9);  // no integer value
  EXPECT_EQ(zVariable::FromFloat(2.0f).AsFloatPoint({5, 6}), zFloatPoint(5, 6));
  EXPECT_EQ(zVariable::FromRect({1, 2, 3, 4}).AsInt32(-1), -1);
}

TEST(zRecord, SetReplacesAndListLookupMarksMissing) {
  constexpr std::uint32_t kA = zFourCC("aaaa"), kB = zFourCC("bbbb"), kC = zFourCC("cccc");
  zRecord r;
  r.SetInt32(kA, 1);
  r.SetRect(kB, {10, 0, 0, 5});
  r.SetInt32(kA, 2);  // replaces, does not add
  EXPECT_EQ(r.Count(), 2u);
  EXPECT_EQ(r.AsInt32(kA), 2);
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
