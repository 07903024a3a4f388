// Where a run's lines go: straight to standard output, or into the run's buffer when it runs
// beside others and its lines must wait for their turn.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/core.h"

namespace hypra {

void AppendOutput__(OutputBuffer *out, const char *text, long long length) {
  if (length <= 0) return;
  if (out->size + length > out->capacity) {
    long long capacity = out->capacity > 0 ? out->capacity : 4096;
    while (capacity < out->size + length) capacity *= 2;
    auto *data = static_cast<char *>(RVmalloc__(capacity, "AppendOutput: data"));
    if (out->size > 0) std::memcpy(data, out->data, static_cast<size_t>(out->size));
    ReleaseMemory__(out->data);
    out->data = data;
    out->capacity = capacity;
  }
  std::memcpy(out->data + out->size, text, static_cast<size_t>(length));
  out->size += length;
}

void Printf__(const PartCtrl *ctrl, const char *format, ...) {
  va_list args;
  va_start(args, format);
  OutputBuffer *out = ctrl->run != nullptr ? ctrl->run->out : nullptr;
  if (out == nullptr) {
    std::vprintf(format, args);
    va_end(args);
    return;
  }
  char line[512];
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(line, sizeof(line), format, args);
  va_end(args);
  if (length >= 0 && static_cast<size_t>(length) < sizeof(line)) {
    AppendOutput__(out, line, length);
  } else if (length > 0) {
    auto *text = static_cast<char *>(RVmalloc__(length + 1LL, "Printf: text"));
    std::vsnprintf(text, static_cast<size_t>(length) + 1, format, again);
    AppendOutput__(out, text, length);
    ReleaseMemory__(text);
  }
  va_end(again);
}

void Flush__(const PartCtrl *ctrl) {
  if (ctrl->run == nullptr || ctrl->run->out == nullptr) std::fflush(stdout);
}

void EmitOutput__(const PartCtrl *ctrl, OutputBuffer *out) {
  if (out->size == 0) return;
  OutputBuffer *target = ctrl->run != nullptr ? ctrl->run->out : nullptr;
  if (target != nullptr) {
    AppendOutput__(target, out->data, out->size);
  } else {
    std::fwrite(out->data, 1, static_cast<size_t>(out->size), stdout);
    std::fflush(stdout);
  }
  out->size = 0;
}

void FreeOutput__(OutputBuffer *out) {
  RVfree__(&out->data);
  out->size = out->capacity = 0;
}

}  // namespace hypra
