// so3d-render as a whole process, against its own render loop in the same
// run: the loop alone (frames read back and thrown away), PNG frames, video
// out, video streams in, and a live pipe from two ffmpeg test sources to an
// ffmpeg consumer against the same pipes without so3d-render. Each reports
// frames per second and its share of the anchor.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

const fs::path& scratch() {
  static const fs::path dir = [] {
    auto d = fs::temp_directory_path() / ("so3d-pipeline-bench-" + std::to_string(::getpid()));
    fs::create_directories(d);
    return d;
  }();
  return dir;
}

const std::string effect = std::string(SO3D_DEMO_EFFECT) + "/flat.lws " + SO3D_DEMO_EFFECT + "/card.lws";

// Seconds the shell command took; negative when it failed.
double run(const std::string& command) {
  const auto start = std::chrono::steady_clock::now();
  const int status = std::system(("{ " + command + "; } >/dev/null 2>&1").c_str());
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  return status == 0 ? took.count() : -1.0;
}

std::string render(const std::string& size, int frames, const std::string& rest) {
  return std::string(SO3D_RENDER) + " --size " + size + " --frames " + std::to_string(frames) + " " + rest + " " +
         effect;
}

// A YUV4MPEG2 file of `frames` 4:2:0 frames of a moving gradient.
std::string y4m_file(const std::string& name, unsigned w, unsigned h, int frames) {
  const fs::path path = scratch() / name;
  std::ofstream out(path, std::ios::binary);
  out << "YUV4MPEG2 W" << w << " H" << h << " F25:1 Ip C420jpeg\n";
  std::string frame(std::size_t(w) * h * 3 / 2, '\x80');
  for (int f = 0; f < frames; ++f) {
    for (std::size_t i = 0; i < std::size_t(w) * h; ++i) frame[i] = char(16 + (i % w + std::size_t(f) * 4) % 220);
    out << "FRAME\n" << frame;
  }
  return path.string();
}

// The subject against the anchor: both timed, the anchor first.
void compare(benchmark::State& state, int frames, const std::string& anchor, const std::string& subject) {
  double anchor_s = 0, subject_s = 0;
  for (auto _ : state) {
    anchor_s = run(anchor);
    subject_s = run(subject);
    state.SetIterationTime(subject_s);
  }
  if (anchor_s <= 0 || subject_s <= 0) return state.SkipWithError("a command failed");
  state.counters["anchor_fps"] = frames / anchor_s;
  state.counters["fps"] = frames / subject_s;
  state.counters["of_anchor"] = anchor_s / subject_s;
}

const std::string loop = "--video /dev/null --video-format rgba";

void BM_PngSequence(benchmark::State& state) {
  const int frames = 200;
  const fs::path out = scratch() / "png";
  compare(state, frames, render("720x480", frames, loop),
          "rm -rf " + out.string() + " && " + render("720x480", frames, "--out " + out.string()));
}

void BM_VideoOut(benchmark::State& state) {
  const int frames = 200;
  compare(state, frames, render("1280x720", frames, loop), render("1280x720", frames, "--video /dev/null"));
}

void BM_VideoStreamsIn(benchmark::State& state) {
  const int frames = 100;
  const std::string a = y4m_file("a.y4m", 1280, 720, frames), b = y4m_file("b.y4m", 1280, 720, frames);
  compare(state, frames, render("1280x720", frames, loop),
          render("1280x720", frames, loop + " --stream 0=y4m:" + a + " --stream 1=y4m:" + b));
}

// Two ffmpeg test sources into named pipes, so3d-render, ffmpeg consuming;
// the anchor pipes the same sources through a plain copy instead.
void BM_LivePipe(benchmark::State& state) {
  if (std::system("command -v ffmpeg >/dev/null 2>&1") != 0) return state.SkipWithError("no ffmpeg");
  const unsigned w = unsigned(state.range(0)), h = w * 9 / 16;
  const int frames = 240;
  const std::string size = std::to_string(w) + "x" + std::to_string(h), d = scratch().string();
  const std::string source = "ffmpeg -loglevel error -f lavfi -i testsrc2=size=" + size + ":rate=60 -frames:v " +
                             std::to_string(frames) + " -f yuv4mpegpipe -pix_fmt yuv420p -y ";
  const std::string sink = " | ffmpeg -loglevel error -f yuv4mpegpipe -i - -f null -";
  const std::string fifos =
      "rm -f " + d + "/a " + d + "/b; mkfifo " + d + "/a " + d + "/b; " + source + d + "/a & " + source + d + "/b & ";
  compare(state, frames, fifos + "(cat " + d + "/b >/dev/null &) ; cat " + d + "/a" + sink,
          fifos + std::string(SO3D_RENDER) + " --size " + size + " --duration 4 --rate 60 --stream 0=y4m:" + d +
              "/a --stream 1=y4m:" + d + "/b --video - " + effect + sink);
}

BENCHMARK(BM_PngSequence)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
BENCHMARK(BM_VideoOut)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
BENCHMARK(BM_VideoStreamsIn)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
BENCHMARK(BM_LivePipe)->Arg(1280)->Arg(1920)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

}  // namespace
