#include <host/report/number_text.h>

#include <array>
#include <charconv>
#include <cmath>

namespace Marl::Host {

namespace {

template <typename Float>
std::string shortestText(Float number)
{
    if (std::isnan(number))
        return "nan"; // of a NaN no sign counts
    std::array<char, 32> text;
    const auto written = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), written.ptr};
}

} // namespace

std::string numberText(double number)
{
    return shortestText(number);
}

// The shortest text of a float is nearer to it than to any other, but read as a double it could
// come to lie in the middle between two floats.
std::string numberText(float number)
{
    std::string text = shortestText(number);
    double read = 0;
    std::from_chars(text.data(), text.data() + text.size(), read);
    return static_cast<float>(read) == number || std::isnan(number) ? text
                                                                    : shortestText(static_cast<double>(number));
}

} // namespace Marl::Host
