#include <gtest/gtest.h>

#include "tests/textures/memory_texture_manager.h"

using so3d::test::MakeMemoryManager;

TEST(TextureRegistry, IdsInOrderDecorIdsKeepTheirFirstName) {
  auto m = MakeMemoryManager();
  std::int32_t first = 0, second = 0;
  EXPECT_EQ(m->AddTexture("C:/Images/wood.jpg", &first), 0);
  EXPECT_EQ(m->AddTexture("C:/Images/wood.jpg", &second), 0);  // one name twice: two ids
  EXPECT_NE(first, 0);
  EXPECT_NE(first, second);
  EXPECT_EQ(m->AddTexture("x.png", nullptr), -1);
  EXPECT_EQ(m->AddDecorTexture("frame.png", 5), 0);
  EXPECT_EQ(m->AddDecorTexture("other.png", 5), 0);
  ASSERT_EQ(m->TextureCount(), 3u);
  EXPECT_EQ(m->TextureIDAt(1), second);
  EXPECT_EQ(m->TextureIDAt(2), 5);
  EXPECT_EQ(m->TextureIDAt(3), 0);  // past the end
  EXPECT_EQ(m->get_texture_entry(5)->name, "frame.png");
  EXPECT_EQ(m->get_texture_entry(6), nullptr);
}

TEST(TextureRegistry, UnloadDeletesOnlyThatEntryAndCopiesAreIndependent) {
  auto m = MakeMemoryManager(), copy = MakeMemoryManager();
  std::int32_t a = 0, b = 0, c = 0;
  m->AddTexture("a", &a);
  m->AddTexture("b", &b);
  m->AddTexture("c", &c);
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
  EXPECT_EQ(copy->get_texture_entry(b)->name, "b");
  EXPECT_EQ(copy->get_texture_entry(1000000), nullptr);
  EXPECT_FALSE(copy->MultitexturingEnabled());
  EXPECT_EQ(copy->ReferenceCount(), 1);
}
