// so3d-info: boots the library as a host would and prints what it
// registered.
#include <cstdio>
#include <cstring>

#include "module/so3d.h"
#include "platform/foundation/z_boot.h"
#include "platform/foundation/z_string_id.h"

namespace {
void print_code(const char* label, std::uint32_t code) {
  char text[5] = {char(code >> 24), char(code >> 16), char(code >> 8), char(code), 0};
  std::printf("%-22s '%s' (0x%08X)\n", label, text, code);
}
}  // namespace

int main() {
  std::printf("so3d: before boot  soFrameWidth %.1f  soFrameHeight %.1f  so_fopen %s\n", soFrameWidth,
              soFrameHeight, so_fopen ? "set" : "null");
  zBoot::BootAll();
  print_code("module code", so_module_code);
  std::printf("%-22s %s\n", "booted", zBoot::IsBooted(so_module_code) ? "yes" : "no");
  std::printf("%-22s %s\n", "so_fopen", so_fopen ? "zFileStream::os_fopen" : "null");
  std::printf("settings-record names:\n");
  const std::uint32_t ids[] = {so_id_build_in_out, so_id_pos,        so_id_rot,       so_id_scale,
                               so_id_rot_off,      so_id_trans,      so_id_draw_mode, so_id_scroll_pos,
                               so_id_crop_rect,    so_id_border_decor};
  for (std::uint32_t id : ids) {
    const std::string name = zStringID::Default()->Name(static_cast<std::int32_t>(id));
    char text[5] = {char(id >> 24), char(id >> 16), char(id >> 8), char(id), 0};
    std::printf("  '%s' 0x%08X  %s\n", text, id, name.c_str());
  }
  zBoot::ShutdownAll();
  return 0;
}
