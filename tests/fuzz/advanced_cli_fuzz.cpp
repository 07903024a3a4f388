// Fuzz target: hypra-advanced's command line on a small hypergraph. The input is the argument
// list, one argument per line; the program's main (linked in under another name) runs in this
// process. Arguments naming a folder are dropped so that a run can only touch the scratch folder,
// and the partition always goes to out.part there. A run that finishes must leave a complete
// partition file.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"

int HypraAdvancedMain(int argc, char *argv[]);

namespace {

constexpr int kVertices = 40;

std::string Ring() {
  std::string s = std::to_string(kVertices) + " " + std::to_string(kVertices) + " 11\n";
  for (int i = 0; i < kVertices; i++)
    s += std::to_string(1 + i % 4) + " " + std::to_string(i + 1) + " " +
         std::to_string((i + 1) % kVertices + 1) + " " + std::to_string((i + 5) % kVertices + 1) +
         "\n";
  for (int i = 0; i < kVertices; i++) s += std::to_string(1 + i % 3) + "\n";
  return s;
}

std::string Fix() {
  std::string s;
  for (int i = 0; i < kVertices; i++) s += i == 3 ? "1\n" : i == 20 ? "0\n" : "-1\n";
  return s;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::QuietStdout();
  const std::string ring = Ring(), fix = Fix();
  fuzz::WriteScratch("g.hgr", reinterpret_cast<const uint8_t *>(ring.data()), ring.size());
  fuzz::WriteScratch("g.fix", reinterpret_cast<const uint8_t *>(fix.data()), fix.size());
  if (chdir(fuzz::ScratchFolder().c_str()) != 0) fuzz::Fail("cannot enter the scratch folder");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > 512) return 0;
  static std::vector<std::string> args;
  args.assign(1, "hypra-advanced");
  std::string arg;
  for (size_t i = 0; i <= size; i++) {
    if (i == size || data[i] == '\n') {
      if (arg.find('/') == std::string::npos && arg.find('\0') == std::string::npos)
        args.push_back(arg);
      arg.clear();
    } else {
      arg += static_cast<char>(data[i]);
    }
  }
  if (args.size() > 40) return 0;
  // Many runs are slow, not wrong; keep each input quick.
  for (size_t i = 1; i + 1 < args.size(); i++)
    if (args[i] == "--runs" && std::atol(args[i + 1].c_str()) > 10) return 0;
  args.push_back("--out");
  args.push_back("out.part");
  static std::vector<char *> argv;
  argv.clear();
  for (auto &a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  std::remove("out.part");

  static int result;
  result = -1;
  const int status = fuzz::Guarded(
      [&] { result = HypraAdvancedMain(static_cast<int>(argv.size()) - 1, argv.data()); });
  if (status != -1 || result != 0) return 0;
  // A finished run: the partition file holds one part per vertex.
  std::ifstream in("out.part");
  int n = 0;
  for (long p; in >> p; n++)
    if (p < 0) fuzz::Fail("negative part %ld", p);
  if (n != kVertices) fuzz::Fail("partition file with %d lines, not %d", n, kVertices);
  return 0;
}
