// A host whose user edits the scene `fader = 8; level = faded(fader);`: a function of the host's own, an edit, a
// mistake that is shown with its place, and an evaluation that is stopped.
#include <marl/marl.h>

#include <atomic>
#include <cstdio>

using namespace Marl;

struct Faded final : FunctionExpressionAST {
    Value call(std::span<const Value> given, const Moment& now) override
    {
        return given[0].getDouble() / (1 + now.time);
    }
};

void show(const char* title, const auto& work)
try {
    std::printf("%s: %g\n", title, work().getDouble());
} catch (const Exception& mistake) {
    std::printf("%s: line %d: %s\n", title, static_cast<int>(mistake.node()->hostData), mistake.what());
}

int main()
{
    ProgramAST program;
    auto* setting = program.make<NumberExpressionAST>();
    setting->number = 8;
    auto* reference = program.make<PropertyReferenceAST>();
    reference->objectName = "desk";
    reference->propertyName = "fader";
    auto* faded = program.make<Faded>();
    faded->arguments = {reference};
    faded->hostData = reference->hostData = 2; // the line, or what else the host wants to find
    ObjectAST* desk = program.addObject("desk");
    PropertyAST* fader = desk->addProperty("fader", setting);
    PropertyAST* level = desk->addProperty("level", faded);
    DecorationVisitor pass;
    pass.setProgram(&program);
    pass.changed(fader);
    pass.changed(level);

    CompiledExpressions compiled(std::span(&level->expression, 1));
    BatchEvaluator evaluator(compiled);
    show("level", [&] { return evaluator.valueAt(1, 0); });
    setting->number = 3;
    pass.changed(fader);
    compiled.update({&fader, 1});
    for (const PropertyAST* stale : program.dependents(fader))
        show(stale->name, [&] { return evaluator.valueAt(1, 0); });

    const std::atomic<bool> stop = true; // by a user who does not want to wait
    evaluator.setStopFlag(&stop);
    show("stopped", [&] { return evaluator.valueAt(1, 0); });
    reference->propertyName = "fade";
    show("edit", [&] { return pass.changed(level), Value(); });
}
