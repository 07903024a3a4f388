// Helpers for the driver tests: scratch directories, small files and running the program.
#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// Builds under a sanitizer reserve terabytes of address space, so address-space limits cannot
// apply there.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HYPRA_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HYPRA_SANITIZED 1
#endif
#endif
#ifndef HYPRA_SANITIZED
#define HYPRA_SANITIZED 0
#endif

namespace driver_test {

inline std::string DataPath(const std::string &name) {
  return std::string(HYPRA_TEST_DIR) + "/data/" + name;
}

inline std::string ReadFile(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

inline void WriteFile(const std::string &path, const std::string &text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

// A fresh directory removed with everything in it at the end of the test.
struct ScratchDir {
  std::string path;
  ScratchDir() {
    std::string tmpl = (std::filesystem::temp_directory_path() / "hypra-driver-XXXXXX").string();
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back('\0');
    path = mkdtemp(buf.data());
  }
  ~ScratchDir() { std::filesystem::remove_all(path); }
  std::string File(const std::string &name) const { return path + "/" + name; }
  std::string Write(const std::string &name, const std::string &text) const {
    WriteFile(File(name), text);
    return File(name);
  }
};

// Runs fn with the current directory switched to dir.
template <typename F>
void InDirectory(const std::string &dir, F fn) {
  const auto old = std::filesystem::current_path();
  std::filesystem::current_path(dir);
  fn();
  std::filesystem::current_path(old);
}

struct RunResult {
  int status;  // exit status, or -1 when the program did not exit normally
  std::string out;
  std::string err;
};

inline std::string ProgramPath() {
  return std::string(HYPRA_BINARY_DIR) + "/hypra";
}

inline std::string AdvancedProgramPath() {
  return std::string(HYPRA_BINARY_DIR) + "/hypra-advanced";
}

// Runs a program (by default the built one) with the given arguments in directory cwd; with a
// positive address_limit its address space is limited to that many bytes, and a run that hangs
// is ended by a signal after two minutes.
inline RunResult RunProgram(const std::vector<std::string> &args, const std::string &cwd,
                            const std::string &program = ProgramPath(),
                            long long address_limit = 0) {
  ScratchDir capture;
  const std::string outfile = capture.File("stdout"), errfile = capture.File("stderr");
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    if (chdir(cwd.c_str()) != 0) _exit(127);
    if (!std::freopen(outfile.c_str(), "w", stdout) || !std::freopen(errfile.c_str(), "w", stderr))
      _exit(127);
    if (address_limit > 0) {
      const rlimit lim{static_cast<rlim_t>(address_limit), static_cast<rlim_t>(address_limit)};
      if (setrlimit(RLIMIT_AS, &lim) != 0) _exit(126);
      alarm(120);
    }
    std::vector<char *> argv;
    argv.push_back(const_cast<char *>(program.c_str()));
    for (const auto &a : args) argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  int wstatus = 0;
  waitpid(pid, &wstatus, 0);
  RunResult r;
  r.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : -1;
  r.out = ReadFile(outfile);
  r.err = ReadFile(errfile);
  return r;
}

// Runs hypra-advanced with the given arguments in directory cwd.
inline RunResult RunAdvanced(const std::vector<std::string> &args, const std::string &cwd) {
  return RunProgram(args, cwd, AdvancedProgramPath());
}

// A ring of 3-pin hyperedges with chords over n vertices, hyperedges weighted 1 to 3 (fmt 1);
// no single-pin hyperedge, so tracked and recomputed objectives agree.
inline std::string WeightedRingFile(int n) {
  std::ostringstream s;
  s << n << " " << n << " 1\n";
  for (int i = 0; i < n; i++)
    s << 1 + i % 3 << " " << i + 1 << " " << (i + 1) % n + 1 << " " << (i + 7) % n + 1 << "\n";
  return s.str();
}

// The parts of a partition file, one per line.
inline std::vector<int> ReadParts(const std::string &path) {
  std::istringstream in(ReadFile(path));
  std::vector<int> parts;
  for (int p; in >> p;) parts.push_back(p);
  return parts;
}

// A program's output without its time lines, which differ from run to run.
inline std::string WithoutTimes(const std::string &out) {
  std::istringstream in(out);
  std::string kept;
  for (std::string line; std::getline(in, line);)
    if (line.find(" Time:") == std::string::npos) kept += line + "\n";
  return kept;
}

}  // namespace driver_test
