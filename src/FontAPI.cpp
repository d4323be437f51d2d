#include "FontAPI.hpp"

#include <ZelIMP/FontAPI.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "base/allocated.hpp"
#include "base/bytes.hpp"
#include "files.hpp"

static_assert(offsetof(FontSlot, variance) == sizeof(void*) && offsetof(FontSlot, width) == 2 * sizeof(void*));
static_assert(offsetof(FontSlot, height) == 2 * sizeof(void*) + 4 && offsetof(FontSlot, code) == 2 * sizeof(void*) + 8);
static_assert(offsetof(FontSlot, samples) == 2 * sizeof(void*) + 12);
static_assert(offsetof(FontSlot, size) == 2 * sizeof(void*) + 14 && sizeof(FontSlot) == 2 * sizeof(void*) + 18);
static_assert(offsetof(FontAPI, count) == zel::kMostSlots * sizeof(FontSlot));
static_assert(sizeof(FontAPI) == (sizeof(void*) == 4 ? 3332 : 4356));

namespace zel {

FontRecord read_record(const unsigned char* bytes) {
  return {load_u32(bytes), static_cast<std::int32_t>(load_u32(bytes + 4)), load_u32(bytes + 8), load_u16(bytes + 12),
          load_u32(bytes + 14)};
}

void write_record(const FontRecord& record, unsigned char* bytes) {
  store_u32(bytes, record.width);
  store_u32(bytes + 4, static_cast<std::uint32_t>(record.height));
  store_u32(bytes + 8, record.code);
  store_u16(bytes + 12, record.samples);
  store_u32(bytes + 14, record.size);
}

std::optional<DibFacts> facts_within(const unsigned char* dib, std::uint64_t bytes) {
  if (dib == nullptr || bytes < kCoreHeader) return std::nullopt;
  if (load_u32(dib) == kInfoHeader && bytes < kInfoHeader) return std::nullopt;
  return dib_facts(dib);
}

std::span<std::uint8_t> tail_within(unsigned char* dib, std::uint64_t bytes) {
  const std::optional<DibFacts> facts = facts_within(dib, bytes);
  if (!facts || bytes <= facts->pixels_at()) return {};
  return {dib + facts->pixels_at(), static_cast<std::size_t>(bytes - facts->pixels_at())};
}

MutableView pixels_within(unsigned char* dib, std::uint64_t bytes) {
  const std::span<std::uint8_t> tail = tail_within(dib, bytes);
  if (tail.empty()) return {};
  const DibFacts facts = dib_facts(dib);
  const std::size_t stride = dib_stride(facts.width);
  if (stride == 0 || facts.height < 1) return {};
  const auto rows = static_cast<std::size_t>(facts.height);
  if (rows > tail.size() / stride) return {};
  return {tail.data(), static_cast<std::size_t>(facts.width), rows, stride};
}

void train_mean(MutableView mean, ConstView sample, std::uint32_t n) {
  const std::size_t rows = std::min(mean.height(), sample.height());
  const std::size_t columns = std::min(mean.width(), sample.width());
  for (std::size_t y = 0; y < rows; ++y) {
    std::uint8_t* const to = mean.row_ptr(y);
    const std::uint8_t* const from = sample.row_ptr(y);
    for (std::size_t x = 0; x < columns; ++x) {
      to[x] = static_cast<std::uint8_t>((std::uint64_t{to[x]} * n + from[x]) / (std::uint64_t{n} + 1));
    }
  }
}

void train_variance(ConstView mean, ConstView sample, std::span<std::uint8_t> variance, std::uint32_t n) {
  const std::size_t rows = std::min(mean.height(), sample.height());
  const std::size_t columns = std::min(mean.width(), sample.width());
  for (std::size_t y = 0; y < rows && y * mean.stride() < variance.size(); ++y) {
    const std::span<std::uint8_t> row = variance.subspan(y * mean.stride());
    for (std::size_t x = 0; x < std::min(columns, row.size()); ++x) {
      const int difference = std::abs(mean.row_ptr(y)[x] - sample.row_ptr(y)[x]);
      // KEPT: eight bits, so that large deviations of many samples wrap to small ones, which the decoder takes as
      // agreement. Trained fonts hold such values: test font_training.
      const auto sum = static_cast<std::uint8_t>(n * row[x] + static_cast<std::uint32_t>(difference));
      row[x] = static_cast<std::uint8_t>(sum / (std::uint64_t{n} + 1));
    }
  }
}

namespace {

std::uint64_t own_bytes(const unsigned char* dib) { return dib_bytes(dib_facts(dib)); }

// A font file that is read from its beginning.
class FontFile {
 public:
  explicit FontFile(const char* path)
      : file_(open_for_reading(path)), length_(file_.is_open() ? regular_file_bytes(file_) : std::nullopt) {}

