#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "module/so_module.h"
#include "platform/foundation/z_boot.h"
#include "platform/foundation/z_file_stream.h"
#include "platform/foundation/z_string_id.h"
#include "scene/so_object_settings.h"
#include "tests/support/temp_dir.h"

// The only test that boots: everything before BootAll is the loaded state.
TEST(ModuleStartup, LoadedThenBootedThenShutDown) {
  EXPECT_EQ(std::bit_cast<std::uint32_t>(soFrameWidth), 0x40E66666u);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(soFrameHeight), 0x4099999Au);
  EXPECT_EQ(so_fopen, nullptr);
  EXPECT_TRUE(zBoot::IsRegistered(so_module_code));
  EXPECT_FALSE(zBoot::IsBooted(so_module_code));
  EXPECT_EQ(zStringID::Default()->Name(static_cast<std::int32_t>(so_id_border_decor)), "");

  // Before boot the readers still open files, through fopen.
  so3d::test::TempDir dir;
  const std::string path = dir.Write("f", "x");
  std::FILE* f = so_open_for_reading(path.c_str());
  ASSERT_NE(f, nullptr);
  std::fclose(f);

  zBoot::BootAll();
  EXPECT_TRUE(zCore::IsBooted());
  EXPECT_TRUE(zBoot::IsBooted(so_module_code));
  EXPECT_EQ(so_fopen, &zFileStream::os_fopen);
  EXPECT_EQ(zStringID::Default()->Name(static_cast<std::int32_t>(so_id_border_decor)), "border_decor");
  EXPECT_EQ(zStringID::Default()->Name(0x736F426C), "obj_build_in_out");

  soModule::Shutdown();
  EXPECT_EQ(so_fopen, &zFileStream::os_fopen);
  EXPECT_EQ(so_open_for_reading((dir.Path() / "missing").c_str()), nullptr);
}
