// Which texture a surface of an object gets (screens, slots, images), the
// antialiasing mask, and device changes.
#include <cstring>
#include <string>
#include <tuple>

#include "tests/d3d_textures/d3d_texture_fixture.h"
#include "tests/support/temp_dir.h"
#include "tests/support/test_images.h"

using namespace so3d::test;

namespace {

constexpr auto straight = soTextureManager::so_alpha_straight;
constexpr std::uint32_t opaque = 0xFFFFFFFF, half = 0x7FFFFFFF, clear = 0x00FFFFFF;
const std::vector<std::string> mask_calls = {"CreateTexture(720, 480, 1, 0, 21, 1, null)",
                                             "LockRect(tex1, 0, null, 0)", "UnlockRect(tex1, 0)"};

RecordingTexture* as_recording(IDirect3DTexture9* texture) { return static_cast<RecordingTexture*>(texture); }

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
  EXPECT_EQ(std::tuple(alpha, width, height, u, v), std::tuple(soTextureManager::so_alpha_premultiplied, 720, 576, 0.75f, 0.5f));
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
  // A stride shorter than one pair, or no buffer, writes nothing.
  soD3DTextureManager::GenerateTextureCoords(1, 1, &out[0][0], 4);
  soD3DTextureManager::GenerateTextureCoords(1, 1, nullptr, 8);
  const float expected[6][4] = {{0, 0.5f, -7, -7}, {0, 0, -7, -7},       {0.75f, 0, -7, -7},
                                {0, 0.5f, -7, -7}, {0.75f, 0, -7, -7}, {0.75f, 0.5f, -7, -7}};
  EXPECT_EQ(0, std::memcmp(out, expected, sizeof out));
}

using Mask = D3DTextureTest;

TEST_F(Mask, FrameTexelsAndFillOrder) {
  RecordingTexture* mask = as_recording(manager->GetMaskTexture());
  ASSERT_NE(mask, nullptr);
  EXPECT_EQ(device.Log(), mask_calls);
  struct Expect {
    unsigned x, y;
    std::uint32_t texel;
  };
  for (const Expect& e : {Expect{360, 240, opaque}, {0, 240, clear}, {1, 240, half}, {1, 0, half}, {0, 478, half},
                          {718, 240, half}, {719, 240, clear}, {0, 0, clear}, {360, 0, clear}, {718, 0, half},
                          {360, 1, half}, {0, 1, clear}, {719, 478, half}, {360, 478, half}, {1, 479, clear},
                          {2, 2, opaque}, {717, 477, opaque}})
    EXPECT_EQ(mask->Texel(e.x, e.y), e.texel) << e.x << ", " << e.y;
  // The opaque fill runs over the whole pitch, padding included.
  for (std::size_t i = 720 * 4; i < std::size_t(mask->Pitch()); ++i)
    ASSERT_EQ(mask->Bytes()[240 * std::size_t(mask->Pitch()) + i], 0xFF) << i;
  EXPECT_EQ(manager->GetMaskTexture(), mask) << "made once and kept";
  EXPECT_EQ(mask->References(), 1u);
}

TEST_F(Mask, RefusalsAndResets) {
  device.Fail("CreateTexture", 1);
  EXPECT_EQ(manager->GetMaskTexture(), nullptr);
  // Asked again, it tries again. A mask that cannot be locked is kept unfilled.
  device.Fail("LockRect", 1);
  RecordingTexture* first = as_recording(manager->GetMaskTexture());
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->Texel(360, 240), RecordingDevice::unwritten);
  EXPECT_EQ(device.Count("UnlockRect"), 0u);
  EXPECT_EQ(manager->GetMaskTexture(), first);
  // Released before a reset, and remade on demand.
  manager->ReleaseAllD3DResources();
  EXPECT_EQ(first->References(), 0u);
  manager->ReleaseAllD3DResources();
  EXPECT_EQ(as_recording(manager->GetMaskTexture())->Texel(1, 0), half);
}

TEST_F(Mask, ChangeD3DeviceUnbindsAndRemakesTheMaskOnlyForANewDevice) {
  RecordingTexture* host = device.MakeHostTexture(8, 8);
  manager->SetTexture(0, 0, host, soTextureManager::so_alpha_straight, 8, 8, 1, 1);
  IDirect3DTexture9* mask = manager->GetMaskTexture();
  const so_surface_ptr one = Surface("One");
  device.ClearLog();
  manager->ChangeD3Device(device);
  EXPECT_FALSE(manager->HasTexture(*one, Object(0, 0)));
  EXPECT_EQ(manager->GetMaskTexture(), mask);
  EXPECT_TRUE(device.Log().empty());

  RecordingDevice other;
  manager->ChangeD3Device(other);
  EXPECT_EQ(device.Log(), std::vector<std::string>{"Release(tex2)"}) << "the old mask goes, nothing else";
  // The new mask is made at once, on the new device, which is used from now on.
  EXPECT_EQ(other.Log(), mask_calls);
  EXPECT_EQ(manager->GetMaskTexture(), other.Textures()[0].get());
  manager.reset();
  EXPECT_EQ(other.LiveResources(), 0);
  EXPECT_EQ(host->References(), 1u);
}

