// Nodes made of rules on plain records: a number is a double, a vector a TracePoint.
//
// A rule is a lambda without captures. The kinds of its arguments and of its value follow from its types.
#pragma once

#include <host/functions/functions.h>

#include <initializer_list>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Marl::Host {

// clang-format off
inline double         recordOf(const Value& value, double)         { return value.getDouble(); }
inline TracePoint     recordOf(const Value& value, TracePoint)     { return value.getTracePoint(); }
inline Matrix         recordOf(const Value& value, Matrix)         { return value.getMatrix(); }
inline TraceTransform recordOf(const Value& value, TraceTransform) { return value.getTransform(); }
// clang-format on

// A block's arrays of one argument, or of the value.
struct BlockColumn {
    FunctionBlock::Arrays arrays;
    std::size_t stride;

    // clang-format off
    double     at(std::size_t i, double) const     { return arrays.doubles[i]; }
    TracePoint at(std::size_t i, TracePoint) const { return {arrays.doubles[i], arrays.doubles[i + stride], arrays.doubles[i + 2 * stride]}; }
    // clang-format on

    void put(std::size_t i, double x) const { arrays.doubles[i] = x; }
    void put(std::size_t i, const TracePoint& v) const { putAll(arrays.doubles + i, {v.x, v.y, v.z}); }
    void put(std::size_t i, const Matrix& m) const
    {
        const auto& [a, b, c] = m.columns;
        putAll(arrays.floats + i, {a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z});
    }

private:
    template <typename T>
    void putAll(T* place, std::initializer_list<T> components) const
    {
        for (const T component : components) {
            *place = component;
            place += stride;
        }
    }
};

template <typename Result, typename... Given>
FunctionKinds kindsOf()
{
    return {{Value(Given()).kind()...}, Value(Result()).kind()};
}

// The types of a rule.
template <typename Method>
struct Signature;
template <typename Rule, typename Result, typename... Given>
struct Signature<Result (Rule::*)(Given...) const> {
    using Records = std::tuple<std::remove_cvref_t<Given>...>;
    static FunctionKinds kinds() { return kindsOf<Result, std::remove_cvref_t<Given>...>(); }
};
template <typename Rule>
using SignatureOf = Signature<decltype(&Rule::operator())>;

// Computes the rule with what `argument(index, record)` gives for each of its arguments.
template <typename Rule>
auto apply(Rule rule, const auto& argument)
{
    using Records = typename SignatureOf<Rule>::Records;
    const auto called = [&]<std::size_t... i>(std::index_sequence<i...>)
    {
        return rule(argument(i, std::tuple_element_t<i, Records>())...);
    };
    return called(std::make_index_sequence<std::tuple_size_v<Records>>());
}

class OwnFunction : public FunctionExpressionAST {
public:
    bool isPure() const final { return true; }

    const Function* function = nullptr;

protected:
    // Throws InvalidOpException for the first argument of a kind that the function does not take.
    void requireKinds(std::span<const Value> values) const;
};

// Computes a rule of as many arguments as there are.
template <typename Rule>
class RuleCall final : public OwnFunction {
public:
    std::optional<FunctionKinds> kinds() const override { return SignatureOf<Rule>::kinds(); }
    Value call(std::span<const Value> values, const Moment&) override
    {
        requireKinds(values);
        return apply(Rule(), [&](std::size_t i, auto record) { return recordOf(values[i], record); });
    }
    bool callBlock(const FunctionBlock& block) override
    {
        const auto at = [&](std::size_t i, std::size_t time, auto record) {
            return BlockColumn{block.arguments[i], block.stride}.at(time, record);
        };
        for (std::size_t time = 0; time < block.count; ++time)
            BlockColumn{block.values, block.stride}.put(
                time, apply(Rule(), [&](std::size_t i, auto record) { return at(i, time, record); }));
        return true;
    }
};

// Computes a rule of two numbers from the first of any number of them to the last.
template <typename Rule>
class FoldCall final : public OwnFunction {
public:
    std::optional<FunctionKinds> kinds() const override
    {
        return FunctionKinds{std::vector(arguments.size(), ValueType::Double), ValueType::Double};
    }
    Value call(std::span<const Value> values, const Moment&) override
    {
        requireKinds(values);
        double result = values[0].getDouble();
        for (const Value& value : values.subspan(1))
            result = Rule()(result, value.getDouble());
        return result;
    }
    bool callBlock(const FunctionBlock& block) override
    {
        for (std::size_t time = 0; time < block.count; ++time) {
            double result = block.arguments[0].doubles[time];
            for (const FunctionBlock::Arrays& more : block.arguments.subspan(1))
                result = Rule()(result, more.doubles[time]);
            block.values.doubles[time] = result;
        }
        return true;
    }
};

// Computes whichever rule of one argument takes the kind that is there. Any of them may throw, so that no
// kinds are declared.
template <typename... Rules>
class EitherCall final : public OwnFunction {
public:
    Value call(std::span<const Value> values, const Moment&) override
    {
        requireKinds(values);
        Value result;
        (computes(Rules(), values[0], result) || ...);
        return result;
    }

private:
    template <typename Rule>
    static bool computes(Rule rule, const Value& value, Value& result)
    {
        const bool fits = SignatureOf<Rule>::kinds().takes[0] == value.kind();
        if (fits)
            result = apply(rule, [&](std::size_t, auto record) { return recordOf(value, record); });
        return fits;
    }
};

template <typename Node>
FunctionExpressionAST* makeOwn(ProgramAST& program, const Function& function)
{
    auto* node = program.make<Node>();
    node->function = &function;
    return node;
}

// clang-format off
template <typename Rule>     FunctionForm rule(Rule)        { return {{SignatureOf<Rule>::kinds()}, false, {}, makeOwn<RuleCall<Rule>>}; }
template <typename Rule>     FunctionForm fold(Rule)        { return {{SignatureOf<Rule>::kinds()}, true, {}, makeOwn<FoldCall<Rule>>}; }
template <typename... Rules> FunctionForm either(Rules...)  { return {{SignatureOf<Rules>::kinds()...}, false, {}, makeOwn<EitherCall<Rules...>>}; }
// clang-format on

} // namespace Marl::Host
