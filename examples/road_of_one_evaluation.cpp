// The road of one evaluation, from a tree built in code to its values:
//
//     object a { p = keys(0: b.q * 2, 10: 5); }
//     object b { q = 1.5; }
#include <marl/marl.h>

#include <cstdio>

using namespace Marl;

namespace {

NumberExpressionAST* number(ProgramAST& program, double value)
{
    auto* node = program.make<NumberExpressionAST>();
    node->number = value;
    return node;
}

// The program owns every node; whatever is not set stays null or zero.
PropertyAST* build(ProgramAST& program)
{
    auto* reference = program.make<PropertyReferenceAST>();
    reference->objectName = "b";
    reference->propertyName = "q";

    auto* twice = program.make<BinaryExpressionAST>();
    twice->left = reference;
    twice->op = TOKEN_MULTIPLY;
    twice->right = number(program, 2);

    auto* keys = program.make<InterpolateExpressionAST>();
    program.append(keys, number(program, 0), twice);
    program.append(keys, number(program, 10), number(program, 5));

    program.addObject("b")->addProperty("q", number(program, 1.5));
    return program.addObject("a")->addProperty("p", keys);
}

} // namespace

int main()
try {
    ProgramAST program;
    const PropertyAST* p = build(program);

    DecorationVisitor pass; // once: binds the reference to b.q and sorts the keys
    pass.setProgram(&program);
    for (ObjectAST* object = program.firstObject; object; object = object->next)
        for (PropertyAST* property = object->firstProperty; property; property = property->next) {
            pass.setObject(object);
            pass.setProperty(property);
            property->expression->accept(&pass);
        }

    for (const double time : {0.0, 5.0, 10.0}) {
        CalculationVisitor evaluator;
        evaluator.setTimeParam(time);
        p->expression->accept(&evaluator);
        std::printf("a.p at time %2g: %g\n", time, evaluator.getResult().getDouble());
    }
} catch (const Exception& mistake) {
    std::fprintf(stderr, "error: %s\n", mistake.what());
    return 1;
}
