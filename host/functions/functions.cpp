#include <host/functions/functions.h>

#include <host/functions/call.h>
#include <host/functions/rules.h>
#include <host/report/kind_text.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace Marl::Host {

namespace {

using Number = double;
using Point = TracePoint;

constexpr double halfTurn = 3.14159265358979323846; // in double precision, other than the constant pi

template <typename Result, typename... Given>
FunctionForm builtin(Builtin id)
{
    return {{kindsOf<Result, Given...>()}, false, id};
}

std::vector<Function> table()
{
    // clang-format off
    return {
    // The library's. They take a value of another kind for zero.
    {"sqr",        "x",            "x times itself.",                                                                 builtin<Number, Number>(Builtin::Sqr)},
    {"sqrt",       "x",            "The square root.",                                                                builtin<Number, Number>(Builtin::Sqrt)},
    {"pow",        "a, b",         "a to the power b.",                                                               builtin<Number, Number, Number>(Builtin::Pow)},
    {"sin",        "x",            "The sine of an angle in radians.",                                                builtin<Number, Number>(Builtin::Sin)},
    {"cos",        "x",            "The cosine of an angle in radians.",                                              builtin<Number, Number>(Builtin::Cos)},
    {"uniform",    "a, b",         "(1 - s) * a + s * b with a sample s of its own.",                                 builtin<Number, Number, Number>(Builtin::Uniform)},
    {"length",     "v",            "How long v is; every step in single precision.",                                  builtin<Number, Point>(Builtin::Length)},
    {"cross",      "a, b",         "The cross product; computed in double, rounded to single.",                       builtin<Point, Point, Point>(Builtin::Cross)},
    {"noise",      "v",            "About -1 to 1, smooth along x and y; z counts in steps of one half only.",        builtin<Number, Point>(Builtin::Noise)},
    // The host's own.
    {"abs",        "x",            "x without its sign.",                                                             rule([](Number x) { return std::fabs(x); })},
    {"sign",       "x",            "-1 below 0, 1 above, 0 for both zeros.",                                          rule([](Number x) { return sign(x); })},
    {"floor",      "x",            "The next whole number down.",                                                     rule([](Number x) { return std::floor(x); })},
    {"ceil",       "x",            "The next whole number up.",                                                       rule([](Number x) { return std::ceil(x); })},
    {"round",      "x",            "The nearest whole number; from the middle between two the even one.",             rule([](Number x) { return std::nearbyint(x); })},
    {"mod",        "x, y",         "x - y * floor(x / y), which has the sign of y.",                                  rule([](Number x, Number y) { return x - y * std::floor(x / y); })},
    {"min",        "a, b, ...",    "The least of them.",                                                              fold([](Number a, Number b) { return lesser(a, b); })},
    {"max",        "a, b, ...",    "The greatest of them.",                                                           fold([](Number a, Number b) { return greater(a, b); })},
    {"clamp",      "x, low, high", "min(max(x, low), high).",                                                         rule([](Number x, Number low, Number high) { return lesser(greater(x, low), high); })},
    {"mix",        "a, b, t",      "a * (1 - t) + b * t, also beyond a and b.",                                       rule([](Number a, Number b, Number t) { return a * (1 - t) + b * t; })},
    {"step",       "edge, x",      "0 where x is less than edge, else 1.",                                            rule([](Number edge, Number x) { return step(edge, x); })},
    {"smoothstep", "low, high, x", "From 0 at low to 1 at high by 3t^2 - 2t^3, and level beyond them.",               rule([](Number low, Number high, Number x) { return smoothStep(low, high, x); })},
    {"exp",        "x",            "e to the power x.",                                                               rule([](Number x) { return std::exp(x); })},
    {"log",        "x",            "The natural logarithm.",                                                          rule([](Number x) { return std::log(x); })},
    {"tan",        "x",            "The tangent of an angle in radians.",                                             rule([](Number x) { return std::tan(x); })},
    {"asin",       "x",            "The angle from -pi/2 to pi/2 whose sine is x.",                                   rule([](Number x) { return std::asin(x); })},
    {"acos",       "x",            "The angle from 0 to pi whose cosine is x.",                                       rule([](Number x) { return std::acos(x); })},
    {"atan2",      "y, x",         "The angle from -pi to pi at which the point (x, y) is seen from the origin.",     rule([](Number y, Number x) { return std::atan2(y, x); })},
    {"radians",    "x",            "An angle in degrees as one in radians.",                                          rule([](Number x) { return x * (halfTurn / 180); })},
    {"degrees",    "x",            "An angle in radians as one in degrees.",                                          rule([](Number x) { return x * (180 / halfTurn); })},
    {"dot",        "a, b",         "The dot product, of the vectors as they are.",                                    rule([](const Point& a, const Point& b) { return dot(a, b); })},
    {"normalize",  "v",            "v with length 1; the zero vector stays as it is.",                                rule([](const Point& v) { return normalized(v); })},
    {"rotate",     "axis, angle",  "Turns by an angle in radians, right-handed; about a zero axis not at all.",       rule([](const Point& axis, Number angle) { return rotation(axis, angle); })},
    {"scale",      "v",            "Stretches x, y and z by those of v.",                                             rule([](const Point& v) { return diagonal(v); })},
    {"inverse",    "m",            "Undoes m, or fails: Matrix has no inverse.",                                      either([](const Matrix& m) { return inverse(m); }, [](const TraceTransform& m) { return inverse(m); })},
    };
    // clang-format on
}

// "a matrix or a transform".
std::string oneOf(const Function& function, auto&& kindOf)
{
    std::vector<std::string_view> kinds;
    for (const FunctionKinds& each : function.form.kinds)
        kinds.push_back(kindInWords(static_cast<int>(kindOf(each))));
    return fmt::format("{}", fmt::join(kinds, " or "));
}

} // namespace

std::span<const Function> allFunctions()
{
    static const std::vector<Function> all = table();
    return all;
}

const Function* findFunction(std::string_view name)
{
    const auto all = allFunctions();
    const auto found = std::ranges::find(all, name, &Function::name);
    return found == all.end() ? nullptr : &*found;
}

std::string Function::callText() const
{
    return fmt::format("{}({})", name, arguments);
}

std::string Function::takesText() const
{
    const std::vector<ValueType>& taken = form.kinds.front().takes;
    const bool areAlike = std::ranges::count(taken, taken.front()) == std::ssize(taken);
    if (taken.size() > 1 && areAlike) {
        const std::string_view kind = kindInWords(static_cast<int>(taken.front())); // "a number"
        return fmt::format("{}{}{}s", taken.size() == 2 ? "two" : "three", form.takesMore ? " or more" : "",
                           kind.substr(kind.find(' ')));
    }
    std::vector<std::string> parts;
    for (std::size_t i = 0; i < taken.size(); ++i)
        parts.push_back(argumentText(i));
    return fmt::format("{}", fmt::join(parts, " and "));
}

std::string Function::argumentText(std::size_t index) const
{
    const std::size_t known = std::min(index, fewestArguments() - 1);
    return oneOf(*this, [&](const FunctionKinds& kinds) { return kinds.takes[known]; });
}

std::string Function::givesText() const
{
    return oneOf(*this, [](const FunctionKinds& kinds) { return kinds.gives; });
}

} // namespace Marl::Host
