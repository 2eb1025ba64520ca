#include <marl/ast/list_text.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <system_error>

namespace Marl {

namespace {

constexpr bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// Walks a text from its start; the first fault ends the walk.
class Scanner {
public:
    explicit Scanner(std::string_view given) : text(given) {}

    // Behind blanks, which end before what may stand nowhere.
    TextFault fault(const char* expected) const
    {
        if (rest().starts_with('\0'))
            expected = "no NUL outside texts";
        else if (rest().starts_with("/*"))
            expected = "the end of the comment";
        return faultAfter(0, expected);
    }

    TextFault faultAfter(std::size_t size, const char* expected) const
    {
        return {static_cast<int>(at + size), expected};
    }

    bool atEnd() const { return at == text.size(); }
    std::string_view rest() const { return text.substr(at); }
    void skip(std::size_t size) { at += size; }

    void skipBlanks()
    {
        for (;;) {
            while (!atEnd() && isSpace(text[at]))
                ++at;
            const TextStretch comment = commentAt(rest());
            if (!comment.isClosed)
                return;
            const std::size_t nul = rest().substr(0, comment.length).find('\0');
            if (nul < comment.length)
                return skip(nul);
            skip(comment.length);
        }
    }

    bool take(char token)
    {
        if (!rest().starts_with(token))
            return false;
        ++at;
        return true;
    }

