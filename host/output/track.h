// One property's values over a range of times, kept small: records as their numbers, the rest as text.
#pragma once

#include <marl/marl.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Marl::Host {

// The times first, first + step, first + 2 * step, ... each by one multiplication, so that no error adds up.
struct Times {
    double first = 0;
    double step = 0;
    std::size_t count = 1;

    double operator[](std::size_t index) const { return first + static_cast<double>(index) * step; }
};

class Track {
public:
    static constexpr int missing = -1;

    // Values that are no records are kept as what `text` makes of them.
    Track(std::string property, std::string (*text)(const Value&)) : name(std::move(property)), textOfValue(text) {}

    // Throws what the text function throws, and then nothing was added.
    void add(const Value& value);
    void addMissing();
    // All values of a column of records of one kind; of another nothing, and then it says no.
    bool addRecords(const Column& column);
    // The other's value at the index, or that it is missing.
    void append(const Track& other, std::size_t index);

    // The kind of the value at the index, or `missing`.
    int kindAt(std::size_t index) const { return samples[index].kind; }
    std::span<const double> numbersAt(std::size_t index) const;
    std::string_view textAt(std::size_t index) const;
    std::size_t size() const { return samples.size(); }

    std::string name;

private:
    struct Sample {
        std::int32_t kind;
        std::uint32_t length;
        std::uint64_t begin; // in the numbers or the texts
    };

    std::string (*textOfValue)(const Value&);
    std::vector<Sample> samples;
    std::vector<double> numbers;
    std::string texts;
};

} // namespace Marl::Host
