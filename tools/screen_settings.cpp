#include "tools/screen_settings.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <numbers>
#include <sstream>
#include <vector>

#include "scene/so_object_settings.h"

namespace so3d::tools {

namespace {

// The numbers of `text`, separated by spaces or commas; false on anything else.
bool Numbers(std::string text, std::vector<double>& out) {
  for (char& c : text)
    if (c == ',') c = ' ';
  std::istringstream in(text);
  std::string word;
  while (in >> word) {
    char* end = nullptr;
    const double v = std::strtod(word.c_str(), &end);
    if (*end || !std::isfinite(v)) return false;
    out.push_back(v);
  }
  return true;
}

}  // namespace

const std::array<SettingKey, 8> setting_keys = {{
    {"position", 2, "x, y in world units; the frame plane is 7.2 x 4.8, +x right, +y up"},
    {"rotation", 2, "pitch, heading in degrees"},
    {"scale", 2, "x, y factors"},
    {"pivot", 2, "rotation offset x, y in world units"},
    {"opacity", 1, "0 (invisible) to 1"},
    {"crop", 4, "left, top, right, bottom in pixels, added to the object's crop"},
    {"build", 4, "the build in/out rectangle, as the library reads it"},
    {"border", 1, "border decor id (drawn only by hosts that supply decors)"},
}};

bool ScreenSettings::Set(int screen, const std::string& key, const std::string& values, std::string& error) {
  if (screen < 0 || screen >= settings_screens)
    return error = "screen " + std::to_string(screen) + " is not 0 to 5", false;
  const SettingKey* known = nullptr;
  for (const SettingKey& k : setting_keys)
    if (key == k.name) known = &k;
  if (!known) return error = "unknown setting '" + key + "'", false;
  std::vector<double> v;
  if (!Numbers(values, v) || v.size() != known->count)
    return error = key + " takes " + std::to_string(known->count) + " number(s)", false;
  zRecord& r = records[std::size_t(screen)];
  const auto point = [&](double x, double y) { return zFloatPoint(float(x), float(y)); };
  const auto rect = [&] {
    return zRect(std::int32_t(v[0]), std::int32_t(v[1]), std::int32_t(v[2]), std::int32_t(v[3]));
  };
  constexpr double degrees = std::numbers::pi / 180.0;
  if (key == "position") r.SetFloatPoint(so_id_pos, point(v[0], v[1]));
  if (key == "rotation") r.SetFloatPoint(so_id_rot, point(v[0] * degrees, v[1] * degrees));
  if (key == "scale") r.SetFloatPoint(so_id_scale, point(v[0], v[1]));
  if (key == "pivot") r.SetFloatPoint(so_id_rot_off, point(v[0], v[1]));
  if (key == "opacity") {
    if (v[0] < 0 || v[0] > 1) return error = "opacity is 0 to 1", false;
    r.SetFloat(so_id_trans, float(v[0]));
  }
  if (key == "crop") r.SetRect(so_id_crop_rect, rect());
  if (key == "build") r.SetRect(so_id_build_in_out, rect());
  if (key == "border") r.SetInt32(so_id_border_decor, std::int32_t(v[0]));
  given[std::size_t(screen)] = true;
  return true;
}

bool ScreenSettings::SetFromOption(const std::string& option, std::string& error) {
  const std::size_t colon = option.find(':'), equals = option.find('=');
  char* end = nullptr;
  const long screen = colon == std::string::npos ? -1 : std::strtol(option.c_str(), &end, 10);
  if (colon == std::string::npos || equals == std::string::npos || equals < colon || end != option.c_str() + colon)
    return error = "--set takes N:KEY=VALUES, e.g. 1:opacity=0.5 or 0:position=0.5,0", false;
  return Set(int(screen), option.substr(colon + 1, equals - colon - 1), option.substr(equals + 1), error);
}

bool ScreenSettings::Load(const std::string& path, std::string& error) {
  std::ifstream in(path);
  if (!in) return error = path + ": cannot read the settings file", false;
  std::string line;
  int screen = -1;
  for (int number = 1; std::getline(in, line); ++number) {
    line = line.substr(0, line.find('#'));
    std::istringstream words(line);
    std::string key;
    if (!(words >> key)) continue;
    std::string rest;
    std::getline(words, rest);
    std::string why;
    if (key == "screen") {
      std::vector<double> n;
      if (!Numbers(rest, n) || n.size() != 1 || n[0] < 0 || n[0] >= settings_screens || n[0] != std::floor(n[0]))
        why = "screen takes a number from 0 to 5";
      else
        screen = int(n[0]);
    } else if (screen < 0) {
      why = "a setting before any 'screen N' line";
    } else {
      Set(screen, key, rest, why);
    }
    if (!why.empty()) return error = path + ":" + std::to_string(number) + ": " + why, false;
  }
  return true;
}

}  // namespace so3d::tools
