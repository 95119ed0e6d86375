#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "platform/foundation/x_unknown.h"
#include "platform/foundation/z_boot.h"
#include "platform/foundation/z_critical.h"
#include "platform/foundation/z_id_generator.h"
#include "platform/foundation/z_string_id.h"

namespace {

// Runs `body(t)` on four threads at once.
template <class Body>
void on_four_threads(Body body) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) threads.emplace_back(body, t);
  for (auto& th : threads) th.join();
}

}  // namespace

TEST(zIDGenerator, IdsAreNonZeroAndUniqueAcrossThreads) {
  std::vector<std::int32_t> got[4];
  on_four_threads([&](int t) {
    for (int i = 0; i < 5000; ++i) got[t].push_back(zIDGenerator::Generate('x'));
  });
  std::vector<std::int32_t> all;
  for (auto& v : got) all.insert(all.end(), v.begin(), v.end());
  std::sort(all.begin(), all.end());
  EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());
  EXPECT_GT(all.front(), 0);
}

TEST(zCritical, IsRecursiveAndExcludesOtherThreads) {
  auto lock = zCritical::Factory(1);
  {
    zAutoCritical outer(lock.get());
    zAutoCritical inner(lock.get());  // same thread may enter again
  }
  int counter = 0;
  on_four_threads([&](int) {
    for (int i = 0; i < 10000; ++i) {
      zAutoCritical guard(lock.get());
      ++counter;
    }
  });
  EXPECT_EQ(counter, 40000);
}

TEST(zStringID, RepeatedIdTakesTheNewName) {
  zStringID* table = zStringID::Default();
  EXPECT_EQ(table->Add(0x74737431, "first"), 0);
  EXPECT_EQ(table->Add(0x74737431, "second"), 0);
  EXPECT_EQ(table->Name(0x74737431), "second");
  EXPECT_EQ(table->Find("second"), 0x74737431);
  EXPECT_EQ(table->Add(0x74737432, nullptr), -1);
}

namespace {
int g_destroyed = 0;
class Counted : public xCUnknown {
 protected:
  ~Counted() override { ++g_destroyed; }
};

std::vector<int> g_boot_order;
void boot_dep() { g_boot_order.push_back(1); }
void boot_main() {
  zBoot::Depends(0x74646570, &boot_dep);
  g_boot_order.push_back(2);
}
void shutdown_main() { g_boot_order.push_back(-2); }
}  // namespace

TEST(xCUnknown, LastReleaseDestroysAndLookupAddsAReference) {
  auto* obj = new Counted;
  void* out = nullptr;
  EXPECT_EQ(obj->Concrete_QueryInterface("xCUnknown", &out), 0);
  EXPECT_EQ(out, obj);
  EXPECT_EQ(obj->Concrete_QueryInterface("other", &out), -1);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(obj->Concrete_Release(), 1);
  EXPECT_EQ(g_destroyed, 0);
  EXPECT_EQ(obj->Concrete_Release(), 0);
  EXPECT_EQ(g_destroyed, 1);
}

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
