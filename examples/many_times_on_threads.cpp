// Many values: the properties of a lamp, compiled once and evaluated at many times on two threads.
//
//     object lamp {
//         power = keys(0: 1, 10: 6);
//         light = rgb(1, 0.5, 0.25) * lamp.power;
//         cue   = [7, 8, 9][time / 4];
//     }
#include <marl/marl.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <future>
#include <span>
#include <string>
#include <vector>

using namespace Marl;

namespace {

ExpressionAST* number(ProgramAST& program, double value)
{
    auto* node = program.make<NumberExpressionAST>();
    node->number = value;
    return node;
}

ExpressionAST* binary(ProgramAST& program, ExpressionAST* left, TOKENTYPE op, ExpressionAST* right)
{
    auto* node = program.make<BinaryExpressionAST>();
    node->left = left;
    node->op = op;
    node->right = right;
    return node;
}

ObjectAST* build(ProgramAST& program)
{
    ObjectAST* lamp = program.addObject("lamp");

    auto* keys = program.make<InterpolateExpressionAST>();
    program.append(keys, number(program, 0), number(program, 1));
    program.append(keys, number(program, 10), number(program, 6));
    lamp->addProperty("power", keys);

    auto* color = program.make<VectorExpressionAST>();
    color->valueType = static_cast<int>(ValueType::Color);
    const double components[] = {1, 0.5, 0.25};
    for (int i = 0; i < 3; ++i)
        color->components[i] = number(program, components[i]);
    auto* power = program.make<PropertyReferenceAST>();
    power->objectName = "lamp";
    power->propertyName = "power";
    lamp->addProperty("light", binary(program, color, TOKEN_MULTIPLY, power));

    auto* cues = program.make<ListExpressionAST>();
    for (const double cue : {7, 8, 9})
        program.append(cues, number(program, cue));
    auto* time = program.make<BuiltinFunctionAST>();
    time->functionId = static_cast<int>(Builtin::Time);
    auto* cue = program.make<ArrayExpressionAST>();
    cue->target = cues;
    cue->indices = {binary(program, time, TOKEN_DIVIDE, number(program, 4))};
    lamp->addProperty("cue", cue);
    return lamp;
}

// What the host wants to have.
struct Frames {
    std::vector<double> times;
    std::vector<Color> lights;
    std::vector<std::string> cues;
};

// A time that fails costs no other. Nothing is evaluated again to learn why.
std::string cueAt(const Column& cues, std::size_t i)
try {
    return std::to_string(static_cast<int>(cues.valueAt(i).getDouble()));
} catch (const InvalidOpException& mistake) {
    return mistake.what();
}

// Each thread has an evaluator of its own and takes the next times until there are no more.
void evaluate(const CompiledExpressions& compiled, Frames& frames, std::atomic<std::size_t>& next)
{
    constexpr std::size_t most = 3; // a few thousand where there are so many
    BatchEvaluator evaluator(compiled);
    for (std::size_t begin = 0; (begin = next.fetch_add(most)) < frames.times.size();) {
        const auto times = std::span(frames.times).subspan(begin, std::min(most, frames.times.size() - begin));
        evaluator.evaluate(times);

        const Column& light = evaluator.column(1);
        if (light.kind() == ValueType::Color) // of a column of another kind there are no colors
            std::ranges::copy(light.colors(), &frames.lights[begin]);
        for (std::size_t i = 0; i < times.size(); ++i)
            frames.cues[begin + i] = cueAt(evaluator.column(2), i);
    }
}

} // namespace

int main()
{
    ProgramAST program; // stays as it is while what was compiled from it is used
    ObjectAST* lamp = build(program);

    DecorationVisitor pass; // alone, before anything is compiled
    pass.setProgram(&program);
    pass.setObject(lamp);
    std::vector<ExpressionAST*> expressions;
    for (PropertyAST* property = lamp->firstProperty; property; property = property->next) {
        pass.setProperty(property);
        property->expression->accept(&pass);
        expressions.push_back(property->expression);
    }
    const CompiledExpressions compiled(expressions);

    Frames frames{{0, 2, 4, 6, 8, 10, 12, 14}, std::vector<Color>(8), std::vector<std::string>(8)};
    std::atomic<std::size_t> next = 0;
    auto work = [&] { evaluate(compiled, frames, next); };
    auto other = std::async(std::launch::async, work);
    work();
    other.get();

    for (std::size_t i = 0; i < frames.times.size(); ++i) {
        const auto [r, g, b] = frames.lights[i];
        std::printf("time %2g: light %g %-3g %-4g  cue %s\n", frames.times[i], static_cast<double>(r),
                    static_cast<double>(g), static_cast<double>(b), frames.cues[i].c_str());
    }
}
