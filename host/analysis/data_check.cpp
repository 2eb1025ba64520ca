#include <host/analysis/data_check.h>

#include <host/analysis/children.h>

#include <fmt/format.h>

#include <optional>

namespace Marl::Host {

namespace {

template <typename T>
std::optional<TextFault> read(const ListTypeExpressionAST<T>&, std::string_view text)
{
    std::vector<T> items;
    return readListText(text, items);
}

std::optional<TextFault> read(const TransformHexExpressionAST&, std::string_view text)
{
    TraceTransform transform;
    return readHexTransform(text, transform);
}

template <typename T>
constexpr const char* commaHint = "";
template <>
constexpr const char* commaHint<ListTypeExpressionAST<float>> = "Numbers here stand between blanks and use a point.";
template <>
constexpr const char* commaHint<ListTypeExpressionAST<int>> = "Numbers here stand between blanks.";

class DataChecker {
public:
    DataChecker(const Scene& given, std::vector<Diagnostic>& notes) : scene(given), mistakes(notes) {}

    // The node is one of the classes or of none that has data.
    template <typename... Nodes>
    void check(ExpressionAST* node)
    {
        (checkAs<Nodes>(node) || ...);
    }

private:
    template <typename Node>
    bool checkAs(ExpressionAST* given)
    {
        const auto* node = dynamic_cast<Node*>(given);
        if (!node)
            return false;
        const std::string text = scene.file.textAt({node->sourceOffset, node->sourceOffset + node->length});
        if (const auto fault = read(*node, text)) {
            const std::int64_t offset = node->sourceOffset + fault->offset;
            const bool isComma =
                std::string_view(text).substr(static_cast<std::size_t>(fault->offset)).starts_with(',');
            mistakes.push_back({Severity::Error,
                                {offset, offset},
                                fmt::format("expected {}", fault->expected),
                                isComma ? commaHint<Node> : ""});
        }
        return true;
    }

    const Scene& scene;
    std::vector<Diagnostic>& mistakes;
};

} // namespace

void checkData(const Scene& scene, std::vector<Diagnostic>& mistakes)
{
    DataChecker checker(scene, mistakes);
    for (const SceneProperty& property : scene.properties)
        walk(property.property->expression, [&](ExpressionAST* node) {
            checker.check<ListTypeExpressionAST<float>, ListTypeExpressionAST<int>, ListTypeExpressionAST<Vector>,
                          ListTypeExpressionAST<Color>, ListTypeExpressionAST<CharString>, TransformHexExpressionAST>(
                node);
        });
}

} // namespace Marl::Host
