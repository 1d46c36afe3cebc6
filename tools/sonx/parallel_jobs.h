// Several jobs side by side, each in a process of its own: what the effects keep for a whole
// process is fresh for each job, and no job's result depends on how many run.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace sonx {

struct parallel_job {
  int64_t size;  // of its work, for the progress bar
  std::function<void(const std::function<void(int64_t done)>& watch)> run;
};

// Runs them, at most `at_once` at a time. What each says is shown when all before it are through.
// Throws if one fails, after all have ended; its own message has been shown then.
void run_jobs(const std::vector<parallel_job>& jobs, int at_once, const std::string& label);

}  // namespace sonx