  bool is_open() const { return length_.has_value(); }
  bool has(std::uint64_t bytes) const { return *length_ - at_ >= bytes; }

  // False when the file is shorter.
  bool take(unsigned char* to, std::uint64_t bytes) {
    if (!has(bytes) || !read_after(file_, at_, to, bytes)) return false;
    at_ += bytes;
    return true;
  }

 private:
  Descriptor file_;
  std::optional<std::uint64_t> length_;
  std::uint64_t at_ = 0;
};

enum class Reading { done, cut_off, no_memory };

// One image. Memory is asked for only when the file goes on for so long.
Reading take_image(FontFile& file, std::uint32_t size, Allocated& image) {
  if (!file.has(size)) return Reading::cut_off;
  image = allocate(size);
  if (!image) return Reading::no_memory;
  return file.take(image.get(), size) ? Reading::done : Reading::cut_off;
}

// The images of a slot whose other fields have been read.
Reading take_images(FontFile& file, FontSlot& slot) {
  Allocated image, variance;
  Reading reading = take_image(file, slot.size, image);
  if (reading != Reading::done) return reading;
  reading = take_image(file, slot.size, variance);
  const std::optional<DibFacts> facts = facts_within(image.get(), slot.size);
  if (!facts || dib_bytes(*facts) > slot.size) return reading;
  slot.image = image.release();
  slot.variance = reading == Reading::done ? variance.release() : nullptr;
  return reading;
}

void release(FontSlot& slot) {
  for (unsigned char* const image : {slot.image, slot.variance}) {
    if (GetImage == reinterpret_cast<char*>(image)) GetImage = nullptr;
    std::free(image);
  }
  slot.image = slot.variance = nullptr;
}

bool has_images(const FontSlot& slot) { return slot.image != nullptr && slot.variance != nullptr; }

// Slots that count says are in use.
int used(const FontAPI& font) { return std::clamp(int{font.count}, 0, kMostSlots); }

bool in_use(const FontAPI& font, int index) { return index >= 0 && index < used(font); }

FontSlot* find(FontAPI& font, int code) {
  FontSlot* const end = font.slots + used(font);
  FontSlot* const slot =
      std::find_if(font.slots, end, [code](const FontSlot& s) { return s.code == static_cast<unsigned int>(code); });
  return slot == end ? nullptr : slot;
}

int number_of(const FontAPI& font, const FontSlot* slot) { return static_cast<int>(slot - font.slots) + 1; }

// Makes a slot of a first sample. False without memory: then it has its fields, but no images.
bool begin(FontSlot& slot, int code, unsigned char* sample) {
  const DibFacts facts = dib_facts(sample);
  const std::uint64_t size = dib_bytes(facts);
  slot.width = static_cast<unsigned int>(facts.width);
  slot.height = facts.height;
  slot.code = static_cast<unsigned int>(code);
  slot.samples = 1;
  slot.size = static_cast<unsigned int>(size);
  Allocated image, variance;
  if (size <= std::numeric_limits<std::uint32_t>::max()) image = allocate(size), variance = allocate(size);
  if (image && variance) {
    std::memcpy(image.get(), sample, slot.size);
    // KEPT: the sample itself is cleared, as the model of a variance without deviations. Hosts that need their bitmap
    // pass a copy: test font_training.
    std::memset(sample + facts.pixels_at(), 0, slot.size - facts.pixels_at());
    std::memcpy(variance.get(), sample, slot.size);
  }
  release(slot);
  slot.image = image.release();
  slot.variance = variance.release();
  return has_images(slot);
}

// Blue, green and red of level i, which is a deviation: from black over green, blue and red to brighter red.
std::array<std::uint8_t, 3> false_colour(unsigned i) {
  const auto rising = static_cast<std::uint8_t>(4 * i);
  const auto falling = static_cast<std::uint8_t>(255 - rising);
  const auto red = static_cast<std::uint8_t>(2 * i);
  // KEPT: black where two ramps meet, which marks the quarters of the range: test font_clear_variance.
  if (i == 64 || i == 128) return {0, 0, 0};
  if (i < 64) return {0, rising, 0};
  if (i < 128) return {rising, falling, 0};
  if (i < 192) return {falling, 0, red};
  return {0, 0, red};
}

void clear_variance(FontSlot& slot) {
  const std::optional<DibFacts> facts = facts_within(slot.variance, slot.size);
  if (!facts) return;
  const std::span<std::uint8_t> pixels = tail_within(slot.variance, slot.size);
  // KEPT: two bytes a pixel, without the padding: of an image one pixel wide the last half of the rows stays. Rows from
  // top to bottom make the product negative, which counts as all there is: test font_clear_variance.
  const std::uint64_t bytes = static_cast<std::uint64_t>(std::int64_t{facts->width} * facts->height) * 2;
  std::ranges::fill(pixels.first(static_cast<std::size_t>(std::min<std::uint64_t>(bytes, pixels.size()))), 0);
  const std::size_t palette = std::min<std::size_t>(facts->palette_bytes, slot.size - facts->header_bytes);
  enter_false_colours({slot.variance + facts->header_bytes, palette}, facts->entry_bytes);
}

bool write(std::FILE* file, const FontSlot& slot) {
  unsigned char header[FontRecord::kBytes];
  write_record({slot.width, slot.height, slot.code, slot.samples, slot.size}, header);
  return std::fwrite(header, sizeof header, 1, file) == 1 && std::fwrite(slot.image, slot.size, 1, file) == 1 &&
         std::fwrite(slot.variance, slot.size, 1, file) == 1;
}

}  // namespace

void enter_false_colours(std::span<std::uint8_t> palette, std::size_t entry_bytes) {
  for (unsigned i = 0; i < std::min<std::size_t>(palette.size() / entry_bytes, 256); ++i) {
    const std::span<std::uint8_t> entry = palette.subspan(i * entry_bytes, entry_bytes);
    std::ranges::fill(entry, 0);
    std::ranges::copy(false_colour(i), entry.begin());
  }
}

}  // namespace zel

