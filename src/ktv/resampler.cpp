#include "ktv/resampler.h"

#include <cstdint>
#include <iterator>
#include <numeric>

#include "allocation.h"
#include "spl/by_two.h"
#include "spl/resample.h"
#include "spl/vectors.h"

namespace {

// A fixed-ratio kernel behind one signature.
struct kernel {
  int block_in, block_out, scratch_words;
  void* (*make_state)();
  void (*run)(const short* in, short* out, void* state, void* scratch);
};

template <typename State, void (*reset)(State*),
          void (*resample)(const short*, short*, State*, void*)>
constexpr kernel make_kernel(int block_in, int block_out, int scratch_words) {
  return {block_in, block_out, scratch_words,
          []() -> void* {
            State* state = allocate<State>();
            reset(state);
            return state;
          },
          [](const short* in, short* out, void* state, void* scratch) {
            resample(in, out, static_cast<State*>(state), scratch);
          }};
}

// A stage of a cascade: nothing, a by-two sampler, or a kernel (the index into kKernels).
enum stage { k16to48, k48to16, k8to22, k16to22, k22to16, k22to8, kUp, kDown, kNone };

constexpr kernel kKernels[] = {
    make_kernel<tekaSpl_State16khzTo48khz, tekaSpl_ResetResample16khzTo48khz,
                tekaSpl_Resample16khzTo48khz>(160, 480, tekaSpl_kScratch16khzTo48khz),
    make_kernel<tekaSpl_State48khzTo16khz, tekaSpl_ResetResample48khzTo16khz,
                tekaSpl_Resample48khzTo16khz>(480, 160, tekaSpl_kScratch48khzTo16khz),
    make_kernel<tekaSpl_State8khzTo22khz, tekaSpl_ResetResample8khzTo22khz,
                tekaSpl_Resample8khzTo22khz>(80, 220, tekaSpl_kScratch8khzTo22khz),
    make_kernel<tekaSpl_State16khzTo22khz, tekaSpl_ResetResample16khzTo22khz,
                tekaSpl_Resample16khzTo22khz>(160, 220, tekaSpl_kScratch16khzTo22khz),
    make_kernel<tekaSpl_State22khzTo16khz, tekaSpl_ResetResample22khzTo16khz,
                tekaSpl_Resample22khzTo16khz>(220, 160, tekaSpl_kScratch22khzTo16khz),
    make_kernel<tekaSpl_State22khzTo8khz, tekaSpl_ResetResample22khzTo8khz,
                tekaSpl_Resample22khzTo8khz>(220, 80, tekaSpl_kScratch22khzTo8khz)};

constexpr int kMostStages = 3;

struct cascade {
  int in, out;  // the reduced ratio
  int block;    // input lengths are multiples of it
  stage stages[kMostStages];
};

constexpr cascade kModes[] = {
    {1, 1, 1, {kNone, kNone, kNone}},       // 0
    {1, 2, 1, {kUp, kNone, kNone}},         // 1
    {1, 3, 160, {k16to48, kNone, kNone}},   // 2
    {1, 4, 1, {kUp, kUp, kNone}},           // 3
    {1, 6, 80, {kUp, k16to48, kNone}},      // 4
    {1, 12, 40, {kUp, kUp, k16to48}},       // 5
    {2, 3, 160, {k16to48, kDown, kNone}},   // 6
    {2, 11, 80, {kUp, k8to22, kNone}},      // 7
    {4, 11, 80, {k8to22, kNone, kNone}},    // 8
    {8, 11, 160, {k16to22, kNone, kNone}},  // 9
    {11, 16, 110, {kUp, k22to16, kNone}},   // 10
    {11, 32, 110, {kUp, k22to16, kUp}},     // 11
    {2, 1, 1, {kDown, kNone, kNone}},       // 12
    {3, 1, 480, {k48to16, kNone, kNone}},   // 13
    {4, 1, 1, {kDown, kDown, kNone}},       // 14
    {6, 1, 480, {k48to16, kDown, kNone}},   // 15
    {12, 1, 480, {k48to16, kDown, kDown}},  // 16
    {3, 2, 240, {kUp, k48to16, kNone}},     // 17
    {11, 2, 220, {k22to8, kDown, kNone}},   // 18
    {11, 4, 220, {k22to8, kNone, kNone}},   // 19
    {11, 8, 220, {k22to16, kNone, kNone}},  // 20
};
constexpr int kCopy = 0;
constexpr int kLateRule = 17;  // the mode whose block rule comes after the first stage

void* make_state(stage s) {
  if (s == kNone) return nullptr;
  return s == kUp || s == kDown ? allocate<int>(tekaSpl_kBy2StateWords) : kKernels[s].make_state();
}

int64_t length_after(stage s, int64_t n) {
  if (s == kUp) return 2 * n;
  if (s == kDown) return n / 2;
  return n / kKernels[s].block_in * kKernels[s].block_out;
}

// n samples through one stage; in and out do not overlap. A kernel's n is a multiple of its block.
void run_stage(stage s, void* state, const short* in, int n, short* out) {
  if (s == kUp) return tekaSpl_UpsampleBy2(in, n, out, static_cast<int*>(state));
  if (s == kDown) return tekaSpl_DownsampleBy2(in, n, out, static_cast<int*>(state));
  const kernel& k = kKernels[s];
  int* scratch = allocate<int>(k.scratch_words);
  for (; n > 0; n -= k.block_in, in += k.block_in, out += k.block_out)
    k.run(in, out, state, scratch);
  release(scratch);
}

bool overlap(const short* a, int a_length, const short* b, int b_length) {
  const auto first = reinterpret_cast<uintptr_t>(a), second = reinterpret_cast<uintptr_t>(b);
  return first < second + sizeof(short) * static_cast<size_t>(b_length) &&
         second < first + sizeof(short) * static_cast<size_t>(a_length);
}

}  // namespace

