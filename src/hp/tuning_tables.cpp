#include "hp/tuning_tables.h"

namespace tuning {

const int kParametricPreset[2][10][6] = {
#include "hp/parametric_presets.inc"
};

// The rows that are left out are zero.
const int kAdapterCorrection[4][7][123] = {
#include "hp/adapter_corrections.inc"
};

// A second-order Butterworth low-pass at 500 Hz (within a few units of Q28) for 44100 and 48000 Hz;
// the higher rates have the 48000 Hz row, and so a corner two and four times as high.
const int kVirtualBassRow[4][10] = {
    {0, 8192, 4096, 6144, 8192, 324108, 648216, 324108, 509844742, -242705718},
    {0, 8192, 4096, 6144, 8192, 274666, 549332, 274666, 512037650, -244700858},
    {0, 8192, 4096, 6144, 8192, 274666, 549332, 274666, 512037650, -244700858},
    {0, 8192, 4096, 6144, 8192, 274666, 549332, 274666, 512037650, -244700858},
};

}  // namespace tuning
