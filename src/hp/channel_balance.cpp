#include "hp/channel_balance.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"

namespace {

// own (1 - ratio) + other ratio, saturated, -1 kept, so that a ratio of 0 changes nothing. The
// other channel is added with two gains, so that each fits in 32 bits for a ratio of 2^31 too.
void cross_mix(const int* own, const int* other, int64_t ratio_q13, int* out, int n) {
  const mix_input three[] = {{own, static_cast<int>(kOneQ13 - ratio_q13)},
                             {other, static_cast<int>(ratio_q13 - 1)},
                             {other, 1}};
  kernels().mix_three_q13(three, out, n);
}

}  // namespace

void channel_balance_init(channel_balance_t* balance) {
  balance->status = 1;
  balance->channel_ration = 0;
  balance->channel_num = 2;
}

void channel_balance_reset(channel_balance_t*) {}

void channel_balance_end(channel_balance_t* balance) { channel_balance_init(balance); }

void channel_balance_setstatus(channel_balance_t* balance, int status) { balance->status = status; }
void channel_balance_getstatus(channel_balance_t* balance, int* status) {
  *status = balance->status;
}

void channel_balance_set_channel_ration(channel_balance_t* balance, int ratio) {
  balance->channel_ration = ratio;
}
void channel_balance_get_channel_ration(channel_balance_t* balance, int* ratio) {
  *ratio = balance->channel_ration;
}

void channel_balance_set_channel_num(channel_balance_t* balance, int channels) {
  balance->channel_num = channels;
}
void channel_balance_get_channel_num(channel_balance_t* balance, int* channels) {
  *channels = balance->channel_num;
}

//   ratio > 0:  left ──► × (1 - ratio) ──► + ──► left        right ──┬──────────► right
//                             Q13          ▲                         │
//                                          └──────── × ratio ◄───────┘
//   ratio < 0:  the same with left and right exchanged and -ratio
void channel_balance_process_stereo(channel_balance_t* balance, int* in_left, int* in_right,
                                    int* out_left, int* out_right, int n) {
  const int ratio = balance->channel_ration;
  for_each_block(n, [=](int64_t start, int count) {
    int left[kBlockFrames], right[kBlockFrames];
    std::copy_n(in_left + start, count, left);
    std::copy_n(in_right + start, count, right);
    if (ratio > 0)
      cross_mix(left, right, ratio, left, count);
    else
      cross_mix(right, left, -int64_t{ratio}, right, count);
    std::copy_n(left, count, out_left + start);
    std::copy_n(right, count, out_right + start);
  });
}

void channel_balance_process_mono(channel_balance_t*, int* in_left, int* in_right, int* out,
                                  int n) {
  for (int i = 0; i < n; ++i) out[i] = wrap_add(in_left[i], in_right[i]) >> 1;
}