void Resampler_init(Resampler_t* resampler) { *resampler = {}; }

void Resampler_config(Resampler_t* resampler, int in_rate, int out_rate) {
  *resampler = {};
  resampler->in_khz = in_rate / 1000;
  resampler->out_khz = out_rate / 1000;
  if (in_rate < 1 || out_rate < 1) return;
  const int divisor = std::gcd(in_rate, out_rate);
  for (int mode = 0; mode < static_cast<int>(std::size(kModes)); ++mode) {
    const cascade& c = kModes[mode];
    if (c.in != in_rate / divisor || c.out != out_rate / divisor) continue;
    resampler->mode = mode;
    resampler->state1 = make_state(c.stages[0]);
    resampler->state2 = make_state(c.stages[1]);
    resampler->state3 = make_state(c.stages[2]);
  }
}

//   in ─(copy, where a single stage would write over it)─► stage 1 ─► stage 2 ─► stage 3 ─► out
//
// Signals between stages are 16-bit temporaries; the last stage writes to out. Stages of two and
// more read the whole input before the first sample of out is written.
int Resampler_proc(Resampler_t* resampler, const short* in, int in_len, short* out, int out_max,
                   int* out_len) {
  const int mode = resampler->mode;
  if (mode < 0 || mode >= static_cast<int>(std::size(kModes))) return 0;
  const cascade& c = kModes[mode];
  const int64_t made = int64_t{in_len} * c.out / c.in;
  if (in_len < 0 || made > out_max) return -1;
  if (in_len % c.block != 0 && mode != kLateRule) return -1;

  if (mode == kCopy) {
    tekaSpl_Copy16(in, out, in_len);
    *out_len = in_len;
    return 0;
  }

  void* states[] = {resampler->state1, resampler->state2, resampler->state3};
  short* held = nullptr;  // what the current stage reads, if it's a temporary
  const bool single = c.stages[1] == kNone;
  if (single && overlap(in, in_len, out, static_cast<int>(made))) {
    held = allocate<short>(in_len);
    tekaSpl_Copy16(in, held, in_len);
    in = held;
  }
  int n = in_len;
  for (int i = 0; i < kMostStages && c.stages[i] != kNone; ++i) {
    if (i > 0 && in_len % c.block != 0) {  // the late rule
      release(held);
      return -1;
    }
    const bool last = i + 1 == kMostStages || c.stages[i + 1] == kNone;
    const int64_t next_n = length_after(c.stages[i], n);
    if (next_n > INT32_MAX) return -1;  // only a first stage gets there, with nothing held
    short* next = last ? nullptr : allocate<short>(static_cast<int>(next_n));
    run_stage(c.stages[i], states[i], in, n, last ? out : next);
    release(held);
    in = held = next;
    n = static_cast<int>(next_n);
  }
  *out_len = n;
  return 0;
}

void Resampler_delete(Resampler_t* resampler) {
  for (void* owned : {resampler->state1, resampler->state2, resampler->state3, resampler->reserved1,
                      resampler->reserved2})
    std::free(owned);
}
