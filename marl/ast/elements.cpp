// The elements of nodes: what an index selects in the tree.
#include <marl/ast/program.h>

#include <marl/ast/detail/located.h>
#include <marl/value/array_hold.h>
#include <marl/value/detail/failures.h>
#include <marl/value/detail/precision.h>
#include <marl/value/value.h>

#include <algorithm>
#include <array>
#include <memory>
#include <type_traits>
#include <utility>

namespace Marl {

namespace {

template <int count>
ExpressionAST* childAt(ExpressionAST* (&children)[count], int index)
{
    if (index < 0 || index >= count)
        failOutsideArray(index, count);
    return children[index];
}

// A number, vector, color or string of a typed list as a node, together with the nodes below it.
struct NumberElement {
    void become(int number) { node.number = number; }
    void become(float number) { node.number = widened(number); }
    std::array<ExpressionAST*, 1> nodes() { return {&node}; }

    NumberExpressionAST node;
};

struct ComponentsElement {
    void become(const Vector& v) { become(ValueType::Vector, v.x, v.y, v.z); }
    void become(const Color& c) { become(ValueType::Color, c.r, c.g, c.b); }
    std::array<ExpressionAST*, 4> nodes() { return {&node, &numbers[0], &numbers[1], &numbers[2]}; }

    void become(ValueType type, float first, float second, float third)
    {
        node.valueType = static_cast<int>(type);
        const float values[3] = {first, second, third};
        for (int i = 0; i < 3; ++i) {
            numbers[i].number = widened(values[i]);
            node.components[i] = &numbers[i];
        }
    }

    NumberExpressionAST numbers[3];
    VectorExpressionAST node;
};

struct TextElement {
    void become(const CharString& text)
    {
        node.text = text;
        node.loaded = 1;
    }
    std::array<ExpressionAST*, 1> nodes() { return {&node}; }

    StringExpressionAST node;
};

// clang-format off
template <typename T> struct ElementOf          { using Type = NumberElement; };
template <> struct ElementOf<Vector>            { using Type = ComponentsElement; };
template <> struct ElementOf<Color>             { using Type = ComponentsElement; };
template <> struct ElementOf<CharString>        { using Type = TextElement; };
// clang-format on

// A failure in an element has the place of its list.
template <typename T>
void fill(typename ElementOf<T>::Type& element, const T& content, const ListTypeExpressionAST<T>& list)
{
    element.become(content);
    if constexpr (std::is_same_v<T, CharString>)
        element.node.scenePath = list.scenePath;
    for (ExpressionAST* node : element.nodes()) {
        node->hostData = list.hostData;
        node->heldBy = list.heldBy;
    }
}

} // namespace

ExpressionAST* ExpressionAST::getElement(int)
{
    fail("Expression cannot be indexed.");
}

ExpressionAST* ListExpressionAST::getElement(int index)
{
    int position = 0;
    for (const ListItem* item = firstItem; item; item = item->next, ++position)
        if (position == index)
            return item->expression;
    failOutsideArray(index, position);
}

// A chain of references is followed at two speeds: in a circle the faster meets the slower.
ExpressionAST* PropertyReferenceAST::getElement(int index)
{
    PropertyReferenceAST* reference = this;
    const PropertyReferenceAST* slower = this;
    for (bool slowerMoves = false;; slowerMoves = !slowerMoves) {
        if (!reference->property)
            at(reference, failUnbound);
        ExpressionAST* expression = reference->property->expression;
        if (!expression)
            at(reference, failIncomplete);
        auto* further = dynamic_cast<PropertyReferenceAST*>(expression);
        if (!further)
            return expression->getElement(index);
        reference = further;
        if (slowerMoves)
            slower = static_cast<PropertyReferenceAST*>(slower->property->expression);
        if (reference == slower)
            at(reference, failCycle);
    }
}

// clang-format off
ExpressionAST* VectorExpressionAST::getElement(int index) { return childAt(components, index); }
ExpressionAST* MatrixExpressionAST::getElement(int index) { return childAt(columns, index); }
ExpressionAST* AColorExpressionAST::getElement(int index) { return childAt(components, index); }
// clang-format on

ExpressionAST* TransformExpressionAST::getElement(int index)
{
    ExpressionAST* parts[] = {matrix, offset};
    return childAt(parts, index);
}

// A list's data and the nodes made of it so far, and of earlier data too.
template <typename T>
struct ListTypeExpressionAST<T>::Elements {
    using Element = typename ElementOf<T>::Type;

    Elements(PtrArray<T>&& given, const Elements* earlier)
        : hold(std::move(given)),
          made(std::max(static_cast<std::size_t>(hold->count), earlier ? earlier->made.size() : 0))
    {}

    ArrayHold<T> hold;
    std::vector<std::atomic<Element*>> made;
};

template <typename T>
ListTypeExpressionAST<T>::~ListTypeExpressionAST()
{
    forgetElements();
    if (forgotten)
        for (const auto& slot : forgotten->made)
            delete slot.load(std::memory_order_relaxed);
    delete forgotten;
    values.freeMem();
}

template <typename T>
void ListTypeExpressionAST<T>::forgetElements()
{
    if (Elements* table = elements.exchange(nullptr)) {
        table->hold->freeMem();
        forgotten = table;
    }
}

template <typename T>
typename ListTypeExpressionAST<T>::Elements& ListTypeExpressionAST<T>::elementTable()
{
    if (Elements* table = elements.load(std::memory_order_acquire))
        return *table;
    const std::lock_guard lock(elementsMutex);
    Elements* table = elements.load(std::memory_order_relaxed);
    if (!table) {
        table = new Elements(loaded ? PtrArray<T>(values) : readFromSource(), forgotten);
        if (forgotten) {
            for (std::size_t i = 0; i < forgotten->made.size(); ++i) {
                auto* node = forgotten->made[i].load(std::memory_order_relaxed);
                if (node && static_cast<int>(i) < table->hold->count)
                    fill(*node, table->hold[static_cast<int>(i)], *this);
                table->made[i].store(node, std::memory_order_relaxed);
            }
            delete std::exchange(forgotten, nullptr);
        }
        elements.store(table, std::memory_order_release);
    }
    return *table;
}

template <typename T>
ExpressionAST* ListTypeExpressionAST<T>::getElement(int index)
{
    Elements& table = elementTable();
    if (index < 0 || index >= table.hold->count)
        failOutsideArray(index, table.hold->count);
    auto& slot = table.made[static_cast<std::size_t>(index)];
    auto* element = slot.load(std::memory_order_acquire);
    if (!element) {
        auto fresh = std::make_unique<typename Elements::Element>();
        fill(*fresh, table.hold[index], *this);
        if (slot.compare_exchange_strong(element, fresh.get(), std::memory_order_acq_rel))
            element = fresh.release();
    }
    return &element->node;
}

template class ListTypeExpressionAST<Vector>;
template class ListTypeExpressionAST<int>;
template class ListTypeExpressionAST<Color>;
template class ListTypeExpressionAST<float>;
template class ListTypeExpressionAST<CharString>;

} // namespace Marl
