#include "hp/channel_balance.h"

#include "dsp/fixed.h"

namespace {

constexpr int kUnity = 8192;  // Q13

// own (1 - ratio) + other ratio, ratio in Q13; no rule for -1 here, a ratio of 0 changes nothing.
inline int cross_mix(int own, int other, int64_t ratio) {
  return saturate32(wrap_add64(own * (kUnity - ratio), other * ratio) >> 13);
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
//                                          ▲                         │
//                                          └──────── × ratio ◄───────┘
//   ratio < 0:  the same with the channels' roles changed and -ratio
void channel_balance_process_stereo(channel_balance_t* balance, int* in_left, int* in_right,
                                    int* out_left, int* out_right, int n) {
  const int ratio = balance->channel_ration;
  for (int i = 0; i < n; ++i) {
    const int left = in_left[i], right = in_right[i];
    out_left[i] = ratio > 0 ? cross_mix(left, right, ratio) : left;
    out_right[i] = ratio > 0 ? right : cross_mix(right, left, -int64_t{ratio});
  }
}

void channel_balance_process_mono(channel_balance_t*, int* in_left, int* in_right, int* out,
                                  int n) {
  for (int i = 0; i < n; ++i) out[i] = wrap_add(in_left[i], in_right[i]) >> 1;
}
