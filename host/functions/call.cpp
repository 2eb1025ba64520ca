#include <host/functions/call.h>

#include <host/report/kind_text.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace Marl::Host {

void OwnFunction::requireKinds(std::span<const Value> values) const
{
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto fits = [&](const FunctionKinds& kinds) {
            return kinds.takes[std::min(i, kinds.takes.size() - 1)] == values[i].kind();
        };
        if (std::ranges::any_of(function->form.kinds, fits))
            continue;
        constexpr std::string_view ordinals[] = {"first", "second", "third"};
        const std::string which = values.size() == 1 ? ""
            : i < std::size(ordinals)                ? fmt::format(" as its {} argument", ordinals[i])
                                                     : fmt::format(" as argument {}", i + 1);
        throw InvalidOpException(fmt::format("{}() takes {}{}, not {}.", function->name, function->argumentText(i),
                                             which, kindInWords(values[i].getValueType()))
                                     .c_str());
    }
}

} // namespace Marl::Host
