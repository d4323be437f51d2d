// The sub-commands. Each function adds one to the program; its work is done while the command line is parsed and ends
// with a Failure or in peace.
#pragma once

#include <CLI/CLI.hpp>
#include <cmath>
#include <string>
#include <vector>

namespace tool {

void add_simulate(CLI::App& program);
void add_info(CLI::App& program);
void add_descramble(CLI::App& program);
void add_process(CLI::App& program);
void add_resample(CLI::App& program);
void add_wrap(CLI::App& program);
void add_describe(CLI::App& program);
void add_font(CLI::App& program);
void add_holes(CLI::App& program);
void add_banknote(CLI::App& program);
void add_note(CLI::App& program);

// What every command that writes files has.
struct Common {
  bool force = false;
  bool verbose = false;
};

inline void add_common(CLI::App& command, Common& common) {
  command.add_flag("--force", common.force, "Replace output files that exist already");
  command.add_flag("--verbose", common.verbose, "Tell every step and its time on standard error");
}

// A number within its range, which no NaN is (CLI::Range lets it through). With a zero in front it is refused: whole
// numbers would be read as octal ones.
template <class Number>
CLI::Validator between(Number least, Number most) {
  const std::string range = "from " + CLI::detail::to_string(least) + " to " + CLI::detail::to_string(most);
  return CLI::Validator(
      [=](std::string& text) {
        double value = std::nan("");
        const bool octal = text.size() > 1 && text[0] == '0' && text[1] >= '0' && text[1] <= '9';
        const bool number = !octal && CLI::detail::lexical_cast(text, value);
        return number && value >= least && value <= most ? "" : "\"" + text + "\" is not a number " + range;
      },
      range);
}

// One of some numbers, written as they are here: compared as numbers, 012 would be an octal 10.
template <class Numbers>
CLI::Validator one_of(const Numbers& numbers) {
  std::vector<std::string> texts;
  for (const auto number : numbers) texts.push_back(std::to_string(number));
  return CLI::IsMember(texts);
}

// The sensor's layout: two options, which are returned.
inline std::vector<CLI::Option*> add_layout(CLI::App& command, bool& swap_sides, bool& model_7200) {
  const auto flag = [&command](const char* name, bool& value, const char* help) {
    return command
        .add_option_function<int>(
            name, [&value](int given) { value = given != 0; }, help)
        ->check(one_of(std::initializer_list<int>{0, 1}))
        ->type_name("0|1");
  };
  return {flag("--swap-sides", swap_sides, "1: channel A reads the left half of a row, 0: the right half [1]"),
          flag("--model", model_7200, "1: channel A is read mirrored, 0: in order (with --swap-sides 0 only) [1]")};
}

}  // namespace tool
