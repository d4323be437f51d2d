#include "picture.hpp"

#include <allheaders.h>
#include <fcntl.h>
#include <unistd.h>
#include <ZelIMP.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "exit_code.hpp"

namespace tool {
namespace {

struct PixDeleter {
  void operator()(Pix* pix) const { pixDestroy(&pix); }
};
using PixPtr = std::unique_ptr<Pix, PixDeleter>;

// The decoders below Leptonica print their own complaints about a picture; ours is one sentence. While this object
// lives standard error leads nowhere.
class Silence {
 public:
  Silence() : saved_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    setMsgSeverity(L_SEVERITY_NONE);
    const int nowhere = saved_ < 0 ? -1 : ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) ::dup2(nowhere, STDERR_FILENO);
    if (nowhere >= 0) ::close(nowhere);
  }
  ~Silence() {
    if (saved_ < 0) return;
    ::dup2(saved_, STDERR_FILENO);
    ::close(saved_);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  int saved_;
};

const l_uint8* leptonica_bytes(std::span<const std::byte> bytes) {
  return reinterpret_cast<const l_uint8*>(bytes.data());
}

// The picture's size, from its first bytes, so that nothing is decoded that is too large.
void check_picture(const std::string& name, std::span<const std::byte> bytes) {
  constexpr std::array kKnown = {IFF_PNG,           IFF_JFIF_JPEG, IFF_PNM,      IFF_TIFF,
                                 IFF_TIFF_PACKBITS, IFF_TIFF_RLE,  IFF_TIFF_G3,  IFF_TIFF_G4,
                                 IFF_TIFF_LZW,      IFF_TIFF_ZIP,  IFF_TIFF_JPEG};
  l_int32 format = IFF_UNKNOWN;
  // Twelve bytes are looked at, whatever the length.
  if (bytes.size() < 12 || findFileFormatBuffer(leptonica_bytes(bytes), &format) != 0 ||
      std::ranges::find(kKnown, format) == kKnown.end()) {
    throw Failure(Exit::malformed, name + ": not a PNG, JPEG, TIFF or PNM picture");
  }
  l_int32 width = 0;
  l_int32 height = 0;
  if (pixReadHeaderMem(leptonica_bytes(bytes), bytes.size(), nullptr, &width, &height, nullptr, nullptr, nullptr) !=
          0 ||
      width <= 0 || height <= 0) {
    throw Failure(Exit::malformed, name + ": the picture's header is damaged");
  }
  if (static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) > zelimp::Limits{}.max_pixels) {
    throw Failure(Exit::over_limit, name + ": " + std::to_string(width) + " x " + std::to_string(height) +
                                        " pixels are more than the tool accepts");
  }
}

Picture samples_of(Pix* pix, bool colour) {
  Picture picture{static_cast<std::uint32_t>(pixGetWidth(pix)),
                  static_cast<std::uint32_t>(pixGetHeight(pix)),
                  colour ? 3u : 1u,
                  {}};
  picture.samples.reserve(std::size_t{picture.width} * picture.height * picture.planes);
  const std::size_t row_words = static_cast<std::size_t>(pixGetWpl(pix));
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    const l_uint32* row = pixGetData(pix) + y * row_words;
    for (std::uint32_t x = 0; x < picture.width; ++x) {
      // A word holds four grey samples or one pixel, the first in its top byte.
      if (colour) {
        for (const int shift : {24, 16, 8}) picture.samples.push_back(static_cast<std::uint8_t>(row[x] >> shift));
      } else {
        picture.samples.push_back(static_cast<std::uint8_t>(row[x / 4] >> (24 - x % 4 * 8)));
      }
    }
  }
  return picture;
}

}  // namespace

Picture read_picture(const std::string& path, bool colour) {
  const Bytes bytes = read_file(path);
  const Silence silence;
  check_picture(input_name(path), bytes);
  PixPtr pix(pixReadMem(leptonica_bytes(bytes), bytes.size()));
  if (pix) pix.reset(pixRemoveAlpha(pix.get()));
  if (!pix)
    throw Failure(Exit::malformed, input_name(path) + ": the picture is damaged or of a kind that cannot be read");
  pix.reset(colour ? pixConvertTo32(pix.get()) : pixConvertTo8(pix.get(), 0));
  if (!pix) throw Failure(Exit::unsupported, input_name(path) + ": the picture's kind of pixels is not supported");
  return samples_of(pix.get(), colour);
}

Bytes as_png(const std::string& scan_name, std::span<const std::byte> file) {
  const Silence silence;
  const PixPtr pix(pixReadMem(leptonica_bytes(file), file.size()));
  // The library keeps tags that it does not look at; other programs do.
  if (!pix) {
    throw Failure(Exit::unsupported, scan_name + ": no preview, the scan has tags with which the result is unreadable");
  }
  l_uint8* png = nullptr;
  std::size_t size = 0;
  if (pixWriteMem(&png, &size, pix.get(), IFF_PNG) != 0) throw std::bad_alloc();
  const std::unique_ptr<l_uint8, decltype(&lept_free)> owner(png, lept_free);
  const std::byte* first = reinterpret_cast<const std::byte*>(png);
  return Bytes(first, first + size);
}

}  // namespace tool
