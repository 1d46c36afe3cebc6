// Stages whose modules the library doesn't hold yet: the howling canceller and the noise
// suppressor. Each has its status word, so that settings can be made and read back; neither runs.
#pragma once

struct howlingCancel {
  int status;
};

struct NsxInst_t_ {
  int status;
};
