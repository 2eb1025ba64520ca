// The floating-point environment of the caller: it changes no result, and is as it was afterwards.
#include <tests/support/compiled.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/value/arithmetic_scope.h>
#include <marl/visitor/calculation_visitor.h>

#include <gtest/gtest.h>

#include <cfenv>
#include <functional>
#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace Marl::Tests {
namespace {

// As much of it as changes results, or as would be missed.
std::string currentEnvironment()
{
    std::string text = std::to_string(std::fegetround()) + " " + std::to_string(std::fetestexcept(FE_ALL_EXCEPT));
#if defined(__SSE2__)
    text += " " + std::to_string(_mm_getcsr());
#endif
    return text;
}

struct Environment {
    const char* name;
    void (*set)();
};

const Environment environments[] = {
    // clang-format off
    {"upward",      [] { std::fesetround(FE_UPWARD); }},
    {"downward",    [] { std::fesetround(FE_DOWNWARD); }},
    {"toward zero", [] { std::fesetround(FE_TOWARDZERO); }},
#if defined(__SSE2__)
    {"flush to zero",         [] { _mm_setcsr(_mm_getcsr() | 0x8000); }},
    {"denormals are zero",    [] { _mm_setcsr(_mm_getcsr() | 0x0040); }},
    {"both, and upward",      [] { std::fesetround(FE_UPWARD); _mm_setcsr(_mm_getcsr() | 0x8040); }},
    {"traps",                 [] { _mm_setcsr(_mm_getcsr() & ~0x0680u); }}, // division by zero, invalid, overflow
#endif
    // clang-format on
};

// Sets the environment, and the default one again at the end.
class InEnvironment {
public:
    explicit InEnvironment(const Environment& environment)
    {
        std::feclearexcept(FE_ALL_EXCEPT);
        environment.set();
        set = currentEnvironment();
    }
    ~InEnvironment()
    {
        EXPECT_EQ(currentEnvironment(), set);
        std::fesetenv(FE_DFL_ENV);
    }

private:
    std::string set;
};

TEST(Environment, OfTheCallerChangesNoResult)
{
    using enum Builtin;
    Tree t;
    ExpressionAST* const time = t.call(Time);
    const Expressions expressions = {
        t.quotient(1, 3),
        t.quotient(time, 3),
        t.product(time, 1e-310),
        t.product(5e-324, 1),
        t.sum(1, t.product(time, 1e-17)),
        t.sum(0.1, 0.2),
        t.quotient(time, 0),
        t.difference(time, t.product(time, 1)),
        t.call(Sqrt, {time}),
        t.call(Sin, {time}),
        t.call(Pow, {time, 0.3}),
        t.call(Noise, {t.vec(time, 0.3, 0.7)}),
        t.vec(time, 1e-320, 1e-42),
        t.product(t.vec(time, 0.1, 1e-40), 0.7),
        t.quotient(t.vec(t.sum(time, 1e30), 0, 0), 1e39), // by way of a divisor too small for a normal number
        t.rgb(0.1, 1e-41, time),
        t.quotient(t.rgb(0.1, time, 1e39), 3),
        t.call(Length, {t.vec(time, 0.1, 0.2)}),
        t.keys({{0, 0.1}, {3, 0.2}}),
        t.keys({{0, t.xform(t.mat(t.vec(1, 0.1, 0), t.vec(0, 1, 0.3), t.vec(0, 0, 1)), t.vec(0.1, 0.2, 0.3))},
                {3, t.xform(Matrix(2), t.vec(time, 1, 1))}}),
        t.keys({{0, listOf<Vector>({{0.1f, 0.2f, 1e-40f}})}, {3, listOf<Vector>({{0.7f, 0.3f, 1e-41f}})}}),
        t.sum(t.list({t.product(time, 0.1)}), t.quotient(1, 3)),
        t.negated(t.vec(0.1, 0.2, time)),
        t.element(t.list({1, t.quotient(2, 3)}), {time}),
        t.traced('x', t.quotient(time, 7)),
        t.sum(1, t.failing()),
    };
    Times times = scattered(40);
    times.insert(times.end(), {0.1, 1e-310, 5e-324, 1e300, 0.3});
    std::vector<std::string> expected;
    for (ExpressionAST* expression : expressions)
        for (const double at : times)
            expected.push_back(walked(expression, at));
    for (const Environment& environment : environments) {
        SCOPED_TRACE(environment.name);
        std::vector<Value> columns, alone, inScope, walkedInScope;
        const auto keep = [](std::vector<Value>& results, const std::function<Value()>& evaluate) {
            try {
                results.push_back(evaluate());
            } catch (const InvalidOpException& failure) {
                results.push_back(CharString(failure.what()));
            }
        };
        {
            const InEnvironment here(environment);
            const CompiledExpressions compiled(expressions);
            BatchEvaluator evaluator(compiled);
            evaluator.evaluate(times);
            for (std::size_t e = 0; e < expressions.size(); ++e)
                for (std::size_t i = 0; i < times.size(); ++i) {
                    keep(columns, [&] { return evaluator.column(e).valueAt(i); });
                    keep(alone, [&] { return evaluator.valueAt(times[i], e); });
                    const ArithmeticScope scope, another;
                    keep(inScope, [&] { return evaluator.valueAt(times[i], e); });
                    keep(walkedInScope, [&] {
                        CalculationVisitor walk;
                        walk.setTimeParam(times[i]);
                        expressions[e]->accept(&walk);
                        return walk.getResult();
                    });
                }
        }
        for (std::size_t i = 0; i < expected.size(); ++i)
            for (const auto* results : {&columns, &alone, &inScope, &walkedInScope}) {
                const Value& value = (*results)[i];
                const bool isFailure = value.kind() == ValueType::String;
                EXPECT_EQ(isFailure ? "fails: " + std::string(value.getString()) : shown(value), expected[i])
                    << "expression " << i / times.size() << " at " << times[i % times.size()];
            }
    }
}

TEST(Environment, IsPutBackWhenAHostThrows)
{
    struct Breaking final : Parser {
        Object* findObject(const char*) override { throw this; }
    } parser;
    Tree t;
    auto* object = t.program.make<ObjectReferenceAST>();
    object->parser = &parser;
    const Expressions expressions{t.list({t.quotient(1, t.call(Builtin::Time)), object}),
                                  t.sum(t.quotient(1, 0), t.failing())};
    for (const Environment& environment : environments) {
        SCOPED_TRACE(environment.name);
        const InEnvironment here(environment);
        const CompiledExpressions compiled(expressions);
        BatchEvaluator evaluator(compiled);
        EXPECT_THROW(evaluator.evaluate(Times{0, 3}), Breaking*);
        EXPECT_THROW(evaluator.valueAt(3, 0), Breaking*);
        EXPECT_THROW(evaluator.valueAt(3, 1), InvalidOpException);
    }
}

} // namespace
} // namespace Marl::Tests
