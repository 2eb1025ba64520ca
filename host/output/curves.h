// Numbers over time as gnuplot draws them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Marl::Host {

// NaN and infinite values are gaps.
struct Curve {
    std::string name;
    std::vector<double> values;
};

struct CurveGroup {
    std::vector<double> times; // ascending
    std::vector<bool> isKey;   // whether the values at the time are marked
    std::vector<Curve> curves;
};

struct Picture {
    std::string settings; // commands, a line each
    std::string_view lineStyle;
    std::string_view keyStyle;
};

Picture textPicture(int columns, int lines);
Picture svgPicture();
Picture pngPicture();

// The commands for gnuplot, data included. Names stand in them so that they are no commands.
std::string gnuplotScript(const std::vector<CurveGroup>& groups, double from, double to, const Picture& picture);

} // namespace Marl::Host
