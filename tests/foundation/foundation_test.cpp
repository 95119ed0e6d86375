// File streams, records, locks, reference counting and boot order. String
// comparison is met wherever surface names are matched.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/foundation/x_unknown.h"
#include "platform/foundation/z_boot.h"
#include "platform/foundation/z_critical.h"
#include "platform/foundation/z_file_stream.h"
#include "platform/foundation/z_record.h"
#include "platform/foundation/z_types.h"
#include "tests/support/temp_dir.h"

namespace {

TEST(zFileStream, ReadsWholeFilesAndReportsFailures) {
  so3d::test::TempDir dir;
  zBuffer buffer;
  for (const std::string& bytes : {std::string("ab\0cd", 5), std::string()}) {  // no stop at a zero, nor at size 0
    zFileStream stream(dir.Write("data.bin", bytes).c_str(), 5, false);
    ASSERT_EQ(stream.Open(), 0);
    ASSERT_EQ(stream.ReadAll(buffer), 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(buffer.Data()), buffer.Size()), bytes);
  }
  zFileStream missing((dir.Path() / "nope").c_str(), 5, false);
  EXPECT_EQ(missing.Open(), zFileStream::kErrNotFound);
  EXPECT_EQ(missing.ReadAll(buffer), zFileStream::kErrNotOpen);
  EXPECT_NE(zFileStream(dir.Path().c_str(), 5, false).Open(), 0);
}

// Kinds that do not convert are covered through records in the module tests.
TEST(zVariable, FloatsTruncateToIntegersOrKeepTheDefault) {
  EXPECT_EQ(zFourCC("QVR_"), 0x5156525Fu);  // first character highest
  EXPECT_EQ(zVariable::FromFloat(-2.75f).AsInt32(), -2);
  EXPECT_EQ(zVariable::FromFloat(1e20f).AsInt32(9), 9);
}

TEST(zRecord, SetReplacesAndListLookupMarksMissing) {
  constexpr std::uint32_t kA = zFourCC("aaaa"), kB = zFourCC("bbbb"), kC = zFourCC("cccc");
  zRecord r;
  r.SetInt32(kA, 1);
  r.SetRect(kB, {10, 0, 0, 5});
  r.SetInt32(kA, 2);  // replaces, does not add
  EXPECT_TRUE(r.Count() == 2u && r.AsInt32(kA) == 2);
  EXPECT_EQ(r.AsRect(kC, zRect(340, 340, 2, 2)), zRect(340, 340, 2, 2));
  const std::uint32_t ids[3] = {kC, kB, kA};
  const zVariable missing;
  const zVariable* out[3] = {};
  r.VariableGetList(ids, out, 3, &missing);
  EXPECT_EQ(std::vector<const zVariable*>(out, out + 3),
            (std::vector<const zVariable*>{&missing, r.Variable(kB), r.Variable(kA)}));
  EXPECT_TRUE(r.Remove(kA) && !r.Remove(kA) && r.Variable(kA) == nullptr);
}

TEST(zCritical, IsRecursiveAndExcludesOtherThreads) {
  auto lock = zCritical::Factory(1);
  {
    zAutoCritical outer(lock.get());
    zAutoCritical inner(lock.get());  // same thread may enter again
  }
  int counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 10000; ++i) zAutoCritical(lock.get()), ++counter;  // held to the end of the statement
    });
  for (auto& th : threads) th.join();
  EXPECT_EQ(counter, 40000);
}

int g_destroyed = 0;
class Counted : public xCUnknown {
 protected:
  ~Counted() override { ++g_destroyed; }
};

TEST(xCUnknown, LastReleaseDestroysAndLookupAddsAReference) {
  auto* obj = new Counted;
  void* out = nullptr;
  EXPECT_TRUE(obj->Concrete_QueryInterface("xCUnknown", &out) == 0 && out == obj);
  EXPECT_TRUE(obj->Concrete_QueryInterface("other", &out) == -1 && out == nullptr);
  EXPECT_TRUE(obj->Concrete_Release() == 1 && g_destroyed == 0);
  EXPECT_TRUE(obj->Concrete_Release() == 0 && g_destroyed == 1);
}

std::vector<int> g_boot_order;
void boot_dep() { g_boot_order.push_back(1); }
void boot_main() {
  zBoot::Depends(0x74646570, &boot_dep);
  g_boot_order.push_back(2);
}
void shutdown_main() { g_boot_order.push_back(-2); }

TEST(zBoot, BootsOnceEachDependenciesFirst) {
  static const zBoot main_module(&boot_main, &shutdown_main, 0x746D6169);
  static const zBoot dep_module(&boot_dep, nullptr, 0x74646570);
  zBoot::BootAll();
  zBoot::BootAll();
  EXPECT_EQ(g_boot_order, (std::vector<int>{1, 2}));
  zBoot::ShutdownAll();
  EXPECT_FALSE(zBoot::IsBooted(0x746D6169));
  EXPECT_EQ(g_boot_order.back(), -2);
}

}  // namespace
