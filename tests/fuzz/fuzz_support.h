// What every fuzz target shares: the library ends the process on an error (exit), which a fuzz
// target must survive, so the targets are linked with exit wrapped (-Wl,--wrap=exit): while a
// guarded call runs, exit jumps back to it instead of ending the process.
#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

// Where exit jumps to while a guarded call runs.
extern std::jmp_buf exit_jump;
extern bool exit_armed;
// The status of the exit that last jumped back.
int ExitStatus();
void RememberOpenFiles();
void CloseFilesOpenedSince();  // also releases the arrays allocated since

// Runs fn; returns -1 when it returned normally, otherwise the status passed to exit.
// A jump back leaves the files the call had open; they are closed again, so that a long campaign
// does not run out of descriptors.
template <typename F>
int Guarded(F fn) {
  static volatile int status;
  status = -1;
  RememberOpenFiles();
  if (setjmp(exit_jump) == 0) {
    exit_armed = true;
    fn();
  } else {
    status = ExitStatus();
    CloseFilesOpenedSince();
  }
  exit_armed = false;
  return status;
}

// A scratch folder of this process, created once; files the targets write go there.
const std::string &ScratchFolder();
std::string WriteScratch(const std::string &name, const uint8_t *data, size_t size);

// Sends the library's printed report to /dev/null (sanitizer reports go to stderr).
void QuietStdout();

// Stops the process with a message: what a fuzzer counts as a failure.
[[noreturn]] void Fail(const char *format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace fuzz
