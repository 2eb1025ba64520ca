// A host whose user edits the scene: a function of the host's own, edits, a mistake that is shown with its place,
// and an evaluation that is stopped. The scene is what a text would write as
//
//     fader = 8;
//     level = faded(fader);
#include <marl/marl.h>

#include <cstdio>

using namespace Marl;

struct Faded final : FunctionExpressionAST {
    Value call(std::span<const Value> given, const Moment& now) override
    {
        return given[0].getDouble() / (1 + now.time);
    }
};

// What comes of it, with the line where it fails.
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
    const auto levelNow = [&] { return evaluator.valueAt(1, 0); };
    show("level", levelNow);

    setting->number = 3;
    pass.changed(fader);
    compiled.update({&fader, 1});
    for (const PropertyAST* stale : program.dependents(fader))
        show(stale->name, levelNow);

    reference->propertyName = "fade"; // a mistake; all other references are bound
    show("edit", [&] { return pass.changed(level), Value(); });
    reference->propertyName = "fader";
    pass.changed(level);
    compiled.update({&level, 1});
    show("edit", levelNow);

    ExpressionAST* endless = faded; // twice itself, and that twice: 2^60 calls
    for (int i = 0; i < 60; ++i) {
        auto* sum = program.make<BinaryExpressionAST>();
        sum->op = TOKEN_PLUS;
        sum->left = sum->right = endless;
        endless = sum;
    }
    CalculationVisitor walk;
    walk.setStepLimit(1'000'000); // or setStopFlag(), for a user who stops it
    show("endless", [&] { return endless->accept(&walk), walk.getResult(); });
}
