#include "ktv/teka_audio_tx_ktv.h"

#include <algorithm>
#include <cstring>

#include "dsp/block.h"
#include "dsp/sample_formats.h"
#include "fixed.h"
#include "ktv/memory.h"
#include "ktv/noise_path_internal.h"
#include "ns/noise_suppressor.h"

namespace {

constexpr int kVoiceRate = 48000;    // Hz
constexpr int kNoiseRate = 32000;    // Hz, of the noise suppressor
constexpr int kNoisePolicy = 3;      // the strongest
constexpr int kNoHistoryBlocks = 0;  // the compressor runs without look-ahead

}  // namespace

void teka_audio_tx_ktv_init(teka_audio_tx_ktv_t* chain) {
  chain->volume = kOneQ13;
  chain->sample_rate = SAMPLE_RATE_48000;
  bool whole = make(chain->eq, equalizer_init);
  whole &= make(chain->reverb, reverb_init);
  whole &= make(chain->howling, howling_canceling_init);
  whole &= make(chain->compressor, compressor_init, kOneQ13, kNoHistoryBlocks);
  whole &= make(chain->iirecho, iirecho_init);
  whole &= make(chain->gramophone, gramophone_init);
  whole &= make(chain->ns, tekaNs_InitCore, static_cast<unsigned>(kNoiseRate));
  whole &= make(chain->hpf, IIR_init, kFilterCoefficients);
  whole &= make(chain->resampler_down, Resampler_config, kVoiceRate, kNoiseRate);
  whole &= make(chain->resampler_up, Resampler_config, kNoiseRate, kVoiceRate);
  whole &= take(chain->buf_left, kBlockFrames);
  whole &= take(chain->buf_right, kBlockFrames);
  if (!whole) return teka_audio_tx_ktv_end(chain);
  compressor_set_sample_rate(chain->compressor, chain->sample_rate);
  tekaNs_set_policy_core(chain->ns, kNoisePolicy);
}

void teka_audio_tx_ktv_end(teka_audio_tx_ktv_t* chain) {
  end_and_release(chain->eq, equalizer_end);
  end_and_release(chain->reverb, reverb_end);
  end_and_release(chain->howling, howling_canceling_end);
  end_and_release(chain->compressor, compressor_end);
  end_and_release(chain->iirecho, iirecho_end);
  end_and_release(chain->gramophone, gramophone_end);
  end_and_release(chain->ns, tekaNs_FreeCore);
  end_and_release(chain->resampler_down, Resampler_delete);
  end_and_release(chain->resampler_up, Resampler_delete);
  end_and_release(chain->hpf, IIR_end);
  release(chain->buf_left);
  release(chain->buf_right);
}

void teka_audio_tx_ktv_set_sample_rate(teka_audio_tx_ktv_t* chain, unsigned int rate) {
  chain->sample_rate = sample_rate_type(rate);
  on(chain->compressor, compressor_set_sample_rate, chain->sample_rate);
  on(chain->hpf, IIR_reinit, kFilterCoefficients);
}

void teka_audio_tx_ktv_copy_left_to_right(int* left, int* right, int n) {
  if (n > 0) std::memmove(right, left, static_cast<size_t>(n) * sizeof *left);
}

void teka_audio_tx_ktv_core_process(teka_audio_tx_ktv_t* chain, int* left, int* right, int n) {
  if (!has_memory(chain)) return teka_audio_tx_ktv_copy_left_to_right(left, right, n);
  // The interface has the noise path built and settable, but switched off by every call: what
  // noise_canceling_setstatus asked for is reported until here, and the path never runs.
  tekaNs_canceling_setstatus(chain->ns, 0);
  if (chain->ns->status) noise_path(chain, left, reinterpret_cast<short*>(right), n);
  if (chain->howling->status) howling_canceling_process(chain->howling, left, left, n);
  if (chain->gramophone->status) gramophone_process(chain->gramophone, left, left, n);
  if (chain->eq->status) equalizer_process_mono(chain->eq, left, left, n);
  teka_audio_tx_ktv_copy_left_to_right(left, right, n);
  if (chain->reverb->status)
    reverb_process_stereo_24(chain->reverb, left, right, left, right,
                             static_cast<unsigned int>(std::max(n, 0)));
  if (chain->iirecho->status) iirecho_processStereo(chain->iirecho, left, right, left, right, n);
  if (chain->compressor->status) compressor_process(chain->compressor, left, right, left, right, n);
}

namespace {

// Any sample format through the work buffers. read(word) gives a 24-bit sample, write(sample) the
// output's word; it may change the sample in the work buffer.
template <typename Word, typename Read, typename Write>
void process_words(teka_audio_tx_ktv_t* chain, const Word* in, Word* out_left, Word* out_right,
                   int n, Read read, Write write) {
  if (!has_memory(chain)) return pass(in, in, out_left, out_right, n);
  int *left = chain->buf_left, *right = chain->buf_right;
  for_each_block_or_empty(n, [=](int start, int count) {
    for (int i = 0; i < count; ++i) left[i] = read(in[start + i]);
    teka_audio_tx_ktv_core_process(chain, left, right, count);
    for (int i = 0; i < count; ++i) out_left[start + i] = write(left[i]);
    for (int i = 0; i < count; ++i) out_right[start + i] = write(right[i]);
  });
}

}  // namespace

void teka_audio_tx_ktv_process_16(teka_audio_tx_ktv_t* chain, void* in, void* out_left,
                                  void* out_right, int n) {
  process_words(chain, static_cast<const short*>(in), static_cast<short*>(out_left),
                static_cast<short*>(out_right), n, from_16_bit,
                [](int& sample) { return to_16_bit(sample); });
}

void teka_audio_tx_ktv_process_24(teka_audio_tx_ktv_t* chain, void* in, void* out_left,
                                  void* out_right, int n) {
  process_words(chain, static_cast<const int*>(in), static_cast<int*>(out_left),
                static_cast<int*>(out_right), n, from_28_bit, to_28_bit);
}

void teka_audio_tx_ktv_process(teka_audio_tx_ktv_t* chain, int bit_width, void* in, void* out_left,
                               void* out_right, int n) {
  if (bit_width == 16)
    teka_audio_tx_ktv_process_16(chain, in, out_left, out_right, n);
  else
    teka_audio_tx_ktv_process_24(chain, in, out_left, out_right, n);
}
