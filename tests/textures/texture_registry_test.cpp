#include <gtest/gtest.h>

#include "tests/textures/memory_texture_manager.h"

using so3d::test::MakeMemoryManager;

TEST(TextureRegistry, OneNameRegisteredTwiceGetsTwoIdsInOrder) {
  auto m = MakeMemoryManager();
  std::int32_t first = 0, second = 0;
  EXPECT_EQ(m->AddTexture("C:/Images/wood.jpg", &first), 0);
  EXPECT_EQ(m->AddTexture("C:/Images/wood.jpg", &second), 0);
  EXPECT_NE(first, 0);
  EXPECT_NE(second, 0);
  EXPECT_NE(first, second);
  EXPECT_EQ(m->AddTexture("x.png", nullptr), -1);
  ASSERT_EQ(m->TextureCount(), 2u);
  EXPECT_EQ(m->TextureIDAt(0), first);
  EXPECT_EQ(m->TextureIDAt(1), second);
  EXPECT_EQ(m->TextureIDAt(2), 0);  // past the end
  EXPECT_EQ(m->get_texture_entry(second)->name, "C:/Images/wood.jpg");
}

TEST(TextureRegistry, DecorIdKeepsItsFirstName) {
  auto m = MakeMemoryManager();
  EXPECT_EQ(m->AddDecorTexture("frame.png", 5), 0);
  EXPECT_EQ(m->AddDecorTexture("other.png", 5), 0);
  ASSERT_EQ(m->TextureCount(), 1u);
  ASSERT_NE(m->get_texture_entry(5), nullptr);
  EXPECT_EQ(m->get_texture_entry(5)->name, "frame.png");
  EXPECT_EQ(m->get_texture_entry(6), nullptr);
}

TEST(TextureRegistry, UnloadDeletesTheTextureAndOnlyThatEntry) {
  auto m = MakeMemoryManager();
  std::int32_t a = 0, b = 0, c = 0;
  m->AddTexture("a", &a);
  m->AddTexture("b", &b);
  m->AddTexture("c", &c);
  EXPECT_EQ(m->UnloadAndDeleteTexture(b), 0);
  ASSERT_EQ(m->TextureCount(), 2u);
  EXPECT_EQ(m->TextureIDAt(1), c);
  // A second unload, and ids never registered, change nothing.
  EXPECT_EQ(m->UnloadAndDeleteTexture(b), -1);
  EXPECT_EQ(m->OpenAndUploadTexture(b, "/tmp/scene.lws"), -1);
  EXPECT_EQ(m->calls, std::vector<std::string>{"delete " + std::to_string(b)});
  EXPECT_EQ(m->TextureCount(), 2u);
}

TEST(TextureRegistry, SwitchesAndReferenceCounting) {
  int destroyed = 0;
  auto* m = new so3d::test::MemoryTextureManager;
  m->destroyed = &destroyed;
  EXPECT_TRUE(m->MultitexturingEnabled());
  m->SetMultitexturingEnabled(false);
  EXPECT_FALSE(m->MultitexturingEnabled());
  EXPECT_FALSE(m->UsingPremultipledAlpha());
  void* itf = nullptr;
  EXPECT_EQ(m->QueryInterface("xCUnknown", &itf), 0);  // adds a reference
  EXPECT_EQ(m->Release(), 1);
  EXPECT_EQ(destroyed, 0);
  EXPECT_EQ(m->Release(), 0);
  EXPECT_EQ(destroyed, 1);
}

TEST(TextureRegistry, AssignmentCopiesEntriesIntoAnIndependentList) {
  auto source = MakeMemoryManager(), target = MakeMemoryManager();
  std::int32_t id = 0;
  source->AddTexture("wood.png", &id);
  source->SetMultitexturingEnabled(false);
  target->AddDecorTexture("old.png", 3);
  *target = *source;
  *target = *target;
  source->UnloadAndDeleteTexture(id);
  ASSERT_EQ(target->TextureCount(), 1u);
  EXPECT_EQ(target->get_texture_entry(id)->name, "wood.png");
  EXPECT_FALSE(target->MultitexturingEnabled());
  EXPECT_EQ(target->ReferenceCount(), 1);
}
