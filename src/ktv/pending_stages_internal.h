// Stages whose modules the library doesn't hold yet: the howling canceller and the noise path with
// its two converters. Each has its status word, so that settings can be made and read back; none of
// them runs.
#pragma once

struct howlingCancel {
  int status;
};

struct NsxInst_t_ {
  int status;
};

struct Resampler_t {};
