// The exit wrapper and scratch files of the fuzz targets.
#include "fuzz/fuzz_support.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <vector>

extern "C" [[noreturn]] void __real_exit(int status);

namespace fuzz {

std::jmp_buf exit_jump;
bool exit_armed = false;
namespace {
int last_status = 0;
}

int ExitStatus() {
  return last_status;
}

const std::string &ScratchFolder() {
  static const std::string folder = [] {
    char tmpl[] = "/tmp/hypra-fuzz-XXXXXX";
    const char *made = mkdtemp(tmpl);
    if (made == nullptr) Fail("cannot make a scratch folder");
    std::atexit([] {
      const std::string cmd = "rm -rf '" + ScratchFolder() + "'";
      if (std::system(cmd.c_str()) != 0) return;
    });
    return std::string(made);
  }();
  return folder;
}

std::string WriteScratch(const std::string &name, const uint8_t *data, size_t size) {
  const std::string path = ScratchFolder() + "/" + name;
  FILE *f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) Fail("cannot write %s", path.c_str());
  if (size > 0 && std::fwrite(data, 1, size, f) != size) Fail("cannot write %s", path.c_str());
  std::fclose(f);
  return path;
}

void QuietStdout() {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) Fail("cannot silence stdout");
}

void Fail(const char *format, ...) {
  va_list args;
  va_start(args, format);
  std::fprintf(stderr, "FUZZ CHECK FAILED: ");
  std::vfprintf(stderr, format, args);
  std::fprintf(stderr, "\n");
  va_end(args);
  std::abort();
}

}  // namespace fuzz

// Every call of exit in the linked objects comes here; during a guarded call it returns to the
// guard, at any other time it ends the process.
extern "C" [[noreturn]] void __wrap_exit(int status) {
  if (fuzz::exit_armed) {
    fuzz::exit_armed = false;
    fuzz::last_status = status;
    std::fflush(stdout);
    std::longjmp(fuzz::exit_jump, 1);
  }
  __real_exit(status);
}
