// Proves that run takes no memory, no lock and no system call, in every plugin: ports jump from block
// to block, and the rack's plugin is told to load a preset in each, which a worker's thread does.
//   lv2_real_time                       ends with 0 if run does nothing of the kind
//   lv2_real_time memory, lock or call  as if it did such a thing: ends with 1
#include <cstring>

#include "host.h"
#include "support/watched_thread.h"

namespace {

constexpr int kLongest = 700;

// A worker with room for one job and one answer.
struct one_job {
  char job[4096], answer[4096];
  std::atomic<uint32_t> job_size = 0, answer_size = 0;

  LV2_Worker_Schedule schedule{this, [](void* data, uint32_t size, const void* what) {
                                 auto& its = *static_cast<one_job*>(data);
                                 if (its.job_size != 0) return LV2_WORKER_ERR_NO_SPACE;
                                 std::memcpy(its.job, what, size);
                                 its.job_size = size;
                                 return LV2_WORKER_SUCCESS;
                               }};
  const LV2_Feature feature{LV2_WORKER__schedule, &schedule};

  static LV2_Worker_Status respond(void* data, uint32_t size, const void* what) {
    auto& its = *static_cast<one_job*>(data);
    std::memcpy(its.answer, what, size);
    its.answer_size = size;
    return LV2_WORKER_SUCCESS;
  }
};

int rate_of(const sonx_effect* effect) {
  return effect == nullptr ? 48000 : effect->rates[effect->rate_count - 1];
}

int child(const sonx_effect* effect, const std::string& misdeed) {
  test_host host;
  one_job worker;
  host.features[2] = &worker.feature;
  plugin tested(host, effect, rate_of(effect));
  if (tested.handle == nullptr) return 2;
  if (effect == nullptr) tested.send(SONX_SOURCE_DIR "/presets/late-evening.toml");
  const auto* const work =
      effect == nullptr ? &tested.extension<LV2_Worker_Interface>(LV2_WORKER__interface) : nullptr;

  std::vector<float> left(kLongest), right(kLongest);
  float* const buffers[] = {left.data(), right.data()};
  tested.connect_audio(buffers, buffers);
  unsigned noise = 1;
  std::atomic<int> answers = 0;
  watched_thread audio(
      [&](int block) {
        for (std::vector<float>* side : {&left, &right})
          for (float& sample : *side)
            sample =
                static_cast<float>(static_cast<int32_t>(noise = noise * 1664525u + 1)) * 0x1p-31f;
        if (const size_t ports = tested.controls.size(); ports != 0 && block % 4 == 0) {
          const auto k = static_cast<size_t>(block / 4) % ports;
          const sonx_parameter& parameter = effect->parameters[k];
          float& port = tested.controls[k];
          port =
              static_cast<float>(port == parameter.maximum ? parameter.minimum : parameter.maximum);
        }
        tested.enabled = block % 100 < 90 ? 1 : 0;
        if (block == 300) tested.descriptor->activate(tested.handle);
        tested.run(block * 37 % kLongest);
        if (worker.answer_size == 0) return;
        work->work_response(tested.handle, worker.answer_size, worker.answer);
        worker.answer_size = 0;
        ++answers;
      },
      misdeed);
  if (work == nullptr) {
    audio.wait(600 + 10 * static_cast<int>(tested.controls.size()));
  } else {
    while (answers < 200) {
      if (worker.job_size == 0 || worker.answer_size != 0) continue;
      work->work(tested.handle, one_job::respond, &worker, worker.job_size, worker.job);
      worker.job_size = 0;
    }
  }
  return audio.finish() == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** words) {
  const std::string misdeed = count > 1 ? words[1] : "";
  const auto effect = [](int k) { return sonx_effect_at(k); };  // beyond the last: null, the rack
  return run_in_processes(
      misdeed.empty() ? sonx_effect_count() + 1 : 1,
      [&](int k) { return std::string(effect(k) ? effect(k)->id : "rack"); },
      [&](int k) { return child(effect(k), misdeed); });
}
