// The library's log lines: this program defines the function that receives them.
#pragma once

namespace sonx {

// From now on debug lines are shown too, not only warnings.
void show_debug_log();

}  // namespace sonx
