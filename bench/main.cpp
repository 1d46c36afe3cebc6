// Runs the benchmarks and prints x_realtime as a plain number: the library divides a rate counter
// by the elapsed time, as wanted, but would put "/s" behind it.
#include <benchmark/benchmark.h>

#include <memory>
#include <utility>
#include <vector>

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
  plain_multiples reporter(benchmark::CreateDefaultDisplayReporter());
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
