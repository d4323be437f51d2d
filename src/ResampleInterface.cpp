#include <ZelIMP/ResampleBitmap.h>
#include <ZelIMP/ResampleInterface.h>
#include <ZelIMP/linux_win.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>

#include "ResampleBitmap.hpp"

namespace {

constexpr int kFailed = 1;
constexpr int kTooSmall = 4;
constexpr std::size_t kWordBytes = 4;

// A side times the ratio of the resolutions, toward zero; none when that is not a number of 32 bits.
std::optional<std::uint32_t> scaled(std::uint32_t side, double source_resolution, double target_resolution) {
  const double ratio = target_resolution / source_resolution;
  const double length = side * ratio;
  if (!(length > -1.0 && length < 0x1p32)) return {};
  return static_cast<std::uint32_t>(length);
}

struct Job {
  unsigned char* source;
  std::uint32_t width, height;
  unsigned char* target;
  std::uint32_t target_width = 0, target_height = 0;
};

// The new size, told to the caller at once; whether there is one.
bool tell_size(Job& job, double source_resolution, double target_resolution, unsigned int* target_width,
               unsigned int* target_height) {
  const std::optional<std::uint32_t> columns = scaled(job.width, source_resolution, target_resolution);
  const std::optional<std::uint32_t> rows = scaled(job.height, source_resolution, target_resolution);
  *target_width = job.target_width = columns.value_or(0);
  *target_height = job.target_height = rows.value_or(0);
  return columns && rows;
}

// What can be known before the work: buffers, and sizes that can be held as words.
bool can_be_done(const Job& job) {
  return job.source != nullptr && job.target != nullptr && job.width != 0 && job.height != 0 &&
         zel::fits_words(job.width, job.height) && zel::fits_words(job.target_width, job.target_height);
}

// Resamples packed pixels. Widening them to words and back would only cost memory.
int resample_packed(const Job& job, std::size_t samples, unsigned filter) try {
  if (!can_be_done(job)) return kFailed;
  const std::size_t bytes = std::size_t{job.target_width} * job.target_height * samples;
  if (bytes == 0) return 0;
  const std::size_t columns = zel::engine_side(job.target_width), rows = zel::engine_side(job.target_height);
  zel::kern::resample({job.source, job.width * samples, job.height}, {job.target, columns * samples, rows}, samples,
                      zel::resample_filter(filter));
  // KEPT: of a target of more than 4096 columns or rows only so many are made, packed at its beginning, although the
  // size told is the larger one: test resample_sizes.
  const std::size_t made = columns * rows * samples;
  std::memset(job.target + made, 0, bytes - made);
  return 0;
} catch (const std::bad_alloc&) {
  return kFailed;
}

// Status of a conversion before its work: buffers there, and room for `bytes` in the target.
int check(const unsigned char* source, const unsigned char* target, double bytes, unsigned int target_bytes) {
  if (source == nullptr || target == nullptr) return kFailed;
  return static_cast<std::uint64_t>(bytes) > target_bytes ? kTooSmall : 0;  // toward zero
}

}  // namespace

unsigned int ZelIMPGetOutputBufferSize(unsigned int width, unsigned int height, unsigned char bitsPerPixel,
                                       double sourceResolution, double targetResolution) {
  const std::optional<std::uint32_t> columns = scaled(width, sourceResolution, targetResolution);
  const std::optional<std::uint32_t> rows = scaled(height, sourceResolution, targetResolution);
  if (!columns || !rows) return 0;
  return (*rows * *columns * bitsPerPixel) >> 3;
}

int ZelIMPResample8BitBitmap(unsigned char* source, unsigned int width, unsigned int height, unsigned char* target,
                             unsigned int* targetWidth, unsigned int* targetHeight, double sourceResolution,
                             double targetResolution) {
  Job job{source, width, height, target};
  if (!tell_size(job, sourceResolution, targetResolution, targetWidth, targetHeight)) return kFailed;
  StartPerformanceMeasure();
  return resample_packed(job, 1, zel::kTriangleFilter);
}

int ZelIMPResample24BitBitmap(unsigned char* source, unsigned int width, unsigned int height, unsigned char* target,
                              unsigned int* targetWidth, unsigned int* targetHeight, double sourceResolution,
                              double targetResolution) {
  Job job{source, width, height, target};
  if (!tell_size(job, sourceResolution, targetResolution, targetWidth, targetHeight)) return kFailed;
  return resample_packed(job, 3, zel::kBoxFilter);
}

int ZelIMPResample32BitBitmap(unsigned char* source, unsigned int width, unsigned int height, unsigned char* target,
                              unsigned int* targetWidth, unsigned int* targetHeight, double sourceResolution,
                              double targetResolution) {
  Job job{source, width, height, target};
  if (!tell_size(job, sourceResolution, targetResolution, targetWidth, targetHeight)) return kFailed;
  if (!can_be_done(job)) return kFailed;
  // KEPT: the engine is asked as it is, so that a target without pixels gets some: test resample_sizes.
  return CreateResampledBitmap(source, width, height, target, job.target_width, job.target_height, 32, zel::kBoxFilter);
}

int convert8to32(unsigned char* source, unsigned int sourceBytes, unsigned char* target, unsigned int targetBytes) {
  if (const int status = check(source, target, sourceBytes * 4.0, targetBytes)) return status;
  for (std::size_t i = 0; i < sourceBytes && kWordBytes * i < targetBytes; ++i) target[kWordBytes * i] = source[i];
  return 0;
}

int convert24to32(unsigned char* source, unsigned int sourceBytes, unsigned char* target, unsigned int targetBytes) {
  if (const int status = check(source, target, sourceBytes * 4.0 / 3.0, targetBytes)) return status;
  std::size_t from = 0;
  for (std::size_t i = 0; i < targetBytes; ++i) {
    const bool is_last = i % kWordBytes == kWordBytes - 1;
    if (!is_last && from == sourceBytes) break;
    target[i] = is_last ? std::uint8_t{0} : source[from++];
  }
  return 0;
}

int convert32to24(unsigned char* source, unsigned int sourceBytes, unsigned char* target, unsigned int targetBytes) {
  if (const int status = check(source, target, sourceBytes * 3.0 * 0.25, targetBytes)) return status;
  for (std::size_t i = 0; i < targetBytes; ++i) {
    const std::size_t from = i / 3 * kWordBytes + i % 3;
    if (from >= sourceBytes) break;
    target[i] = source[from];
  }
  return 0;
}

int convert32to8(unsigned char* source, unsigned int sourceBytes, unsigned char* target, unsigned int targetBytes) {
  if (const int status = check(source, target, sourceBytes * 0.25, targetBytes)) return status;
  for (std::size_t i = 0; i < targetBytes && kWordBytes * i < sourceBytes; ++i) target[i] = source[kWordBytes * i];
  return 0;
}

int reverseByteOrder(unsigned char* buffer, unsigned int size) {
  if (buffer == nullptr) return kFailed;
  std::reverse(buffer, buffer + size);
  return 0;
}
