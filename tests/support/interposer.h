// Stands between a program and what takes memory or a lock (link with sonx_interposer): counts what
// a thread that mustn't calls, and makes chosen allocations fail.
#pragma once

#include <atomic>

namespace interposer {

// While true, everything that this thread takes or locks is a fault.
inline thread_local bool forbidden = false;
inline std::atomic<int> faults = 0;

// Allocations that still succeed before they fail; negative: none fails. Then fail_one fails one
// and lets later ones succeed, or all fail.
inline std::atomic<long> allocations_left = -1;
inline std::atomic<bool> fail_one = true;
inline std::atomic<bool> has_failed = false;

}  // namespace interposer
