// Envelope evaluation, the per-frame hot path: one curve by shape and key
// count, and a whole item of seventeen channels. Reported times are per call.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "scene/so_envelope_eval.h"

namespace {

constexpr std::int32_t shape_numbers[] = {0, 1, 2, 3, 4, 5};  // TCB, BEZI, HERM, LINE, STEP, BEZ2
const char* const shape_names[] = {"TCB", "BEZI", "HERM", "LINE", "STEP", "BEZ2"};

// Times spread over the key range (and a little past it, so the end
// behaviours run too) in an order that keeps the span search guessing.
std::vector<float> probe_times(float last_key_time) {
  std::vector<float> times(1024);
  for (std::size_t i = 0; i < times.size(); ++i) {
    const std::size_t scrambled = (i * 617) % times.size();
    times[i] = -0.05f * last_key_time + 1.1f * last_key_time * static_cast<float>(scrambled) / times.size();
  }
  return times;
}

void BM_evaluate_envelope(benchmark::State& state) {
  const std::int32_t shape = shape_numbers[state.range(0)];
  const auto key_count = static_cast<std::int32_t>(state.range(1));
  so_scene_item item;
  for (std::int32_t k = 0; k < key_count; ++k) {
    // Handles and tension so every shape has real tangent work to do.
    add_envelope_key(item, 0, static_cast<float>((k * 37) % 11), static_cast<float>(k), shape, 0.2f, -0.1f, 0.3f, -0.3f,
                     0.5f, 0);
  }
  item.env[0]->pre = 1;
  item.env[0]->post = 1;
  const so_envelope* env = item.env[0].get();
  const std::vector<float> times = probe_times(static_cast<float>(key_count - 1));
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(evaluate_envelope(env, times[i]));
    i = (i + 1) & (times.size() - 1);
  }
  state.SetLabel(shape_names[state.range(0)]);
}
BENCHMARK(BM_evaluate_envelope)->ArgsProduct({{0, 1, 2, 3, 4, 5}, {2, 16, 256}});

// An object as a scene file leaves it: seventeen channels of two TCB keys.
void BM_evaluate_item(benchmark::State& state) {
  so_scene_item item;
  for (std::int32_t ch = 0; ch < so_channel_count; ++ch) {
    add_envelope_key(item, ch, 0.0f, 0.0f, 0, 0, 0, 0, 0, 0, 0);
    add_envelope_key(item, ch, static_cast<float>(ch + 1), 2.0f, 0, 0, 0, 0, 0, 0, 0);
  }
  const std::vector<float> times = probe_times(2.0f);
  so_vectors out;
  std::size_t i = 0;
  for (auto _ : state) {
    evaluate_item(item, times[i], out);
    benchmark::DoNotOptimize(out);
    i = (i + 1) & (times.size() - 1);
  }
}
BENCHMARK(BM_evaluate_item);

}  // namespace