using namespace zel;

FontAPI::FontAPI() : slots{}, count(0) {}

FontAPI::~FontAPI() { UnloadFont(); }

int FontAPI::LoadFont(char* path) {
  for (FontSlot& slot : slots) release(slot), slot = {};
  FontFile file(path);
  if (!file.is_open()) return 0;
  int loaded = 0;
  for (; loaded < kMostSlots; ++loaded) {
    unsigned char header[FontRecord::kBytes];
    if (!file.take(header, sizeof header)) break;
    const FontRecord record = read_record(header);
    FontSlot& slot = slots[loaded];
    slot = {nullptr, nullptr, record.width, record.height, record.code, record.samples, record.size};
    // KEPT: count stays, and so do the records read so far, which it may or may not reach: test font_file_faults.
    if (record.width == 0 || record.height == 0) return 0;
    const Reading reading = take_images(file, slot);
    if (reading == Reading::no_memory) return 0;
    if (reading == Reading::cut_off) break;
  }
  return count = loaded;
}

int FontAPI::SaveFont(char* path) {
  const WithoutFileSizeSignal no_signal;
  const OutputFile file = open_for_writing(path);
  bool written = file != nullptr;
  // KEPT: codes from 128 on are not looked for, so that their templates are lost: test font_file_order.
  for (unsigned code = 1; code < 128; ++code) {
    for (int i = 0; i < used(*this) && written; ++i) {
      if (slots[i].code == code && has_images(slots[i])) written = write(file.get(), slots[i]);
    }
  }
  // KEPT: 0 whether or not the file could be written: test font_file_order.
  return 0;
}

