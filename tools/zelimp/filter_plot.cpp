#include "filter_plot.hpp"

#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace tool {
namespace {

// Picture units. One step of distance is as wide in every panel; the longest filter has a row of its own.
constexpr double kUnitX = 30, kUnitY = 96;
constexpr double kHalfPanel = 3.4;  // distances a panel shows
constexpr double kTop = 1.05, kBottom = -0.25;
constexpr int kColumns = 4;
constexpr double kLeft = 40, kHead = 56, kGap = 24, kLabel = 42, kTicks = 20;
constexpr double kPanelWidth = 2 * kHalfPanel * kUnitX;
constexpr double kPanelHeight = (kTop - kBottom) * kUnitY;
constexpr double kRowHeight = kLabel + kPanelHeight + kTicks;
constexpr int kRows = (kFilters - 1 + kColumns - 1) / kColumns + 1;
constexpr double kWidth = kLeft + kColumns * (kPanelWidth + kGap);
constexpr double kHeight = kHead + kRows * kRowHeight + 16;
constexpr int kPointsPerUnit = 32;  // of a curve; radii are whole numbers of halves

constexpr const char* kStyle =
    "<title>Resampling filters</title>\n"
    "<style>\n"
    "text { font-family: 'DejaVu Sans', Verdana, Arial, sans-serif; font-size: 10px; fill: #5b6570; }\n"
    ".title { font-size: 17px; font-weight: bold; fill: #1f2933; }\n"
    ".note { font-size: 12px; }\n"
    ".name { font-size: 13px; font-weight: bold; fill: #1f2933; }\n"
    ".radius { font-size: 11px; text-anchor: end; fill: #a33a2a; }\n"
    ".x { text-anchor: middle; }\n"
    ".y { text-anchor: end; }\n"
    ".panel { fill: #f6f8fa; stroke: #d5dbe1; }\n"
    ".grid { stroke: #e1e6eb; }\n"
    ".zero, .tick { stroke: #8a95a0; }\n"
    ".reach { stroke: #a33a2a; stroke-dasharray: 3 3; }\n"
    ".curve { fill: #2b6cb0; fill-opacity: 0.14; stroke: #2b6cb0; stroke-width: 2; stroke-linejoin: round; }\n"
    "</style>\n"
    "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";

// One piece of the drawing, by a pattern of printf.
__attribute__((format(printf, 1, 2))) std::string piece(const char* pattern, ...) {
  char text[512];
  std::va_list values;
  va_start(values, pattern);
  std::vsnprintf(text, sizeof text, pattern, values);
  va_end(values);
  return text;
}

std::string line(double x1, double y1, double x2, double y2, const char* kind) {
  return piece("<line class=\"%s\" x1=\"%.2f\" y1=\"%.2f\" x2=\"%.2f\" y2=\"%.2f\"/>\n", kind, x1, y1, x2, y2);
}

std::string label(double x, double y, const char* kind, const std::string& words) {
  return piece("<text class=\"%s\" x=\"%.2f\" y=\"%.2f\">%s</text>\n", kind, x, y, words.c_str());
}

// Places within a panel whose origin is distance 0, weight 0.
double at_x(double distance) { return distance * kUnitX; }
double at_y(double weight) { return 0.0 - weight * kUnitY; }

std::string axes(double half_panel, bool first_in_row) {
  const double left = at_x(-half_panel), right = at_x(half_panel), bottom = at_y(kBottom);
  std::string svg = piece("<rect class=\"panel\" x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\"/>\n", left,
                          at_y(kTop), right - left, kPanelHeight);
  for (const double weight : {0.5, 1.0}) svg += line(left, at_y(weight), right, at_y(weight), "grid");
  svg += line(left, at_y(0), right, at_y(0), "zero");
  const int last = static_cast<int>(half_panel);
  for (int distance = -last; distance <= last; ++distance) {
    svg += line(at_x(distance), bottom - 4, at_x(distance), bottom, "tick");
    svg += label(at_x(distance), bottom + 14, "x", piece("%d", distance));
  }
  if (!first_in_row) return svg;
  for (const double weight : {0.0, 0.5, 1.0}) svg += label(left - 6, at_y(weight) + 4, "y", piece("%g", weight));
  return svg;
}

// Begins and ends on the zero line, so that a filter that does not end at 0 has its edges.
std::string curve(zelimp::Filter filter, double radius) {
  std::string svg = piece("<path class=\"curve\" d=\"M%.2f %.2f", at_x(-radius), at_y(0));
  const int points = static_cast<int>(std::lround(radius * kPointsPerUnit));
  for (int i = -points; i <= points; ++i) {
    const double distance = static_cast<double>(i) / kPointsPerUnit;
    svg += piece("L%.2f %.2f", at_x(distance), at_y(zelimp::filter_weight(filter, distance)));
  }
  return svg + piece("L%.2f %.2f\"/>\n", at_x(radius), at_y(0));
}

std::string panel(zelimp::Filter filter, double half_panel, double left, double top, bool first_in_row) {
  const auto [view, radius] = zelimp::facts(filter);
  const std::string name(view);
  std::string svg = piece("<g id=\"%s\" transform=\"translate(%.2f %.2f)\">\n", name.c_str(), left + at_x(half_panel),
                          top + kLabel - at_y(kTop));
  svg += label(at_x(-half_panel), at_y(kTop) - 8, "name", name);
  svg += label(at_x(half_panel), at_y(kTop) - 8, "radius", piece("radius %g", radius));
  svg += axes(half_panel, first_in_row);
  for (const double end : {-radius, radius}) svg += line(at_x(end), at_y(kTop), at_x(end), at_y(kBottom), "reach");
  return svg + curve(filter, radius) + "</g>\n";
}

// The filter with a row of its own.
zelimp::Filter longest() {
  auto found = zelimp::Filter{};
  for (int i = 0; i < kFilters; ++i) {
    const auto filter = static_cast<zelimp::Filter>(i);
    if (zelimp::facts(filter).radius > zelimp::facts(found).radius) found = filter;
  }
  return found;
}

}  // namespace

std::string filter_plot() {
  std::string svg =
      piece("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%g\" height=\"%g\" viewBox=\"0 0 %g %g\">\n", kWidth,
            kHeight, kWidth, kHeight);
  svg += kStyle;
  svg += label(kLeft, 30, "title", "Resampling filters");
  svg +=
      label(kLeft, 52, "note",
            "Weight of a source pixel by its distance: in source pixels when enlarging, in pixels of the result when "
            "shrinking. Dashed: the radius.");
  const zelimp::Filter last = longest();
  int place = 0;
  for (int i = 0; i < kFilters; ++i) {
    const auto filter = static_cast<zelimp::Filter>(i);
    if (filter == last) continue;
    const int column = place % kColumns;
    svg += panel(filter, kHalfPanel, kLeft + column * (kPanelWidth + kGap), kHead + place / kColumns * kRowHeight,
                 column == 0);
    ++place;
  }
  const double half_panel = zelimp::facts(last).radius + kHalfPanel - 3;
  return svg + panel(last, half_panel, kLeft, kHead + (kRows - 1) * kRowHeight, true) + "</svg>\n";
}

}  // namespace tool
