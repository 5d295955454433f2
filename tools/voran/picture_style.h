#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "tools/voran/svg_writer.h"
#include "tools/voran/table.h"

namespace tool {

// What the pictures of all commands have in common.

inline constexpr double kPageWidth = 960.0;
inline constexpr double kPageMargin = 30.0;
inline constexpr double kSmallText = 11.0;

inline constexpr std::string_view kInk = "#222222";
inline constexpr std::string_view kGrey = "#555555";
inline constexpr std::string_view kPale = "#b0b0b0";
inline constexpr std::string_view kGrid = "#e4e4e4";

/// Okabe and Ito, Color Universal Design (2008), without the yellow, which is hard to see on white. The first is for
/// data, the second for what stands out.
inline constexpr std::array<std::string_view, 6> kColours = {"#0072b2", "#d55e00", "#009e73",
                                                             "#cc79a7", "#56b4e9", "#e69f00"};

SvgAttributes TextStyle(double size, std::string_view colour, std::string_view anchor = "start");

/// The name of a table's file and what rows of it, short enough to head a picture.
std::string PictureName(const Table& table);

/// Two lines at the upper left of the page, which end above 50.
void WriteHead(SvgWriter& svg, const std::string& title, const std::string& subtitle);

}  // namespace tool
