// Screen textures: which texture a surface of an object gets.
#include "tests/d3d_textures/d3d_texture_fixture.h"

using namespace so3d::test;

namespace {

constexpr auto straight = soTextureManager::so_alpha_straight;

}  // namespace

class ScreenBinding : public D3DTextureTest {
 protected:
  RecordingTexture* a = device.MakeHostTexture(720, 576);  // tex1
  RecordingTexture* b = device.MakeHostTexture(64, 64);    // tex2
  RecordingTexture* c = device.MakeHostTexture(64, 64);    // tex3
  so_surface_ptr one = Surface("One");

  void Set(std::int32_t slot, std::int32_t screen, RecordingTexture* t) {
    manager->SetTexture(slot, screen, t, straight, 1, 1, 1, 1);
  }
  // What binding `one` for (slot, screen) puts on stage 0, or null when it fails.
  IDirect3DBaseTexture9* Bound(std::int32_t slot, std::int32_t screen) {
    device.SetTexture(0, nullptr);
    return manager->BindTexture(*one, Object(slot, screen), nullptr, nullptr, nullptr, nullptr, nullptr)
               ? device.BoundTexture(0)
               : nullptr;
  }
};

TEST_F(ScreenBinding, BindsOnStageZeroOnlyForOneAndReportsWhatTheHostGave) {
  manager->SetTexture(0, 2, a, soTextureManager::so_alpha_premultiplied, 720, 576, 0.75f, 0.5f);
  Alpha alpha = straight;
  std::int32_t width = 0, height = 0;
  float u = 0, v = 0;
  EXPECT_TRUE(manager->HasTexture(*one, Object(0, 2)));
  ASSERT_TRUE(manager->BindTexture(*one, Object(0, 2), &alpha, &width, &height, &u, &v));
  EXPECT_EQ(alpha, soTextureManager::so_alpha_premultiplied);
  EXPECT_EQ(width, 720);
  EXPECT_EQ(height, 576);
  EXPECT_EQ(u, 0.75f);
  EXPECT_EQ(v, 0.5f);
  EXPECT_EQ(device.Log(), std::vector<std::string>{"SetTexture(0, tex1)"});
  EXPECT_EQ(a->References(), 1u) << "host textures are not counted";

  for (const char* name : {"Two", "one", "One ", "", "Wood"}) {
    const so_surface_ptr s = Surface(name);
    EXPECT_FALSE(manager->HasTexture(*s, Object(0, 2))) << name;
    EXPECT_FALSE(manager->BindTexture(*s, Object(0, 2), &alpha, nullptr, nullptr, nullptr, nullptr)) << name;
  }
  EXPECT_EQ(device.Count("SetTexture"), 1u);

  D3DManagerPtr bare(new soD3DTextureManager(nullptr));
  bare->SetTexture(0, 0, a, straight, 1, 1, 1, 1);
  EXPECT_TRUE(bare->HasTexture(*one, Object(0, 0)));
  EXPECT_FALSE(bare->BindTexture(*one, Object(0, 0), &alpha, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(bare->GetMaskTexture(), nullptr);
}

TEST_F(ScreenBinding, SlotRecordsComeFirstAndUnbindAllReusesThem) {
  Set(0, 2, b);
  Set(3, 1, a);
  EXPECT_EQ(Bound(3, 2), a);
  EXPECT_EQ(Bound(5, 2), b) << "without a record for its slot the screen's entry shows";
  // The table holds copies: moving slot 0 to another screen leaves screen 2.
  Set(0, 4, c);
  EXPECT_EQ(Bound(5, 2), b);
  EXPECT_EQ(Bound(5, 4), c);

  manager->UnbindAll();
  for (so_object_data d : {Object(0, 2), Object(3, 2), Object(9, 2)}) EXPECT_FALSE(manager->HasTexture(*one, d));
  EXPECT_EQ(Bound(9, 2), nullptr);
  // Slot 5 takes over the first freed record, the one of slot 0; slot 3
  // keeps its empty record, which hides the screen entry.
  Set(5, 2, c);
  EXPECT_FALSE(manager->HasTexture(*one, Object(3, 2)));
  EXPECT_EQ(Bound(3, 2), nullptr);
  EXPECT_EQ(Bound(0, 2), c);
  EXPECT_EQ(Bound(5, 0), c);
}

TEST_F(ScreenBinding, ScreenNumbersOutsideTheTable) {
  Set(0, 0, a);
  for (int screen : {-1, 6, INT32_MIN, INT32_MAX}) {
    EXPECT_FALSE(manager->HasTexture(*one, Object(9, screen))) << screen;
    EXPECT_EQ(Bound(9, screen), nullptr) << screen;
  }
  EXPECT_EQ(Bound(9, 5), nullptr) << "the last screen in the table has no entry";
  // With a record for the slot, a negative screen still refuses to bind
  // though HasTexture answers true; a screen past the table binds.
  EXPECT_TRUE(manager->HasTexture(*one, Object(0, -1)));
  EXPECT_EQ(Bound(0, -1), nullptr);
  EXPECT_EQ(Bound(0, 6), a);
  // A texture handed in for a screen outside the table serves its slot only.
  Set(7, 6, b);
  Set(8, -1, c);
  EXPECT_EQ(Bound(7, 3), b);
  EXPECT_EQ(Bound(8, 0), c);
  EXPECT_EQ(Bound(9, 0), a);
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
