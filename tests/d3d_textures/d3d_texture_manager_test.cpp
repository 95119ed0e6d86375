// Which texture a surface of an object gets (screens, slots, images), the
// antialiasing mask, and device changes.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>

#include "base/so_surface.h"
#include "tests/support/recording_device.h"
#include "tests/support/temp_dir.h"
#include "tests/support/test_images.h"
#include "tests/textures/memory_texture_manager.h"
#include "textures/so_d3d_texture_manager.h"

namespace {

using namespace so3d::test;
using Log = std::vector<std::string>;
using Alpha = soTextureManager::so_alpha_type;

constexpr auto straight = soTextureManager::so_alpha_straight;
constexpr std::uint32_t opaque = 0xFFFFFFFF, half = 0x7FFFFFFF, clear = 0x00FFFFFF;
const Log mask_calls = {"CreateTexture(720, 480, 1, 0, 21, 1, null)", "LockRect(tex1, 0, null, 0)",
                        "UnlockRect(tex1, 0)"};

RecordingTexture* as_recording(IDirect3DBaseTexture9* texture) { return static_cast<RecordingTexture*>(texture); }
so_surface_ptr Surface(const char* name, std::int32_t texture_id = 0) {
  so_surface_ptr surface = so_make_surface();
  so_surface_set_name(*surface, name);
  surface->texture_id = texture_id;
  return surface;
}
so_object_data Object(std::int32_t slot, std::int32_t screen) { return so_object_data{0, 0, 0, slot, screen}; }

using ManagerPtr = std::unique_ptr<soD3DTextureManager, ReleaseManager>;

class D3DTextureTest : public ::testing::Test {
 protected:
  RecordingDevice device;
  ManagerPtr manager{new soD3DTextureManager(&device)};

  void TearDown() override {
    manager.reset();
    EXPECT_EQ(device.LiveResources(), 0);
    EXPECT_EQ(device.Misuses(), Log{});
    EXPECT_EQ(device.References(), 1u) << "the manager must not count the device";
  }
};

class ScreenBinding : public D3DTextureTest {
 protected:
  RecordingTexture* a = device.MakeHostTexture(720, 576);  // tex1
  RecordingTexture* b = device.MakeHostTexture(64, 64);    // tex2
  RecordingTexture* c = device.MakeHostTexture(64, 64);    // tex3
  so_surface_ptr one = Surface("One");

