#include "ktv/resampler.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <numeric>

#include "ktv/memory.h"
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
            auto* state = allocate<State>();
            if (state != nullptr) reset(state);
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
constexpr int kWordsOnStack = 1024;  // of a call's temporaries

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

// Whether there was memory for the stage's state.
bool take_state(void*& state, stage s) {
  state = nullptr;
  if (s == kNone) return true;
  state = s == kUp || s == kDown ? allocate<int>(tekaSpl_kBy2StateWords) : kKernels[s].make_state();
  return state != nullptr;
}

int scratch_words(stage s) { return s < kUp ? kKernels[s].scratch_words : 0; }

int64_t length_after(stage s, int64_t n) {
  if (s == kUp) return 2 * n;
  if (s == kDown) return n / 2;
  return n / kKernels[s].block_in * kKernels[s].block_out;
}

// n samples through one stage; in and out do not overlap. A kernel's n is a multiple of its block,
// and its scratch area has the words that it needs.
void run_stage(stage s, void* state, const short* in, int n, short* out, int* scratch) {
  if (s == kUp) return tekaSpl_UpsampleBy2(in, n, out, static_cast<int*>(state));
  if (s == kDown) return tekaSpl_DownsampleBy2(in, n, out, static_cast<int*>(state));
  const kernel& k = kKernels[s];
  for (; n > 0; n -= k.block_in, in += k.block_in, out += k.block_out)
    k.run(in, out, state, scratch);
}

bool is_last(const cascade& c, int i) { return i + 1 == kMostStages || c.stages[i + 1] == kNone; }

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
    bool whole = take_state(resampler->state1, c.stages[0]);
    whole &= take_state(resampler->state2, c.stages[1]);
    whole &= take_state(resampler->state3, c.stages[2]);
    if (whole) continue;
    Resampler_delete(resampler);
    resampler->state1 = resampler->state2 = resampler->state3 = nullptr;
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

  // All temporaries in one: a kernel's scratch area, then the input or what lies between the stages.
  const bool holds = c.stages[1] == kNone && overlap(in, in_len, out, static_cast<int>(made));
  int scratch = 0;
  int64_t n = in_len, held = holds ? n : 0;
  for (int i = 0; i < kMostStages && c.stages[i] != kNone; ++i) {
    n = length_after(c.stages[i], n);
    if (n > INT32_MAX) return -1;
    if (!is_last(c, i)) held += n;
    scratch = std::max(scratch, scratch_words(c.stages[i]));
  }
  const int64_t words = scratch + (held + 1) / 2;
  int on_stack[kWordsOnStack], *taken = nullptr;
  if (!has_memory(resampler) || (words > kWordsOnStack && !take(taken, words))) return -1;
  int* const work = taken != nullptr ? taken : on_stack;

  auto* next = reinterpret_cast<short*>(work + scratch);
  if (holds)
    in = static_cast<short*>(std::memcpy(next, in, sizeof(short) * static_cast<size_t>(in_len)));
  void* states[] = {resampler->state1, resampler->state2, resampler->state3};
  int result = 0, length = in_len;
  for (int i = 0; i < kMostStages && c.stages[i] != kNone && result == 0; ++i) {
    if (is_last(c, i)) next = out;
    run_stage(c.stages[i], states[i], in, length, next, work);
    length = static_cast<int>(length_after(c.stages[i], length));
    in = next;
    next += length;
    if (in_len % c.block != 0) result = -1;  // the late rule
  }
  release(taken);
  if (result == 0) *out_len = length;
  return result;
}

void Resampler_delete(Resampler_t* resampler) {
  for (void* owned : {resampler->state1, resampler->state2, resampler->state3, resampler->reserved1,
                      resampler->reserved2})
    std::free(owned);
}
