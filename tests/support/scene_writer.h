#pragma once
// Builds LightWave scene-file text for tests from short descriptions.
//
//   SceneWriter s;
//   s.Object("cube.lwo", 1).Channel(0, {{0, 0}, {2, 1}}).Pivot(1, 2, 3);
//   dir.Write("fx.lws", s.Text());
#include <string>
#include <vector>

namespace so3d::test {

struct SceneKey {
  float value;
  float time;
  int shape = 0;  // scene-file shape number
  float params[6] = {0, 0, 0, 0, 0, 0};
};

class SceneWriter {
 public:
  SceneWriter();
  // A raw line, as written.
  SceneWriter& Line(const std::string& text);
  // LoadObjectLayer and ShowObject lines for one object showing `screen`.
  SceneWriter& Object(const std::string& name, int screen = 0);
  // Channel, Envelope and one Key line per key, in braces as the authoring
  // tool writes them.
  SceneWriter& Channel(int channel, const std::vector<SceneKey>& keys);
  // Keys every channel 0-8 at time 0 to the values of a position,
  // rotation (heading, pitch, bank as in the file) and scale.
  SceneWriter& Place(float x, float y, float z, float heading = 0, float pitch = 0, float bank = 0,
                     float scale = 1);
  SceneWriter& Pivot(float x, float y, float z);
  SceneWriter& Camera();
  SceneWriter& Light(int type, float r, float g, float b, float intensity);
  SceneWriter& Ambient(float r, float g, float b, float intensity);

  // The file text; without the final line break when `final_break` is
  // false (the reader then drops the last line).
  std::string Text(bool final_break = true) const;

 private:
  std::vector<std::string> lines_;
};

}  // namespace so3d::test
