// Runs a fuzzer's target over the files of a folder, once each, without a fuzzer: a regression test
// for any compiler and processor.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  int count = 0;
  for (int i = 1; i < argc; ++i)
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
      std::printf("%s\n", entry.path().filename().c_str());
      std::fflush(stdout);  // the last line says which one ended the process
      LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
      ++count;
    }
  std::printf("%d inputs\n", count);
  return count > 0 ? 0 : 1;
}
