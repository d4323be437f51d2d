#include "process_report.hpp"

#include <iomanip>
#include <nlohmann/json.hpp>
#include <numbers>
#include <sstream>

#include "json_text.hpp"

namespace tool {
namespace {

using nlohmann::ordered_json;

double degrees(double radians) { return radians * 180 / std::numbers::pi; }

// Why the skew was not corrected; nothing where it was, or where nobody asked for it.
std::optional<std::string> reason_against(const Made& made) {
  const zelimp::ProcessReport& report = made.report;
  if (made.deskew != zelimp::Deskew::on || report.skew_corrected) return std::nullopt;
  if (!report.skew_found) return "not found";
  return report.border ? "the scan is too narrow" : "within 1 degree";
}

template <class Value, class Describe>
ordered_json or_null(const std::optional<Value>& value, Describe&& describe) {
  return value ? ordered_json(describe(*value)) : ordered_json();
}

const char* name_of(zelimp::Side face) { return face == zelimp::Side::front ? "front" : "rear"; }

ordered_json angle_facts(double radians) { return {{"radians", radians}, {"degrees", degrees(radians)}}; }

std::size_t last_row(const zelimp::Border& border) { return border.first_row + border.columns.size() - 1; }

ordered_json border_facts(const zelimp::Border& border) {
  return {{"face", name_of(border.face)},
          {"threshold", border.threshold},
          {"first_row", border.first_row},
          {"last_row", last_row(border)},
          {"first_row_column", border.columns.front()},
          {"last_row_column", border.columns.back()}};
}

ordered_json box_facts(const zelimp::Box& box) {
  return {{"left", box.left}, {"top", box.top}, {"width", box.width}, {"height", box.height}};
}

std::string skew_sentence(const Made& made) {
  const std::optional<std::string> reason = reason_against(made);
  if (!made.report.skew_found) return "skew not found";
  std::ostringstream text;
  text << std::fixed << std::setprecision(3) << "skew " << degrees(*made.report.skew_found) << " degrees ("
       << std::setprecision(5) << *made.report.skew_found << " radians)";
  if (made.report.skew_corrected) text << ", corrected";
  if (reason) text << ", not corrected: " << *reason;
  return text.str();
}

std::string border_sentence(const zelimp::Border& border) {
  std::ostringstream text;
  text << "border of the " << name_of(border.face) << " face, at grey level " << border.threshold << ": column "
       << border.columns.front() << " in row " << border.first_row << ", column " << border.columns.back() << " in row "
       << last_row(border);
  return text.str();
}

std::string box_sentence(const zelimp::Box& box) {
  std::ostringstream text;
  text << "cut " << box.width << " x " << box.height << " pixels at column " << box.left << ", row " << box.top;
  return text.str();
}

}  // namespace

std::string as_json(const Made& made) {
  const zelimp::ProcessReport& report = made.report;
  const ordered_json all = {{"input", made.input},
                            {"output", made.output},
                            {"format", made.format},
                            {"width", report.width},
                            {"height", report.height},
                            {"bit_depth", report.bit_depth},
                            {"black_share", or_null(report.black_share, [](double share) { return share; })},
                            {"skew",
                             {{"found", or_null(report.skew_found, angle_facts)},
                              {"corrected", or_null(report.skew_corrected, angle_facts)},
                              {"not_corrected", or_null(reason_against(made), [](auto& reason) { return reason; })}}},
                            {"border", or_null(report.border, border_facts)},
                            {"cut", or_null(report.cut, box_facts)},
                            {"bytes", made.bytes}};
  return printable(all, 2) + "\n";
}

std::vector<std::string> as_sentences(const Made& made) {
  std::vector<std::string> sentences;
  if (made.deskew != zelimp::Deskew::off) sentences.push_back(skew_sentence(made));
  if (made.report.border) sentences.push_back(border_sentence(*made.report.border));
  if (made.report.cut) sentences.push_back(box_sentence(*made.report.cut));
  return sentences;
}

}  // namespace tool
