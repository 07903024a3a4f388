// A progress line on standard error for runs that take minutes: rewritten in place with a
// carriage return, at most a few times a second, so that it costs nothing measurable.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <mutex>

#include "driver/advanced.h"

namespace hypra {

struct ProgressLine {
  const char *what;
  std::chrono::steady_clock::time_point start;
  std::chrono::steady_clock::time_point last;
  std::mutex lock;
  bool shown = false;
};

namespace {

constexpr auto kMinInterval = std::chrono::milliseconds(200);

void Draw(ProgressLine *line, int done, int total) {
  const double elapsed =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - line->start).count();
  std::fprintf(stderr, "\r  %s %d of %d, %.1f s ", line->what, done, total, elapsed);
  std::fflush(stderr);
  line->shown = true;
}

}  // namespace

ProgressLine *StartProgressLine(const char *what) {
  auto *line = new ProgressLine;
  line->what = what;
  line->start = line->last = std::chrono::steady_clock::now();
  return line;
}

void ReportProgressLine(void *data, int done, int total) {
  auto *line = static_cast<ProgressLine *>(data);
  std::lock_guard<std::mutex> guard(line->lock);
  const auto now = std::chrono::steady_clock::now();
  // The last step is always shown; others only when the line has not changed for a while.
  if (done < total && now - line->last < kMinInterval) return;
  line->last = now;
  Draw(line, done, total);
}

void EndProgressLine(ProgressLine *line) {
  if (line == nullptr) return;
  if (line->shown) {
    // On a terminal the line is wiped so the report reads as without it; elsewhere it ends.
    if (isatty(STDERR_FILENO))
      std::fprintf(stderr, "\r\033[K");
    else
      std::fprintf(stderr, "\n");
    std::fflush(stderr);
  }
  delete line;
}

}  // namespace hypra
