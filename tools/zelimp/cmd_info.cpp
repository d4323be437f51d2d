#include <algorithm>
#include <iomanip>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "commands.hpp"
#include "exit_code.hpp"
#include "io.hpp"
#include "json_text.hpp"
#include "tag_text.hpp"

namespace tool {
namespace {

using nlohmann::ordered_json;

struct Options {
  std::string file;
  bool json = false;
};

ordered_json facts_of(const zelimp::Scan& scan) {
  ordered_json facts = {{"from_device", scan.from_device},
                        {"make", scan.make},
                        {"model", scan.model},
                        {"description", scan.description},
                        {"software", scan.software},
                        {"width", scan.width},
                        {"height", scan.height},
                        {"bit_depth", scan.bit_depth},
                        {"compression", scan.compression},
                        {"photometric", scan.photometric},
                        {"x_resolution", scan.x_resolution},
                        {"y_resolution", scan.y_resolution},
                        {"pixel_bytes", scan.pixels.size()},
                        {"obstacle", nullptr}};
  if (scan.obstacle) {
    const zelimp::Error& error = *scan.obstacle;
    facts["obstacle"] = {{"sentence", error.what()},
                         {"exit_code", static_cast<int>(exit_of(error.status()))},
                         {"offset", error.offset() ? ordered_json(*error.offset()) : ordered_json()},
                         {"tag", error.tag() ? ordered_json(*error.tag()) : ordered_json()}};
  }
  return facts;
}

// Whether the resolutions are per centimetre.
bool is_metric(const zelimp::Scan& scan) {
  constexpr int kResolutionUnit = 296, kCentimetre = 3;
  return std::ranges::any_of(scan.tags, [](const zelimp::Tag& tag) {
    return tag.id == kResolutionUnit && !tag.value.empty() && std::to_integer<int>(tag.value[0]) == kCentimetre;
  });
}

std::string as_text(const std::string& name, const zelimp::Scan& scan) {
  constexpr std::size_t kLongest = 60;
  std::ostringstream text;
  text << name << ": " << scan.width << " x " << scan.height << " pixels, bit depth " << scan.bit_depth << ", "
       << scan.x_resolution << " x " << scan.y_resolution << (is_metric(scan) ? " dots per cm\n" : " dpi\n")
       << "from the device: " << (scan.from_device ? "yes" : "no") << "\n"
       << "descramble and process: "
       << (scan.obstacle ? std::string("refused, ") + scan.obstacle->what() : std::string("possible")) << "\n";
  for (const zelimp::Tag& tag : scan.tags) {
    std::string value = printable(tag_value(tag));
    if (value.size() > kLongest) value.replace(kLongest - 3, std::string::npos, "...");
    text << std::setw(5) << tag.id << " " << std::left << std::setw(26) << tag_name(tag) << std::setw(10)
         << type_name(tag) << std::right << std::setw(8) << tag.count << "  " << value << "\n";
  }
  return text.str();
}

std::string as_json(const std::string& name, const zelimp::Scan& scan) {
  ordered_json all = {{"file", name}};
  all.update(facts_of(scan));
  all["tags"] = ordered_json::array();
  for (const zelimp::Tag& tag : scan.tags) {
    all["tags"].push_back({{"id", tag.id},
                           {"name", tag_name(tag)},
                           {"type", type_name(tag)},
                           {"count", tag.count},
                           {"offset", tag.offset},
                           {"value", tag_value(tag)}});
  }
  return printable(all, 2) + "\n";
}

void run(const Options& options) {
  const std::string name = input_name(options.file);
  const Bytes file = read_file(options.file);
  const std::string text = about(name, [&] {
    const zelimp::Scan scan = zelimp::inspect(file);
    return options.json ? as_json(name, scan) : as_text(name, scan);
  });
  const std::span<const std::byte> bytes = std::as_bytes(std::span(text));
  write_outputs({{"-", Bytes(bytes.begin(), bytes.end())}}, false);
}

}  // namespace

void add_info(CLI::App& program) {
  const auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("info", "Tell what a TIFF holds and what the library would do with it");
  command.add_option("FILE", options->file, "Little-endian TIFF, - standard input")->required();
  command.add_flag("--json", options->json, "As JSON, for programs");
  command.footer(
      "Examples:\n"
      "  zelimp info raw.tif\n"
      "  zelimp info --json - < raw.tif\n"
      "A TIFF that can be read but not processed is no failure: its obstacle is told.");
  command.callback([options] { run(*options); });
}

}  // namespace tool
