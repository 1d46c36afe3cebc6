// The gramophone's shaping over a block.
#pragma once

// overdrive_step, then bit_shift_step; out may be in; n < 1 does nothing.
void shape_block(const int* in, int* out, int n);

// The variants.
void shape_block_portable(const int* in, int* out, int n);
void shape_block_avx2(const int* in, int* out, int n);
void shape_block_neon(const int* in, int* out, int n);
