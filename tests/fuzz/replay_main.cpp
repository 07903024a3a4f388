// Runs a fuzz target over every file of the given folders (or the given files), as the fuzzer
// would, without a fuzzing engine: the test suite replays the corpus this way.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace {

int Replay(const std::filesystem::path &file) {
  std::ifstream in(file, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                std::istreambuf_iterator<char>());
  std::fprintf(stderr, "replay %s (%zu bytes)\n", file.c_str(), bytes.size());
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
  return 1;
}

}  // namespace

int main(int argc, char **argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  int n = 0;
  for (int i = 1; i < argc; i++) {
    const std::filesystem::path p(argv[i]);
    if (!std::filesystem::exists(p)) continue;
    if (std::filesystem::is_directory(p)) {
      std::vector<std::filesystem::path> files;
      for (const auto &e : std::filesystem::directory_iterator(p))
        if (e.is_regular_file()) files.push_back(e.path());
      std::sort(files.begin(), files.end());
      for (const auto &f : files) n += Replay(f);
    } else {
      n += Replay(p);
    }
  }
  std::fprintf(stderr, "replayed %d inputs\n", n);
  if (n == 0) {
    std::fprintf(stderr, "no input to replay\n");
    return 1;
  }
  return 0;
}
