#include <host/output/track.h>

#include <host/output/components.h>

namespace Marl::Host {

void Track::add(const Value& value)
{
    const int kind = value.getValueType();
    const std::size_t count = componentsOf(kind).size();
    if (count > 0) {
        samples.push_back({kind, static_cast<std::uint32_t>(count), numbers.size()});
        appendNumbers(value, numbers);
    } else {
        const std::string text = textOfValue(value);
        samples.push_back({kind, static_cast<std::uint32_t>(text.size()), texts.size()});
        texts += text;
    }
}

void Track::addMissing()
{
    samples.push_back({missing, 0, 0});
}

bool Track::addRecords(const Column& column)
{
    const int kind = column.kind() ? static_cast<int>(*column.kind()) : missing;
    const std::size_t count = componentsOf(kind).size();
    if (count == 0)
        return false;
    for (std::size_t i = 0; i < column.size(); ++i)
        samples.push_back({kind, static_cast<std::uint32_t>(count), numbers.size() + i * count});
    appendNumbers(column, numbers);
    return true;
}

void Track::append(const Track& other, std::size_t index)
{
    Sample sample = other.samples[index];
    if (componentsOf(sample.kind).empty()) {
        const std::string_view text = other.textAt(index);
        sample.begin = texts.size();
        texts += text;
    } else {
        const std::span<const double> given = other.numbersAt(index);
        sample.begin = numbers.size();
        numbers.insert(numbers.end(), given.begin(), given.end());
    }
    samples.push_back(sample);
}

std::span<const double> Track::numbersAt(std::size_t index) const
{
    const Sample& sample = samples[index];
    return std::span(numbers).subspan(sample.begin, sample.length);
}

std::string_view Track::textAt(std::size_t index) const
{
    const Sample& sample = samples[index];
    return std::string_view(texts).substr(sample.begin, sample.length);
}

} // namespace Marl::Host
