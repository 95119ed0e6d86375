// Screen textures: which texture a surface of an object gets.
#include "tests/d3d_textures/d3d_texture_fixture.h"

using namespace so3d::test;

namespace {

constexpr auto straight = soTextureManager::so_alpha_straight;
constexpr auto premultiplied = soTextureManager::so_alpha_premultiplied;

}  // namespace

class ScreenBinding : public D3DTextureTest {
 protected:
  RecordingTexture* a = device.MakeHostTexture(720, 576);  // tex1
  RecordingTexture* b = device.MakeHostTexture(64, 64);    // tex2
  RecordingTexture* c = device.MakeHostTexture(64, 64);    // tex3
  so_surface_ptr one = Surface("One");

  bool Has(const so_surface& s, so_object_data d) { return manager->HasTexture(s, d); }
  bool Binds(const so_surface& s, so_object_data d) {
    Alpha alpha{};
    return manager->BindTexture(s, d, &alpha, nullptr, nullptr, nullptr, nullptr);
  }
};

TEST_F(ScreenBinding, BindsOnStageZeroAndReportsWhatTheHostGave) {
  manager->SetTexture(0, 2, a, premultiplied, 720, 576, 0.75f, 0.5f);
  Alpha alpha = straight;
  std::int32_t width = 0, height = 0;
  float u = 0, v = 0;
  EXPECT_TRUE(manager->HasTexture(*one, Object(0, 2)));
  ASSERT_TRUE(manager->BindTexture(*one, Object(0, 2), &alpha, &width, &height, &u, &v));
  EXPECT_EQ(alpha, premultiplied);
  EXPECT_EQ(width, 720);
  EXPECT_EQ(height, 576);
  EXPECT_EQ(u, 0.75f);
  EXPECT_EQ(v, 0.5f);
  // Every output is optional.
  EXPECT_TRUE(manager->BindTexture(*one, Object(0, 2), nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(device.Log(), (std::vector<std::string>{"SetTexture(0, tex1)", "SetTexture(0, tex1)"}));
  EXPECT_EQ(a->References(), 1u) << "host textures are not counted";
}

TEST_F(ScreenBinding, OnlyTheSurfaceNamedOneShowsAScreen) {
  for (int screen = 0; screen < 6; ++screen) manager->SetTexture(screen, screen, a, straight, 1, 1, 1, 1);
  for (const char* name : {"Two", "Three", "Four", "one", "One ", "", "Wood"}) {
    SCOPED_TRACE(name);
    const so_surface_ptr s = Surface(name);
    EXPECT_FALSE(Has(*s, Object(0, 0)));
    EXPECT_FALSE(Binds(*s, Object(0, 0)));
  }
  EXPECT_EQ(device.Count("SetTexture"), 0u);
}

TEST_F(ScreenBinding, TheSlotRecordTakesPrecedenceOverTheScreen) {
  manager->SetTexture(3, 1, a, straight, 1, 1, 1, 1);
  manager->SetTexture(0, 2, b, straight, 1, 1, 1, 1);
  EXPECT_TRUE(Binds(*one, Object(3, 2)));
  EXPECT_EQ(device.BoundTexture(0), a);
  // Without a record for its slot the object shows its screen's entry.
  EXPECT_TRUE(Binds(*one, Object(5, 2)));
  EXPECT_EQ(device.BoundTexture(0), b);
  // The table holds copies: moving slot 0 to another screen leaves screen 2
  // showing what it showed.
  manager->SetTexture(0, 4, c, straight, 1, 1, 1, 1);
  EXPECT_TRUE(Binds(*one, Object(5, 2)));
  EXPECT_EQ(device.BoundTexture(0), b);
  EXPECT_TRUE(Binds(*one, Object(5, 4)));
  EXPECT_EQ(device.BoundTexture(0), c);
}

TEST_F(ScreenBinding, ScreenNumbersOutsideTheTable) {
  manager->SetTexture(0, 0, a, straight, 1, 1, 1, 1);
  for (int screen : {-1, 6, 1000, INT32_MIN, INT32_MAX}) {
    SCOPED_TRACE(screen);
    EXPECT_FALSE(Has(*one, Object(9, screen)));
    EXPECT_FALSE(Binds(*one, Object(9, screen)));
  }
  // With a record for the slot, a negative screen still refuses to bind
  // though HasTexture answers true; a screen past the table binds.
  EXPECT_TRUE(Has(*one, Object(0, -1)));
  EXPECT_FALSE(Binds(*one, Object(0, -1)));
  EXPECT_TRUE(Binds(*one, Object(0, 6)));
  // A texture handed in for a screen past the table serves its slot only.
  manager->SetTexture(7, 6, b, straight, 1, 1, 1, 1);
  manager->SetTexture(8, -1, c, straight, 1, 1, 1, 1);
  EXPECT_TRUE(Binds(*one, Object(7, 3)));
  EXPECT_EQ(device.BoundTexture(0), b);
  EXPECT_TRUE(Binds(*one, Object(8, 0)));
  EXPECT_EQ(device.BoundTexture(0), c);
  EXPECT_TRUE(Binds(*one, Object(9, 0)));
  EXPECT_EQ(device.BoundTexture(0), a);
}

TEST_F(ScreenBinding, UnbindAllForgetsHostTexturesAndRecordsAreReused) {
  manager->SetTexture(0, 2, a, straight, 1, 1, 1, 1);
  manager->SetTexture(3, 2, b, straight, 1, 1, 1, 1);
  manager->UnbindAll();
  for (so_object_data d : {Object(0, 2), Object(3, 2), Object(9, 2), Object(9, 0)}) {
    EXPECT_FALSE(Has(*one, d));
    EXPECT_FALSE(Binds(*one, d));
  }
  // Slot 5 takes over the first freed record, the one of slot 0; slot 3
  // keeps its empty record, which hides the screen entry.
  manager->SetTexture(5, 2, c, straight, 1, 1, 1, 1);
  EXPECT_FALSE(Has(*one, Object(3, 2)));
  EXPECT_FALSE(Binds(*one, Object(3, 2)));
  EXPECT_TRUE(Binds(*one, Object(0, 2)));
  EXPECT_EQ(device.BoundTexture(0), c);
  EXPECT_TRUE(Binds(*one, Object(5, 0)));
  EXPECT_EQ(device.Count("SetTexture"), 2u);
}

TEST_F(ScreenBinding, WithoutADeviceNothingBinds) {
  D3DManagerPtr bare(new soD3DTextureManager(nullptr));
  bare->SetTexture(0, 0, a, straight, 1, 1, 1, 1);
  Alpha alpha{};
  EXPECT_TRUE(bare->HasTexture(*one, Object(0, 0)));
  EXPECT_FALSE(bare->BindTexture(*one, Object(0, 0), &alpha, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(bare->GetMaskTexture(), nullptr);
}

TEST(GenerateTextureCoords, SixPairsAStrideApart) {
  float out[6][4];
  for (auto& row : out) row[0] = row[1] = row[2] = row[3] = -7.0f;
  soD3DTextureManager::GenerateTextureCoords(0.75f, 0.5f, &out[0][0], sizeof out[0]);
  const float expected[6][2] = {{0, 0.5f}, {0, 0}, {0.75f, 0}, {0, 0.5f}, {0.75f, 0}, {0.75f, 0.5f}};
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(out[i][0], expected[i][0]) << i;
    EXPECT_EQ(out[i][1], expected[i][1]) << i;
    EXPECT_EQ(out[i][2], -7.0f) << "written between pairs";
  }
  // A stride shorter than one pair, or no buffer, writes nothing.
  soD3DTextureManager::GenerateTextureCoords(1, 1, &out[0][0], 4);
  soD3DTextureManager::GenerateTextureCoords(1, 1, nullptr, 8);
  EXPECT_EQ(out[1][0], 0.0f);
  EXPECT_EQ(out[0][1], 0.5f);
}
