// Each preset of presets/ renders to the same bits everywhere. A change that is meant shows here.
#include <gtest/gtest.h>
#include <sonx/rack.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr int kRate = 48000, kFrames = 2 * kRate;

std::string contents(const std::filesystem::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Two seconds, louder and softer: a sawtooth, of another pitch on the right, and some noise.
std::vector<int32_t> programme() {
  std::vector<int32_t> words;
  unsigned noise = 1;
  for (unsigned i = 0; i < kFrames; ++i)
    for (const unsigned pitch : {9830400u, 14745600u}) {  // 109.9 and 164.8 Hz
      noise = noise * 1664525u + 1013904223u;
      const int32_t saw = static_cast<int32_t>(i * pitch) / 4;
      words.push_back((saw + static_cast<int32_t>(noise) / 16) / (i / 12000 % 2 ? 8 : 1));
    }
  return words;
}

uint64_t hash(const std::vector<int32_t>& words) {
  uint64_t sum = 0xcbf29ce484222325u;
  for (const int32_t word : words) sum = (sum ^ static_cast<uint32_t>(word)) * 0x100000001b3u;
  return sum;
}

const std::map<std::string, uint64_t> kHashes = {
    {"concert-hall", 16528210295026801701u},
    {"headphones-full-bass", 2639175245344543781u},
    {"headphones-less-boom", 13298085041752843557u},
    {"headphones-tamed-treble", 15357003340442412325u},
    {"karaoke-arena", 2044453454918661669u},
    {"karaoke-club", 7124717659977063717u},
    {"karaoke-studio", 18044566225189319973u},
    {"late-evening", 3302051394049787941u},
    {"loudspeakers", 13555144053954517797u},
    {"noisy-speech", 16390186849753966373u},
    {"old-record", 15634511134067300389u},
    {"small-room", 1092497115738273829u},
    {"small-speaker", 2388291720685706021u},
    {"speech", 12046402081784249125u},
};

}  // namespace

TEST(ShippedPresets, RenderToTheirHashesAndSaveAsTheyAre) {
  const std::vector<int32_t> in = programme();
  std::map<std::string, uint64_t> hashes;
  for (const auto& entry : std::filesystem::directory_iterator(SONX_SOURCE_DIR "/presets")) {
    const std::string name = entry.path().stem().string();
    SCOPED_TRACE(name);
    sonx_rack* const rack = sonx_rack_create(kRate, 480);
    char error[200] = "";
    ASSERT_EQ(sonx_rack_load(rack, contents(entry.path()).c_str(), error, sizeof error), 0)
        << error;
    std::vector<int32_t> out = in;
    sonx_rack_process_s32(rack, out.data(), 2, kFrames);
    int loudest = 0;
    for (const int32_t word : out) loudest = std::max(loudest, std::abs(word >> 8));
    EXPECT_GT(loudest, 1 << 20) << "-18 dBFS";
    hashes[name] = hash(out);

    std::string text(static_cast<size_t>(sonx_rack_save(rack, nullptr, 0)), ' ');
    sonx_rack_save(rack, text.data(), text.size() + 1);
    sonx_rack* const again = sonx_rack_create(kRate, 480);
    ASSERT_EQ(sonx_rack_load(again, text.c_str(), error, sizeof error), 0) << error;
    sonx_rack_process_s32(again, (out = in).data(), 2, kFrames);
    EXPECT_EQ(hash(out), hashes[name]) << "what was saved sounds otherwise";
    sonx_rack_destroy(again);
    sonx_rack_destroy(rack);
  }
  EXPECT_EQ(hashes, kHashes);
}
