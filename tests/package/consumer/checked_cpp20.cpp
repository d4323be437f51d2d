// A host of the checked interface: a scan made and refused, the error caught by its type outside the library.
#include <ZelIMP.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <vector>

namespace {

// A grey TIFF of width 8 and three rows, without a Make value: 7 tags, then the strip.
std::vector<std::byte> grey_tiff() {
  constexpr std::uint32_t kTags[][4] = {{256, 4, 1, 8}, {257, 4, 1, 3},  {258, 3, 1, 8}, {259, 3, 1, 1},
                                        {262, 3, 1, 1}, {273, 4, 1, 98}, {279, 4, 1, 24}};
  std::vector<std::byte> file;
  const auto put = [&file](std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) file.push_back(static_cast<std::byte>(value >> (8 * i) & 0xFF));
  };
  put(0x002A4949, 4);
  put(8, 4);
  put(7, 2);
  for (const auto& tag : kTags) {
    put(tag[0], 2);
    put(tag[1], 2);
    put(tag[2], 4);
    put(tag[3], 4);
  }
  put(0, 4);
  for (std::uint32_t i = 0; i < 24; ++i) put(i, 1);
  return file;
}

}  // namespace

int main() {
  int failed = 0;
  const auto expect = [&failed](bool holds, const char* what) {
    if (holds) return;
    std::printf("failed: %s\n", what);
    failed = 1;
  };

  std::vector<std::byte> file = grey_tiff();
  const zelimp::Scan scan = zelimp::inspect(file);
  expect(scan.width == 8 && scan.height == 3 && scan.bit_depth == 8 && scan.tags.size() == 7, "facts of a grey TIFF");
  expect(!scan.from_device && scan.obstacle.has_value(), "a scan of no known device has an obstacle");

  try {
    zelimp::process_scan(file);
    expect(false, "process_scan refuses it");
  } catch (const zelimp::Error& error) {
    expect(error.status() == zelimp::Status::not_loaded, "status of the refusal");
  }
  file.resize(40);
  try {
    zelimp::inspect(file);
    expect(false, "inspect refuses a cut directory");
  } catch (const zelimp::Error& error) {
    expect(error.status() == zelimp::Status::not_loaded && *error.what() != '\0', "status and sentence of a cut file");
  }
  expect(std::string_view(zelimp::version()).starts_with("1."), "version");
  return failed;
}
