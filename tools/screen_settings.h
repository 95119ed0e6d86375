#pragma once
// Per-screen settings for so3d's own hosts (so3d-render's file and --set
// options, the GStreamer element's pad properties), turned into the settings
// records the library reads.
//
//   # one block per screen; a setting applies to the screen named above it
//   screen 1
//   position 0.5 -0.25   # world units; the frame plane is 7.2 × 4.8, +x right, +y up
//   rotation 0 30        # degrees: pitch, heading
//   scale 0.5 0.5        # factors
//   pivot 0 0            # rotation offset, world units
//   opacity 0.5          # 0 (invisible) to 1
//   crop 10 0 0 5        # left, top, right, bottom, added to the object's crop
//   build 340 340 2 2    # build in/out rectangle, as the library reads it
//   border 3             # border decor id (drawn only by hosts that supply decors)
#include <array>
#include <string>

#include "platform/foundation/z_record.h"

namespace so3d::tools {

inline constexpr int settings_screens = 6;

// The settings, how many numbers each takes, and what they mean.
struct SettingKey {
  const char* name;
  std::size_t count;
  const char* meaning;
};
extern const std::array<SettingKey, 8> setting_keys;

struct ScreenSettings {
  std::array<zRecord, settings_screens> records;
  std::array<bool, settings_screens> given{};  // a screen without settings passes no record

  // `key` with its values (spaces or commas between them) for `screen`.
  // False with a reason in words.
  bool Set(int screen, const std::string& key, const std::string& values, std::string& error);
  // "N:KEY=VALUES", as --set takes it.
  bool SetFromOption(const std::string& option, std::string& error);
  // The file above; errors name the file and line.
  bool Load(const std::string& path, std::string& error);
};

}  // namespace so3d::tools
