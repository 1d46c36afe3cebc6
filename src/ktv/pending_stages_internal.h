// The stage whose module the library doesn't hold yet: the noise suppressor. It has its status
// word, so that it can be set and read back; it doesn't run.
#pragma once

struct NsxInst_t_ {
  int status;
};
