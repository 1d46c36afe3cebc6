// Runs a fuzzer's target over the files of a folder, once each, without a fuzzer: a regression test
// for any compiler and processor.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static bool finished = false;

int main(int argc, char** argv) {
  // A library that ends the process must not pass for one that took every file.
  std::atexit([] {
    if (!finished) std::_Exit(1);
  });
  int taken = 0;
  for (int i = 1; i < argc; ++i)
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
      std::printf("%s\n", entry.path().filename().c_str());
      std::fflush(stdout);  // the last line says which one ended the process
      const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
      taken += LLVMFuzzerTestOneInput(data, bytes.size()) == 0;
    }
  std::printf("%d inputs\n", taken);
  finished = true;
  return taken > 0 ? 0 : 1;
}