class ImageTextures : public D3DTextureTest {
 protected:
  TempDir dir;
  std::string base;
  std::int32_t id = 0;
  so_surface_ptr wood;
  Alpha alpha{};

  void SetUp() override {
    const Rgba red{255, 0, 0, 255}, green{0, 255, 0, 255}, blue{0, 0, 255, 255}, clear_black{0, 0, 0, 0};
    dir.Write("Content/Images/wood.png", EncodePng(TestImage::Quadrants(16, 16, red, green, blue, clear_black)));
    base = (dir.Path() / "Content/Scenes/intro.lws").string();
    ASSERT_EQ(manager->AddTexture("X:Content/Images/wood.png", &id), 0);
    wood = Surface("Wood", id);
  }
  bool Bind(const so_surface& s, so_object_data d) {
    return manager->BindTexture(s, d, &alpha, nullptr, nullptr, nullptr, nullptr);
  }
};

TEST_F(ImageTextures, UploadFillsLevelZeroAndBindsToSurfacesCarryingTheId) {
  ASSERT_EQ(manager->OpenAndUploadTexture(id, base.c_str()), 0);
  EXPECT_EQ(device.Log(), (std::vector<std::string>{"CreateTexture(256, 256, 1, 0, 21, 1, null)",
                                                    "LockRect(tex1, 0, null, 0)", "UnlockRect(tex1, 0)"}));
  const RecordingTexture* texture = device.Textures()[0].get();
  EXPECT_EQ(texture->Texel(10, 10), 0xFFFF0000u);  // A, R, G, B from the top byte down
  EXPECT_EQ(texture->Texel(245, 10), 0xFF00FF00u);
  EXPECT_EQ(texture->Texel(10, 245), 0xFF0000FFu);
  EXPECT_EQ(texture->Texel(245, 245) >> 24, 0u);

  const so_surface_ptr two = Surface("Two", id), one = Surface("One", id);
  std::int32_t width = 0, height = 0;
  float u = 0, v = 0;
  EXPECT_TRUE(manager->HasTexture(*wood, Object(0, 0)));
  ASSERT_TRUE(manager->BindTexture(*wood, Object(0, -1), &alpha, &width, &height, &u, &v));
  EXPECT_EQ(alpha, soTextureManager::so_alpha_straight);
  EXPECT_EQ(width, 256);
  EXPECT_EQ(u, 1.0f);
  EXPECT_TRUE(Bind(*two, Object(4, 4)));
  // "One" keeps to the screen rules, whatever id it carries.
  EXPECT_FALSE(manager->HasTexture(*one, Object(0, 0)));
  EXPECT_FALSE(Bind(*one, Object(0, 0)));
  // Image textures are not host textures: UnbindAll leaves them, and a screen
  // texture handed in later, for any slot, does not take their record.
  manager->UnbindAll();
  for (std::int32_t slot : {-1, 0}) manager->SetTexture(slot, 0, device.MakeHostTexture(4, 4), Alpha{}, 4, 4, 1, 1);
  EXPECT_TRUE(Bind(*wood, Object(-1, 0)));
  EXPECT_EQ(device.BoundTexture(0), texture);
  EXPECT_TRUE(manager->HasTexture(*one, Object(0, 0)));
}

TEST_F(ImageTextures, ReplacingUnloadingAndRefusals) {
  ASSERT_EQ(manager->OpenAndUploadTexture(id, base.c_str()), 0);
  ASSERT_EQ(manager->OpenAndUploadTexture(id, base.c_str()), 0);
  EXPECT_EQ(device.Textures()[0]->References(), 0u);
  EXPECT_EQ(device.LiveResources(), 1);
  EXPECT_TRUE(Bind(*wood, Object(0, 0)));
  EXPECT_EQ(device.BoundTexture(0), device.Textures()[1].get());
  EXPECT_EQ(manager->UnloadAndDeleteTexture(id), 0);
  EXPECT_EQ(device.LiveResources(), 0);
  EXPECT_FALSE(manager->HasTexture(*wood, Object(0, 0)));

  ASSERT_EQ(manager->AddTexture("X:Content/Images/wood.png", &id), 0);
  device.Fail("CreateTexture", 1);
  EXPECT_EQ(manager->OpenAndUploadTexture(id, base.c_str()), -1);
  EXPECT_FALSE(manager->HasTexture(*Surface("Wood", id), Object(0, 0)));
  // A texture whose pixels cannot be reached fails the load; the destructor
  // still releases it.
  device.Fail("LockRect", 1);
  EXPECT_EQ(manager->OpenAndUploadTexture(id, base.c_str()), -1);
  EXPECT_EQ(device.Count("UnlockRect"), 2u);
  EXPECT_EQ(device.LiveResources(), 1);
}