    // What stands before the next blank, comma, comment or NUL.
    std::string_view word() const
    {
        std::size_t end = at;
        while (end < text.size() && !isSpace(text[end]) && text[end] != ',' && text[end] != '/' && text[end] != '\0')
            ++end;
        return text.substr(at, end - at);
    }

private:
    std::string_view text;
    std::size_t at = 0;
};

std::size_t digitsAt(std::string_view word, std::size_t at)
{
    std::size_t end = at;
    while (end < word.size() && isDigit(word[end]))
        ++end;
    return end - at;
}

// An optional minus, then digits with a point and an exponent, or inf or nan. from_chars
// alone would also take a point without digits behind it.
bool isFloatWord(std::string_view word)
{
    std::size_t at = word.starts_with('-') ? 1 : 0;
    if (word.substr(at) == "inf" || word.substr(at) == "nan")
        return true;
    const std::size_t whole = digitsAt(word, at);
    at += whole;
    if (at < word.size() && word[at] == '.') {
        const std::size_t fraction = digitsAt(word, at + 1);
        if (fraction == 0)
            return false;
        at += 1 + fraction;
    } else if (whole == 0) {
        return false;
    }
    if (at < word.size() && (word[at] == 'e' || word[at] == 'E')) {
        ++at;
        if (at < word.size() && (word[at] == '+' || word[at] == '-'))
            ++at;
        const std::size_t exponent = digitsAt(word, at);
        if (exponent == 0)
            return false;
        at += exponent;
    }
    return at == word.size();
}

// Of a number outside a type's range: whether it is too small for it, not too large.
bool isTiny(std::string_view word)
{
    const std::size_t e = word.find_first_of("eE");
    const std::string_view mantissa = word.substr(0, e);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t significant = mantissa.find_first_of("123456789");
    if (significant == std::string_view::npos)
        return true;
    // The power of ten of the first significant digit, give or take one, without the exponent.
    const auto power = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(significant);
    std::int64_t exponent = 0;
    if (e != std::string_view::npos) {
        const std::string_view digits = word.substr(word[e + 1] == '+' ? e + 2 : e + 1);
        const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
        if (read.ec != std::errc())
            return digits.starts_with('-');
    }
    return exponent < -power;
}

template <typename Float>
const char* readFloatWord(std::string_view word, Float& number, const char* fitting)
{
    if (!isFloatWord(word))
        return "a number";
    const auto read = std::from_chars(word.data(), word.data() + word.size(), number);
    if (read.ec == std::errc::result_out_of_range) {
        if (!isTiny(word))
            return fitting;
        number = word.starts_with('-') ? -Float(0) : Float(0);
    }
    return nullptr;
}

const char* readWord(std::string_view word, float& number)
{
    return readFloatWord(word, number, "a number that single precision can hold");
}

const char* readWord(std::string_view word, int& number)
{
    const std::size_t sign = word.starts_with('-') ? 1 : 0;
    if (word.size() == sign || digitsAt(word, sign) != word.size() - sign)
        return "an integer";
    const auto read = std::from_chars(word.data(), word.data() + word.size(), number);
    return read.ec == std::errc() ? nullptr : "an integer of 32 bits";
}

template <typename Number>
std::optional<TextFault> readNumber(Scanner& scanner, Number& number)
{
    const std::string_view word = scanner.word();
    if (const char* expected = readWord(word, number))
        return scanner.fault(expected);
    scanner.skip(word.size());
    scanner.skipBlanks();
    return std::nullopt;
}

template <typename Number>
std::optional<TextFault> readItem(Scanner& scanner, Number& number)
{
    return readNumber(scanner, number);
}

std::optional<TextFault> readThree(Scanner& scanner, float& first, float& second, float& third)
{
    for (float* component : {&first, &second, &third})
        if (const auto fault = readNumber(scanner, *component))
            return fault;
    return std::nullopt;
}

std::optional<TextFault> readItem(Scanner& scanner, Vector& v)
{
    return readThree(scanner, v.x, v.y, v.z);
}

std::optional<TextFault> readItem(Scanner& scanner, Color& c)
{
    return readThree(scanner, c.r, c.g, c.b);
}

std::optional<TextFault> readItem(Scanner& scanner, CharString& text)
{
    const std::string_view rest = scanner.rest();
    const TextStretch quoted = quotedTextAt(rest);
    if (quoted.length == 0)
        return scanner.fault("a text in quotes");
    if (!quoted.isClosed)
        return scanner.faultAfter(
            quoted.mark, quoted.length == rest.size() ? "the end of the text" : "a text that ends on its line");
    text = std::string(rest.substr(quoted.mark, quoted.length - 2 * quoted.mark)).c_str();
    scanner.skip(quoted.length);
    scanner.skipBlanks();
    return std::nullopt;
}

template <typename T>
constexpr bool needsCommas = true;
template <>
constexpr bool needsCommas<float> = false;
template <>
constexpr bool needsCommas<int> = false;

TextStretch upTo(std::string_view closing, std::string_view text, std::size_t mark)
{
    const std::size_t end = text.find(closing, mark);
    return end == std::string_view::npos ? TextStretch{text.size(), mark, false}
                                         : TextStretch{end + closing.size(), mark, true};
}

int hexDigit(char c)
{
    if (isDigit(c))
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace

TextStretch quotedTextAt(std::string_view text)
{
    if (text.starts_with("\"\"\""))
        return upTo("\"\"\"", text, 3);
    if (!text.starts_with('"') && !text.starts_with('\''))
        return {};
    const std::size_t end = std::min(text.find_first_of(text.front() == '"' ? "\"\n" : "'\n", 1), text.size());
    const bool isClosed = end < text.size() && text[end] == text.front();
    return {end + (isClosed ? 1 : 0), 1, isClosed};
}

TextStretch commentAt(std::string_view text)
{
    if (text.starts_with("//"))
        return {std::min(text.find('\n'), text.size()), 2, true};
    return text.starts_with("/*") ? upTo("*/", text, 2) : TextStretch();
}

std::optional<TextFault> readNumberText(std::string_view word, double& number)
{
    const char* expected = readFloatWord(word, number, "a number that double precision can hold");
    return expected ? std::optional(TextFault{0, expected}) : std::nullopt;
}

template <typename T>
std::optional<TextFault> readListText(std::string_view text, std::vector<T>& items)
{
    Scanner scanner(text);
    scanner.skipBlanks();
    while (!scanner.atEnd()) {
        if (const auto fault = readItem(scanner, items.emplace_back()))
            return fault;
        if (!needsCommas<T> || scanner.atEnd())
            continue;
        if (!scanner.take(','))
            return scanner.fault("a comma");
        scanner.skipBlanks();
    }
    return std::nullopt;
}

template MARL_API std::optional<TextFault> readListText(std::string_view, std::vector<float>&);
template MARL_API std::optional<TextFault> readListText(std::string_view, std::vector<int>&);
template MARL_API std::optional<TextFault> readListText(std::string_view, std::vector<Vector>&);
template MARL_API std::optional<TextFault> readListText(std::string_view, std::vector<Color>&);
template MARL_API std::optional<TextFault> readListText(std::string_view, std::vector<CharString>&);

std::optional<TextFault> readHexTransform(std::string_view text, TraceTransform& transform)
{
    std::size_t at = 0;
    const auto readBits = [&](int digits, std::uint64_t& bits) {
        bits = 0;
        while (digits > 0 && at < text.size()) {
            const int digit = hexDigit(text[at]);
            if (digit < 0 && !isSpace(text[at]))
                return false;
            ++at;
            if (digit < 0)
                continue;
            bits = bits << 4 | static_cast<std::uint64_t>(digit);
            --digits;
        }
        return digits == 0;
    };
    const auto fault = [&](const char* expected) { return TextFault{static_cast<int>(at), expected}; };

    std::uint64_t bits = 0;
    for (Vector& column : transform.matrix.columns)
        for (float* component : {&column.x, &column.y, &column.z}) {
            if (!readBits(8, bits))
                return fault("120 hexadecimal digits");
            *component = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        }
    for (double* component : {&transform.offset.x, &transform.offset.y, &transform.offset.z}) {
        if (!readBits(16, bits))
            return fault("120 hexadecimal digits");
        *component = std::bit_cast<double>(bits);
    }
    while (at < text.size() && isSpace(text[at]))
        ++at;
    return at == text.size() ? std::nullopt : std::optional(fault("the end after 120 hexadecimal digits"));
}

} // namespace Marl
