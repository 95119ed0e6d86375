#include "tests/support/scene_writer.h"

#include <cstdio>

namespace so3d::test {

namespace {
std::string number(float v) {
  char text[64];
  std::snprintf(text, sizeof text, "%.9g", static_cast<double>(v));
  return text;
}
}  // namespace

SceneWriter::SceneWriter() {
  lines_ = {"LWSC", "3", "", "FirstFrame 1", "LastFrame 60", "FramesPerSecond 30", ""};
}

SceneWriter& SceneWriter::Line(const std::string& text) {
  lines_.push_back(text);
  return *this;
}

SceneWriter& SceneWriter::Object(const std::string& name, int screen) {
  lines_.push_back("LoadObjectLayer 1 " + name);
  lines_.push_back("ShowObject 7 " + std::to_string(screen));
  lines_.push_back("ObjectMotion");
  lines_.push_back("NumChannels 9");
  return *this;
}

SceneWriter& SceneWriter::Channel(int channel, const std::vector<SceneKey>& keys) {
  lines_.push_back("Channel " + std::to_string(channel));
  lines_.push_back("{ Envelope");
  lines_.push_back("  " + std::to_string(keys.size()));
  for (const SceneKey& k : keys) {
    std::string line = "  Key " + number(k.value) + " " + number(k.time) + " " + std::to_string(k.shape);
    for (float p : k.params) line += " " + number(p);
    lines_.push_back(line);
  }
  lines_.push_back("  Behaviors 1 1");
  lines_.push_back("}");
  return *this;
}

SceneWriter& SceneWriter::Place(float x, float y, float z, float heading, float pitch, float bank, float scale) {
  const float values[9] = {x, y, z, heading, pitch, bank, scale, scale, 1.0f};
  for (int ch = 0; ch < 9; ++ch) Channel(ch, {{values[ch], 0.0f}});
  return *this;
}

SceneWriter& SceneWriter::Pivot(float x, float y, float z) {
  return Line("PivotPosition " + number(x) + " " + number(y) + " " + number(z));
}

SceneWriter& SceneWriter::Camera() { return Line("AddCamera"); }

SceneWriter& SceneWriter::Light(int type, float r, float g, float b, float intensity) {
  Line("AddLight");
  Line("LightType " + std::to_string(type));
  Line("LightColor " + number(r) + " " + number(g) + " " + number(b));
  return Line("LightIntensity " + number(intensity));
}

SceneWriter& SceneWriter::Ambient(float r, float g, float b, float intensity) {
  Line("AmbientColor " + number(r) + " " + number(g) + " " + number(b));
  return Line("AmbientIntensity " + number(intensity));
}

std::string SceneWriter::Text(bool final_break) const {
  std::string text;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    text += lines_[i];
    if (i + 1 < lines_.size() || final_break) text += "\n";
  }
  return text;
}

}  // namespace so3d::test
