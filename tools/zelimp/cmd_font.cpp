#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <system_error>
#include <utility>

#include "commands.hpp"
#include "exit_code.hpp"
#include "font_file.hpp"
#include "font_sheet.hpp"
#include "io.hpp"
#include "json_text.hpp"
#include "picture.hpp"

namespace tool {
namespace {

using nlohmann::ordered_json;

constexpr std::uint32_t kMostCode = 127;

void print(const std::string& text) {
  const std::span<const std::byte> bytes = std::as_bytes(std::span(text));
  write_outputs({{"-", Bytes(bytes.begin(), bytes.end())}}, false);
}

// What the bytes of an image are on average.
double mean_of(const zelimp::Pixels& image) {
  double sum = 0;
  for (const std::byte value : image.pixels) sum += std::to_integer<int>(value);
  return sum / static_cast<double>(image.pixels.size());
}

struct Sample {
  std::uint32_t code;
  std::string path;
};

struct TrainOptions {
  std::vector<std::string> samples;
  std::string font, output;
  Common common;
};

// A character, or its number in two or three digits.
std::uint32_t code_of(const std::string& label, const std::string& argument) {
  const auto first = static_cast<unsigned char>(label.empty() ? 0 : label[0]);
  const bool number = label.size() > 1 && label.size() < 4 && label.find_first_not_of("0123456789") == label.npos;
  const unsigned long code = number ? std::stoul(label) : label.size() == 1 ? first : 0;
  if (code == 0 || code > kMostCode) {
    throw Failure(Exit::usage, argument + ": does not begin with a character, or its code from 01 to 127, and =");
  }
  return static_cast<std::uint32_t>(code);
}

// The files of a folder by their names; a name begins with the character. Hidden files are left out.
std::vector<Sample> samples_in(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(folder.c_str()), ::closedir);
  if (!listing) throw Failure(Exit::file, folder + ": " + std::strerror(errno));
  std::vector<std::string> names;
  while (const dirent* const entry = ::readdir(listing.get())) {
    if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
  }
  std::ranges::sort(names);
  std::vector<Sample> samples;
  for (const std::string& name : names) {
    const std::string path = folder + (folder.ends_with('/') ? "" : "/") + name;
    samples.push_back({code_of(name.substr(0, 1), path), path});
  }
  return samples;
}

std::vector<Sample> samples_of(const std::vector<std::string>& arguments) {
  std::vector<Sample> all;
  for (const std::string& argument : arguments) {
    // The first character may be the sign itself.
    const std::size_t sign = argument.find('=', 1);
    if (sign != argument.npos) {
      all.push_back({code_of(argument.substr(0, sign), argument), argument.substr(sign + 1)});
    } else if (std::error_code none; std::filesystem::is_directory(argument, none)) {
      std::ranges::move(samples_in(argument), std::back_inserter(all));
    } else {
      throw Failure(Exit::usage, argument + ": is neither CODE=IMAGE nor a folder");
    }
  }
  return all;
}

void train(zelimp::Font& font, const Sample& sample, Progress& progress) {
  const Picture picture = read_picture(sample.path, false);
  const std::string name = input_name(sample.path);
  const std::size_t index = about(name, [&] {
    return font.train(sample.code, {picture.width, picture.height, std::as_bytes(std::span(picture.samples))});
  });
  const zelimp::FontCharacter made = font.character(index);
  progress.step(name + ": sample " + std::to_string(made.samples) + " of code " + std::to_string(sample.code));
  if (made.mean.width != picture.width || made.mean.height != picture.height) {
    progress.tell(name + ": not of the template's size; only what both have counts, from the lower left corner");
  }
}

void run_train(const TrainOptions& options) {
  const std::vector<Sample> samples = samples_of(options.samples);
  std::vector<std::string> sources = {options.font};
  for (const Sample& sample : samples) sources.push_back(sample.path);
  check_sources(sources);
  check_targets({options.output}, options.common.force);
  Progress progress(options.common.verbose);
  zelimp::Font font = options.font.empty() ? zelimp::Font() : read_font(options.font);
  for (const Sample& sample : samples) train(font, sample, progress);
  write_font(font, options.output, options.common.force, progress);
}

struct ListOptions {
  std::string font;
  bool json = false;
};

std::string as_json(const std::string& name, const zelimp::Font& font) {
  ordered_json all = {{"file", name}, {"templates", ordered_json::array()}};
  for (std::size_t i = 0; i < font.size(); ++i) {
    const zelimp::FontCharacter one = font.character(i);
    const bool printed = one.code >= 32 && one.code < 127;
    all["templates"].push_back(
        {{"index", i},
         {"code", one.code},
         {"character", printed ? ordered_json(std::string(1, static_cast<char>(one.code))) : ordered_json()},
         {"width", one.mean.width},
         {"height", one.mean.height},
         {"samples", one.samples},
         {"mean_level", mean_of(one.mean)},
         {"mean_deviation", mean_of(one.variance)}});
  }
  return printable(all, 2) + "\n";
}

std::string as_table(const zelimp::Font& font) {
  std::ostringstream text;
  text << "index  code  character   width x height  samples  mean level  mean deviation\n"
       << std::fixed << std::setprecision(1);
  for (std::size_t i = 0; i < font.size(); ++i) {
    const zelimp::FontCharacter one = font.character(i);
    text << std::setw(5) << i << std::setw(6) << one.code << "  " << std::left << std::setw(9)
         << (one.code == 0 ? "deleted" : quoted(one.code)) << std::right << std::setw(8) << one.mean.width << " x "
         << std::left << std::setw(6) << one.mean.height << std::right << std::setw(9) << one.samples << std::setw(12)
         << mean_of(one.mean) << std::setw(16) << mean_of(one.variance) << "\n";
  }
  return text.str();
}

void run_list(const ListOptions& options) {
  const zelimp::Font font = read_font(options.font);
  print(options.json ? as_json(input_name(options.font), font) : as_table(font));
}

struct ExportOptions {
  std::string font, folder;
  Common common;
};

Output png_of(const std::string& path, const zelimp::Pixels& image) {
  return {path, as_png({image.width, image.height, 1, image.pixels})};
}

void run_export(const ExportOptions& options) {
  if (folder_exists(options.folder)) throw Failure(Exit::file, options.folder + ": exists already");
  Progress progress(options.common.verbose);
  const zelimp::Font font = read_font(options.font);
  std::vector<Output> outputs;
  for (std::size_t i = 0; i < font.size(); ++i) {
    const zelimp::FontCharacter one = font.character(i);
    if (one.code == 0) continue;
    std::ostringstream name;
    name << options.folder << "/" << std::setfill('0') << std::setw(3) << i << "-code" << std::setw(3) << one.code;
    outputs.push_back(png_of(name.str() + "-mean.png", one.mean));
    outputs.push_back(png_of(name.str() + "-variance.png", one.variance));
  }
  write_outputs(outputs, false, options.folder);
  progress.wrote(outputs);
}

enum class Conflict { error, first, last };

struct MergeOptions {
  std::vector<std::string> fonts;
  std::string output;
  Conflict conflict = Conflict::error;
  Common common;
};

// A font without the templates whose codes are in another one.
zelimp::Font without(zelimp::Font font, const zelimp::Font& other) {
  for (std::size_t i = 0; i < font.size(); ++i) {
    if (other.find(font.character(i).code)) font.remove(i);
  }
  zelimp::Font kept;
  kept.merge(font);  // leaves no deleted ones
  return kept;
}

void run_merge(const MergeOptions& options) {
  check_sources(options.fonts);
  check_targets({options.output}, options.common.force);
  Progress progress(options.common.verbose);
  zelimp::Font all;
  for (const std::string& path : options.fonts) {
    zelimp::Font font = read_font(path);
    if (options.conflict == Conflict::first) font = without(std::move(font), all);
    if (options.conflict == Conflict::last) all = without(std::move(all), font);
    about(input_name(path), [&] { all.merge(font); });
    progress.step("merged " + input_name(path) + ", " + std::to_string(all.size()) + " templates");
  }
  write_font(all, options.output, options.common.force, progress);
}

struct ShowOptions {
  std::string font, output;
  Common common;
};

void run_show(const ShowOptions& options) {
  check_targets({options.output}, options.common.force);
  Progress progress(options.common.verbose);
  const zelimp::Font font = read_font(options.font);
  zelimp::Font kept;
  kept.merge(font);
  if (kept.size() == 0) throw Failure(Exit::malformed, input_name(options.font) + ": has no templates to show");
  const std::vector<Output> outputs = {{options.output, as_png(view_of(font_sheet(kept)))}};
  write_outputs(outputs, options.common.force);
  progress.wrote(outputs);
}

void add_train(CLI::App& font) {
  const auto options = std::make_shared<TrainOptions>();
  CLI::App& command = *font.add_subcommand("train", "Make templates of labelled pictures of characters");
  command
      .add_option(
          "SAMPLES", options->samples,
          "CODE=IMAGE, where CODE is the character or its number in two or three digits, and IMAGE a PNG, JPEG, "
          "TIFF or PNM picture; or a folder of pictures whose names begin with the character")
      ->required();
  command.add_option("-o,--output", options->output, "Font to write, - standard output")->required();
  command.add_option("--font", options->font, "Font to go on with, - standard input");
  add_common(command, options->common);
  command.footer(
      "Examples:\n"
      "  zelimp font train 7=seven.png 7=another.png 65=a.png -o digits.fnt\n"
      "  zelimp font train samples --font digits.fnt -o digits.fnt --force\n"
      "A code may have any number of samples; the first gives a template its size. Of a sample of another size the\n"
      "part counts that lies over the template when their lower left corners do (--verbose tells). Codes are 1 to "
      "127.");
  command.callback([options] { run_train(*options); });
}

void add_list(CLI::App& font) {
  const auto options = std::make_shared<ListOptions>();
  CLI::App& command = *font.add_subcommand("list", "Tell what templates a font has");
  command.add_option("FONT", options->font, "Font file, - standard input")->required();
  command.add_flag("--json", options->json, "As JSON, for programs");
  command.footer("Example:\n  zelimp font list digits.fnt");
  command.callback([options] { run_list(*options); });
}

void add_export(CLI::App& font) {
  const auto options = std::make_shared<ExportOptions>();
  CLI::App& command = *font.add_subcommand("export", "Write mean and variance of every template as PNG");
  command.add_option("FONT", options->font, "Font file, - standard input")->required();
  command.add_option("-o,--output", options->folder, "Folder to make")->required();
  command.add_flag("--verbose", options->common.verbose, "Tell every step and its time on standard error");
  command.footer(
      "Example:\n"
      "  zelimp font export digits.fnt -o digits\n"
      "Files are named by index and code: 002-code055-mean.png, 002-code055-variance.png.");
  command.callback([options] { run_export(*options); });
}

void add_merge(CLI::App& font) {
  const auto options = std::make_shared<MergeOptions>();
  CLI::App& command = *font.add_subcommand("merge", "Put the templates of several fonts into one");
  command.add_option("FONTS", options->fonts, "Font files, - standard input")->required();
  command.add_option("-o,--output", options->output, "Font to write, - standard output")->required();
  const std::map<std::string, Conflict> names = {
      {"error", Conflict::error}, {"first", Conflict::first}, {"last", Conflict::last}};
  command
      .add_option("--on-conflict", options->conflict,
                  "When a code is in two fonts: error, or keep the template of the first or the last of them [error]")
      ->transform(CLI::CheckedTransformer(names))
      ->type_name("error|first|last");
  add_common(command, options->common);
  command.footer(
      "Example:\n"
      "  zelimp font merge digits.fnt letters.fnt -o all.fnt\n"
      "A font file has templates with codes 1 to 127; others are left out.");
  command.callback([options] { run_merge(*options); });
}

void add_show(CLI::App& font) {
  const auto options = std::make_shared<ShowOptions>();
  CLI::App& command = *font.add_subcommand("show", "Draw a sheet of all templates");
  command.add_option("FONT", options->font, "Font file, - standard input")->required();
  command.add_option("-o,--output", options->output, "PNG to write, - standard output")->required();
  add_common(command, options->common);
  command.footer(
      "Example:\n"
      "  zelimp font show digits.fnt -o sheet.png\n"
      "Each template has its mean on the left and its deviations on the right, dark where they are large: none is\n"
      "white, 64 grey levels and more are black.");
  command.callback([options] { run_show(*options); });
}

}  // namespace

void add_font(CLI::App& program) {
  CLI::App& command = *program.add_subcommand("font", "Make, look at and put together fonts of character templates");
  command.require_subcommand(1);
  add_train(command);
  add_list(command);
  add_export(command);
  add_merge(command);
  add_show(command);
  command.footer("Example:\n  zelimp font train 7=seven.png 8=eight.png -o digits.fnt");
}

}  // namespace tool
