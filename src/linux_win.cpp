#include <ZelIMP/linux_win.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/checked.hpp"

timespec CounterStart;
double PCFreq;

int GetTempPath(int /*size*/, char* buffer) {
  constexpr char kPath[] = "/tmp/";
  std::memcpy(buffer, kPath, sizeof kPath);
  return static_cast<int>(sizeof kPath - 1);
}

void xdebug(char* data, int length) {
  std::FILE* const log = std::fopen("debug.dat", "ab");
  if (log == nullptr) return;
  // A log that cannot take the text (a full disk) must not disturb the caller.
  if (length > 0) static_cast<void>(std::fwrite(data, static_cast<std::size_t>(length), 1, log) == 1);
  std::fclose(log);
}

void OutputDebugString(char* text) { xdebug(text, static_cast<int>(std::strlen(text))); }

void odprintf(const char* format, ...) {
  char text[4096];
  std::va_list values;
  va_start(values, format);
  const int length = std::vsnprintf(text, sizeof text, format, values);
  va_end(values);
  if (length >= 0) OutputDebugString(text);
}

int StartPerformanceMeasure() { return clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &CounterStart); }

double GetPerformanceMeasure() {
  timespec now = {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  const timespec passed = diff(CounterStart, now);
  // KEPT: narrow on purpose. The interval wraps past 2147483647 ns (about 2.1 s of CPU time): test clock_wraps.
  return zel::wrap_add(zel::wrap_mul(static_cast<std::int32_t>(passed.tv_sec), 1000000000),
                       static_cast<std::int32_t>(passed.tv_nsec));
}

timespec diff(timespec start, timespec end) {
  timespec passed;
  passed.tv_sec = end.tv_sec - start.tv_sec;
  passed.tv_nsec = end.tv_nsec - start.tv_nsec;
  if (passed.tv_nsec < 0) {
    passed.tv_sec -= 1;
    passed.tv_nsec += 1000000000;
  }
  return passed;
}
