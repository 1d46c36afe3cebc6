// Runs the benchmarks and prints x_realtime as a plain number: the library divides a rate counter
// by the elapsed time, as wanted, but would put "/s" behind it. The environment variable
// SONX_KERNELS names the block kernels that run; without it, the processor's best.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "dsp/kernels/kernels.h"

namespace {

// The reporter that the command line asks for, behind a change of the counter's flags. The counters
// are finished by the time they get here: the flags only choose how they print.
class plain_multiples : public benchmark::BenchmarkReporter {
 public:
  explicit plain_multiples(BenchmarkReporter* reporter) : reporter_(reporter) {}

  bool ReportContext(const Context& context) override { return reporter_->ReportContext(context); }

  void ReportRuns(const std::vector<Run>& report) override {
    std::vector<Run> runs = report;
    for (Run& run : runs) {
      const auto multiple = run.counters.find("x_realtime");
      if (multiple != run.counters.end()) multiple->second.flags = benchmark::Counter::kDefaults;
    }
    reporter_->ReportRuns(runs);
  }

  void Finalize() override { reporter_->Finalize(); }

 private:
  std::unique_ptr<BenchmarkReporter> reporter_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  const char* name = std::getenv("SONX_KERNELS");
  if (name != nullptr && !select_kernels(name)) {
    std::fprintf(stderr, "SONX_KERNELS: no kernels called %s here\n", name);
    return 1;
  }
  benchmark::AddCustomContext("kernels", kernels().name);
  plain_multiples reporter(benchmark::CreateDefaultDisplayReporter());
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
