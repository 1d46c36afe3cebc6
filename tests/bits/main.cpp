// The lock on the bits: runs everything that the library exports over seeded settings, signals and
// blocks, and reduces what comes out to a hash per module and sample width.
//
//   sonx_bits          prints the lines of tests/bits.txt
//   sonx_bits FILE     compares with them; names each module that differs, and its first setting
//
// A line is: name, settings, hash, a two-digit checksum of each setting, what it covers.
// SONX_KERNELS=portable in the environment runs the portable kernels.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>

#include "bits/subjects.h"
#include "dsp/kernels/kernels.h"

// The library's debug lines are not what this is about.
extern "C" int __android_log_print(int, const char*, const char*, ...) { return 0; }

namespace {

bool finished = false;

struct result {
  uint64_t hash = 0;
  std::string checksums;
};

result run(const subject& s) {
  constexpr char kDigits[] = "0123456789abcdef";
  result r;
  for (unsigned i = 0; i < s.trials; ++i) {
    trial t(i, s.frames);
    s.run(t);
    r.hash = std::rotl(r.hash, 7) ^ t.hash();
    r.checksums += {kDigits[t.hash() >> 4 & 15], kDigits[t.hash() & 15]};
  }
  return r;
}

std::string line(const subject& s, const result& r) {
  char head[64];
  std::snprintf(head, sizeof head, "%s %u %016llx ", s.name, s.trials,
                static_cast<unsigned long long>(r.hash));
  return head + r.checksums + " " + s.what;
}

// The first setting whose checksum isn't the one that the line holds.
std::string first_difference(const subject& s, const result& r, const std::string& expected) {
  std::istringstream words(expected);
  std::string name, trials, hash, checksums;
  words >> name >> trials >> hash >> checksums;
  for (unsigned i = 0; i < s.trials; ++i)
    if (checksums.compare(2 * i, 2, r.checksums, 2 * i, 2) != 0)
      return trial(i, s.frames).description();
  return "no setting's checksum shows it";
}

}  // namespace

int main(int argc, char** argv) {
  // A library that ends the process must not pass for one that gives the right bits.
  std::atexit([] {
    if (!finished) std::_Exit(1);
  });
  const char* kernels_name = std::getenv("SONX_KERNELS");
  if (kernels_name != nullptr && !select_kernels(kernels_name)) {
    std::fprintf(stderr, "no kernels called %s here\n", kernels_name);
    return 1;
  }

  std::map<std::string, std::string> expected;
  if (argc > 1) {
    std::ifstream file(argv[1]);
    for (std::string l; std::getline(file, l);) expected[l.substr(0, l.find(' '))] = l;
  }

  int differences = 0, count = 0;
  for (const auto* group : {&kPrimitives, &kEffects, &kChains, &kSpeech})
    for (const subject& s : *group) {
      const result r = run(s);
      const std::string l = line(s, r);
      ++count;
      if (argc <= 1) {
        std::printf("%s\n", l.c_str());
      } else if (expected[s.name] != l) {
        ++differences;
        std::printf("%s differs: %s\n", s.name, first_difference(s, r, expected[s.name]).c_str());
      }
    }
  if (argc > 1) {
    differences += static_cast<int>(expected.size()) - count;
    std::printf("%d modules, %d differences, %s kernels\n", count, differences, kernels().name);
  }
  finished = true;
  return differences == 0 ? 0 : 1;
}
