// The karaoke chain's way through the noise suppressor, which runs at 32000 Hz on 16-bit samples.
#pragma once

#include "ktv/teka_audio_tx_ktv.h"

// n voice samples (24 bits) in place. work has room for 160 16-bit samples, a frame of the
// suppressor, and for n; n is meant to be 240, which makes one frame.
void noise_path(teka_audio_tx_ktv_t* chain, int* voice, short* work, int n);
