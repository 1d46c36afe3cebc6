// The gains of prior source 2.
#pragma once

#include "ns/noise_suppressor.h"
#include "ns/noise_tracker.h"

void set_presence_gains(NsxInst_t_* ns, const noise_view& view);
