// A whole host: a running scene in which objects are found, a source that is read when a value
// needs it, evaluators on two threads, and messages for the user. It evaluates what a scene
// writes as @desk and float[0.5 1 0.25][time].
#include <marl/marl.h>

#include <cstdio>
#include <future>
#include <string>

class Marl::Object { // what a scene consists of is the host's own affair
public:
    std::string name;
};

using namespace Marl;

struct Stage final : Parser {
    Object* findObject(const char* name) override { return name && name == desk.name ? &desk : nullptr; }
    Object desk{"desk"};
};

struct Text final : SourceStream {
    std::int64_t tell() override { return position; }
    void seek(std::int64_t to) override { position = to; }
    void read(char* to, int size, int*) override { text.copy(to, std::size_t(size), std::size_t(position)); }
    const std::string text = "float[0.5 1 0.25]";
    std::int64_t position = 0;
};

std::string valueAt(ExpressionAST* expression, double time)
try {
    CalculationVisitor evaluator; // a fresh one costs next to nothing
    evaluator.setTimeParam(time);
    expression->accept(&evaluator);
    const Value value = evaluator.getResult();
    return value.getObject() ? value.getObject()->name : std::to_string(value.getDouble());
} catch (const Exception& mistake) {
    return mistake.what();
}

int main()
{
    Stage stage;
    Text text;
    SourceOwner owner;
    ProgramAST program; // owns the tree; what it borrows, the three above, lives longer

    auto* stand = program.make<ObjectReferenceAST>();
    stand->objectName = "desk";
    auto* levels = program.make<ListTypeExpressionAST<float>>();
    levels->owner = &owner;
    levels->stream = &text;
    levels->sourceOffset = 6;
    levels->length = 10;
    auto* time = program.make<BuiltinFunctionAST>();
    time->functionId = static_cast<int>(Builtin::Time);
    auto* power = program.make<ArrayExpressionAST>();
    power->target = levels;
    power->indices = {time};

    DecorationVisitor pass; // alone, before the evaluators start
    pass.setProgram(&program);
    pass.setParser(&stage);
    stand->accept(&pass);
    power->accept(&pass);

    auto first = std::async(std::launch::async, valueAt, power, 1);
    auto second = std::async(std::launch::async, valueAt, power, 7);
    std::printf("on the %s\n", valueAt(stand, 0).c_str());
    std::printf("power at 1: %s\npower at 7: %s\n", first.get().c_str(), second.get().c_str());
}
