// A number, vector or time that is the text of itself, in brackets, for languages that are read.
#pragma once

#include <charconv>
#include <concepts>
#include <string>
#include <utility>

namespace Bench {

struct Text {
    explicit Text(std::string written) : text(std::move(written)) {}
    Text(std::convertible_to<double> auto number)
    {
        char digits[32];
        text.assign(digits, std::to_chars(digits, digits + sizeof digits, static_cast<double>(number)).ptr);
        if (text.find_first_of(".e") == std::string::npos)
            text += ".0"; // no integer in any language
    }

    std::string text;
};

inline Text joined(const Text& a, const char* sign, const Text& b)
{
    return Text("(" + a.text + sign + b.text + ")");
}
inline Text called(const char* name, const Text& a)
{
    return Text(name + ("(" + a.text + ")"));
}

// clang-format off
inline Text operator+(const Text& a, const Text& b) { return joined(a, "+", b); }
inline Text operator-(const Text& a, const Text& b) { return joined(a, "-", b); }
inline Text operator*(const Text& a, const Text& b) { return joined(a, "*", b); }
inline Text operator/(const Text& a, const Text& b) { return joined(a, "/", b); }

inline Text sqrt(const Text& a)  { return called("sqrt", a); }
inline Text sin(const Text& a)   { return called("sin", a); }
inline Text cos(const Text& a)   { return called("cos", a); }
// Only KSeExpr reads the three below.
inline Text noise(const Text& a) { return called("snoise", a); }
inline Text dot(const Text& a, const Text& b) { return Text("dot(" + a.text + "," + b.text + ")"); }
inline Text vec(const Text& x, const Text& y, const Text& z) { return Text("[" + x.text + "," + y.text + "," + z.text + "]"); }
// clang-format on

} // namespace Bench
