#include <marl/compiled/compiled_expressions.h>

#include <marl/compiled/detail/compiler.h>
#include <marl/value/detail/arithmetic_environment.h>

namespace Marl {

CompiledExpressions::CompiledExpressions(std::span<ExpressionAST* const> expressions)
{
    const ArithmeticEnvironment standard; // constants are computed here
    auto made = std::make_unique<CompiledProgram>();
    Compiler(expressions, *made);
    program = std::move(made);
}

CompiledExpressions::~CompiledExpressions() = default;
CompiledExpressions::CompiledExpressions(CompiledExpressions&&) noexcept = default;
CompiledExpressions& CompiledExpressions::operator=(CompiledExpressions&&) noexcept = default;

std::size_t CompiledExpressions::size() const
{
    return program->roots.size();
}

bool CompiledExpressions::variesWithTime(std::size_t expression) const
{
    return program->roots[expression].varies;
}

} // namespace Marl