int FontAPI::UnloadFont() {
  for (FontSlot& slot : slots) release(slot);
  return count = 0;
}

int FontAPI::Get_Char_Info(int index, unsigned long* samples, unsigned long* height, unsigned long* width,
                           unsigned long* code) {
  if (!in_use(*this, index)) return 0;
  *samples = slots[index].samples;
  *height = static_cast<unsigned int>(slots[index].height);
  *width = slots[index].width;
  *code = slots[index].code;
  return 1;
}

int FontAPI::Set_Char_Info(int index, int code) {
  if (!in_use(*this, index)) return 0;
  slots[index].code = static_cast<unsigned int>(code);
  return 1;
}

int FontAPI::Delete_Char(int index) {
  if (!in_use(*this, index)) return 0;
  slots[index].code = 0;
  slots[index].samples = 0;
  return 1;
}

int FontAPI::Add_Char(int code, char* dib) {
  auto* const sample = reinterpret_cast<unsigned char*>(dib);
  if (sample == nullptr) return 0;
  if (FontSlot* const slot = find(*this, code)) {
    if (!has_images(*slot)) return 0;
    const MutableView mean = pixels_within(slot->image, slot->size);
    const ConstView pixels = pixels_within(sample, own_bytes(sample));
    train_mean(mean, pixels, slot->samples);
    train_variance(mean, pixels, tail_within(slot->variance, slot->size), slot->samples);
    slot->samples = static_cast<unsigned short>(slot->samples + 1);
    return number_of(*this, slot);
  }
  if (count < 0 || count >= kMostSlots || !begin(slots[count], code, sample)) return 0;
  return ++count;
}

int FontAPI::Add_Mask(int code, char* dib) {
  FontSlot* const slot = find(*this, code);
  if (slot == nullptr || dib == nullptr || !has_images(*slot)) return 0;
  const std::uint64_t bytes = own_bytes(reinterpret_cast<unsigned char*>(dib));
  std::memmove(slot->variance, dib, static_cast<std::size_t>(std::min<std::uint64_t>(bytes, slot->size)));
  // KEPT: a mask counts as a sample, so that the mean weighs one more than it holds: test font_masks.
  slot->samples = static_cast<unsigned short>(slot->samples + 1);
  return number_of(*this, slot);
}

int FontAPI::Mix_Images_average(unsigned char* mean, unsigned char* sample, int n) {
  if (mean == nullptr || sample == nullptr || n < 0) return 0;
  train_mean(pixels_within(mean, own_bytes(mean)), pixels_within(sample, own_bytes(sample)),
             static_cast<std::uint32_t>(n));
  return 0;
}

int FontAPI::Variance(unsigned char* mean, unsigned char* sample, unsigned char* variance, int n) {
  if (mean == nullptr || sample == nullptr || variance == nullptr || n < 0) return 0;
  train_variance(pixels_within(mean, own_bytes(mean)), pixels_within(sample, own_bytes(sample)),
                 tail_within(variance, own_bytes(variance)), static_cast<std::uint32_t>(n));
  return 0;
}

int FontAPI::Clear_Variance() {
  for (int i = 0; i < used(*this); ++i) {
    if (slots[i].samples == 0 || !has_images(slots[i])) continue;
    clear_variance(slots[i]);
    slots[i].samples = 1;
  }
  return 1;
}