  void Set(std::int32_t slot, std::int32_t screen, RecordingTexture* t) {
    manager->SetTexture(slot, screen, t, straight, 1, 1, 1, 1);
  }
  // Per (slot, screen): whether `one` has a texture there, and what binding
  // it puts on stage 0, "-" when binding fails.
  std::string Lookup(std::initializer_list<std::pair<std::int32_t, std::int32_t>> keys) {
    std::string out;
    for (auto [slot, screen] : keys) {
      device.SetTexture(0, nullptr);
      const bool bound = manager->BindTexture(*one, Object(slot, screen), nullptr, nullptr, nullptr, nullptr, nullptr);
      out += std::string(out.empty() ? "" : " ") + (manager->HasTexture(*one, Object(slot, screen)) ? "has:" : "no:") +
             (bound ? as_recording(device.BoundTexture(0))->Name() : "-");
    }
    return out;
  }
};

TEST_F(ScreenBinding, BindsOnStageZeroOnlyForOneAndReportsWhatTheHostGave) {
  manager->SetTexture(0, 2, a, soTextureManager::so_alpha_premultiplied, 720, 576, 0.75f, 0.5f);
  Alpha alpha = straight;
  std::int32_t width = 0, height = 0;
  float u = 0, v = 0;
  ASSERT_TRUE(manager->BindTexture(*one, Object(0, 2), &alpha, &width, &height, &u, &v));
  EXPECT_EQ(std::tuple(alpha, width, height, u, v),
            std::tuple(soTextureManager::so_alpha_premultiplied, 720, 576, 0.75f, 0.5f));
  EXPECT_EQ(device.Log(), Log{"SetTexture(0, tex1)"});
  EXPECT_EQ(a->References(), 1u) << "host textures are not counted";

  for (const char* name : {"Two", "one", "One ", "", "Wood"}) {
    const so_surface_ptr s = Surface(name);
    EXPECT_FALSE(manager->HasTexture(*s, Object(0, 2)) ||
                 manager->BindTexture(*s, Object(0, 2), &alpha, nullptr, nullptr, nullptr, nullptr))
        << name;
  }
  EXPECT_EQ(device.Count("SetTexture"), 1u);

  ManagerPtr bare(new soD3DTextureManager(nullptr));
  bare->SetTexture(0, 0, a, straight, 1, 1, 1, 1);
  EXPECT_TRUE(bare->HasTexture(*one, Object(0, 0)));
  EXPECT_FALSE(bare->BindTexture(*one, Object(0, 0), &alpha, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(bare->GetMaskTexture(), nullptr);
}

TEST_F(ScreenBinding, SlotRecordsComeFirstUnbindAllClearsThemAndScreensOutsideTheTable) {
  Set(0, 2, b);
  Set(3, 1, a);
  // Without a record for its slot the screen's entry shows.
  EXPECT_EQ(Lookup({{3, 2}, {5, 2}}), "has:tex1 has:tex2");
  // The table holds copies: moving slot 0 to another screen leaves screen 2.
  Set(0, 4, c);
  EXPECT_EQ(Lookup({{5, 2}, {5, 4}}), "has:tex2 has:tex3");

  manager->UnbindAll();
  EXPECT_EQ(Lookup({{0, 2}, {3, 2}, {9, 2}}), "no:- no:- no:-");

  Set(0, 0, a);
  Set(7, 6, b);  // a texture handed in for a screen outside the table serves its slot only
  Set(8, -1, c);
  // The last screen in the table, 5, has no entry.
  EXPECT_EQ(Lookup({{9, -1}, {9, 6}, {9, 5}}), "no:- no:- no:-");
  // With a record for the slot, a negative screen still refuses to bind
  // though HasTexture answers true; a screen past the table binds.
  EXPECT_EQ(Lookup({{0, -1}, {0, 6}, {7, 3}, {8, 0}, {9, 0}}), "has:- has:tex1 has:tex2 has:tex3 has:tex1");
}

using Mask = D3DTextureTest;

TEST_F(Mask, FrameTexelsAndFillOrder) {
  RecordingTexture* mask = as_recording(manager->GetMaskTexture());
  ASSERT_NE(mask, nullptr);
  EXPECT_EQ(device.Log(), mask_calls);
  const struct {
    unsigned x, y;
    std::uint32_t texel;
  } probes[] = {{360, 240, opaque}, {0, 240, clear},   {1, 240, half},   {1, 0, half},     {0, 478, half},
                {718, 240, half},   {719, 240, clear}, {0, 0, clear},    {360, 0, clear},  {718, 0, half},
                {360, 1, half},     {0, 1, clear},     {719, 478, half}, {360, 478, half}, {1, 479, clear},
                {2, 2, opaque},     {717, 477, opaque}};
  for (const auto& e : probes) EXPECT_EQ(mask->Texel(e.x, e.y), e.texel) << e.x << ", " << e.y;
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
  EXPECT_EQ(std::tuple(first->Texel(360, 240), device.Count("UnlockRect")), std::tuple(RecordingDevice::unwritten, 0u));
  EXPECT_EQ(manager->GetMaskTexture(), first);
  // Released before a reset, and remade on demand.
  manager->ReleaseAllD3DResources();
  EXPECT_EQ(first->References(), 0u);
  manager->ReleaseAllD3DResources();
  EXPECT_EQ(as_recording(manager->GetMaskTexture())->Texel(1, 0), half);
}

TEST_F(Mask, ChangeD3DeviceUnbindsAndRemakesTheMaskOnlyForANewDevice) {
  RecordingTexture* host = device.MakeHostTexture(8, 8);
  manager->SetTexture(0, 0, host, straight, 8, 8, 1, 1);
  IDirect3DTexture9* mask = manager->GetMaskTexture();
  device.ClearLog();
  manager->ChangeD3Device(device);
  EXPECT_FALSE(manager->HasTexture(*Surface("One"), Object(0, 0)));
  EXPECT_EQ(manager->GetMaskTexture(), mask);
  EXPECT_TRUE(device.Log().empty());

  RecordingDevice other;
  manager->ChangeD3Device(other);
  EXPECT_EQ(device.Log(), Log{"Release(tex2)"}) << "the old mask goes, nothing else";
  // The new mask is made at once, on the new device, which is used from now on.
  EXPECT_EQ(other.Log(), mask_calls);
  EXPECT_EQ(manager->GetMaskTexture(), other.Textures()[0].get());
  manager.reset();
  EXPECT_EQ(std::tuple(other.LiveResources(), host->References()), std::tuple(0, 1u));
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
  EXPECT_EQ(device.Log(),
            (Log{"CreateTexture(256, 256, 1, 0, 21, 1, null)", "LockRect(tex1, 0, null, 0)", "UnlockRect(tex1, 0)"}));
  const RecordingTexture* t = device.Textures()[0].get();
  // A, R, G, B from the top byte down.
  EXPECT_EQ((std::vector{t->Texel(10, 10), t->Texel(245, 10), t->Texel(10, 245), t->Texel(245, 245) >> 24}),
            (std::vector{0xFFFF0000u, 0xFF00FF00u, 0xFF0000FFu, 0u}));

  const so_surface_ptr two = Surface("Two", id), one = Surface("One", id);
  std::int32_t width = 0, height = 0;
  float u = 0, v = 0;
  EXPECT_TRUE(manager->HasTexture(*wood, Object(0, 0)));
  ASSERT_TRUE(manager->BindTexture(*wood, Object(0, -1), &alpha, &width, &height, &u, &v));
  EXPECT_EQ(std::tuple(alpha, width, u), std::tuple(straight, 256, 1.0f));
  EXPECT_TRUE(Bind(*two, Object(4, 4)));
  // "One" keeps to the screen rules, whatever id it carries.
  EXPECT_FALSE(manager->HasTexture(*one, Object(0, 0)) || Bind(*one, Object(0, 0)));
  // Image textures are not host textures: UnbindAll leaves them, and a screen
  // texture handed in later, for any slot, does not take their record.
  manager->UnbindAll();
  for (std::int32_t slot : {-1, 0}) manager->SetTexture(slot, 0, device.MakeHostTexture(4, 4), Alpha{}, 4, 4, 1, 1);
  EXPECT_TRUE(Bind(*wood, Object(-1, 0)));
  EXPECT_EQ(device.BoundTexture(0), t);
  EXPECT_TRUE(manager->HasTexture(*one, Object(0, 0)));
}

TEST_F(ImageTextures, ReplacingUnloadingAndRefusals) {
  ASSERT_EQ(manager->OpenAndUploadTexture(id, base.c_str()), 0);
  ASSERT_EQ(manager->OpenAndUploadTexture(id, base.c_str()), 0);
  EXPECT_EQ(std::tuple(device.Textures()[0]->References(), device.LiveResources()), std::tuple(0u, 1));
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
  EXPECT_EQ(std::tuple(device.Count("UnlockRect"), device.LiveResources()), std::tuple(2u, 1));
}

}  // namespace
