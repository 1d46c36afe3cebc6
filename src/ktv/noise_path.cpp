#include "ktv/noise_path_internal.h"

#include "fixed.h"
#include "ns/noise_suppressor.h"

//   voice ─► / 256, saturate ─► 48 to 32 kHz ─► high-pass ─► suppressor ─► 32 to 48 kHz ─► × 256
//     24 bits                16 bits                                                        24 bits
void noise_path(teka_audio_tx_ktv_t* chain, int* voice, short* work, int n) {
  int count = 0;  // samples at 32 kHz; a length that can't be converted makes none
  for (int i = 0; i < n; ++i) work[i] = saturate16(voice[i] >> 8);
  Resampler_proc(chain->resampler_down, work, n, work, n, &count);
  for (int i = 0; i < count; ++i) IIR_process_16(chain->hpf, &work[i], &work[i]);
  tekaNs_ProcessCore(chain->ns, work, work);
  Resampler_proc(chain->resampler_up, work, count, work, n, &count);
  for (int i = 0; i < n; ++i) voice[i] = work[i] * 256;
}
