#include <host/report/diagnostic.h>

#include <algorithm>

namespace Marl::Host {

std::string_view severityName(Severity severity)
{
    return severity == Severity::Error ? "error" : "warning";
}

std::string sentence(const Diagnostic& diagnostic)
{
    if (diagnostic.hint.empty())
        return diagnostic.text;
    return diagnostic.text + (diagnostic.text.ends_with('.') ? " " : ". ") + diagnostic.hint;
}

void sortByPlace(std::vector<Diagnostic>& diagnostics)
{
    std::ranges::stable_sort(diagnostics, {}, [](const Diagnostic& d) { return d.place.begin; });
}

} // namespace Marl::Host
