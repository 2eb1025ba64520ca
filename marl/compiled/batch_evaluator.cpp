#include <marl/compiled/batch_evaluator.h>

#include <marl/value/exceptions.h>
#include <marl/visitor/calculation_visitor.h>

#include <vector>

namespace Marl {

struct CompiledProgram {
    std::vector<ExpressionAST*> roots;
};

CompiledExpressions::CompiledExpressions(std::span<ExpressionAST* const> expressions)
    : program(new CompiledProgram{{expressions.begin(), expressions.end()}})
{}
CompiledExpressions::~CompiledExpressions() = default;
CompiledExpressions::CompiledExpressions(CompiledExpressions&&) noexcept = default;
CompiledExpressions& CompiledExpressions::operator=(CompiledExpressions&&) noexcept = default;
std::size_t CompiledExpressions::size() const { return program->roots.size(); }
bool CompiledExpressions::variesWithTime(std::size_t) const { return true; }

struct Column::Data {
    struct Entry { Value value; std::optional<InvalidOpException> failure; };
    std::vector<Entry> entries;
    std::optional<ValueType> kind;
    std::vector<double> numbers;
    std::vector<TracePoint> vectors;
    std::vector<Color> colors;
    std::vector<AColor> acolors;
    std::vector<Matrix> matrices;
    std::vector<TraceTransform> transforms;
};
Column::Column() : data(new Data) {}
Column::Column(Column&&) noexcept = default;
Column& Column::operator=(Column&&) noexcept = default;
Column::~Column() = default;
std::size_t Column::size() const { return data->entries.size(); }
std::optional<ValueType> Column::kind() const { return data->kind; }
std::span<const double> Column::numbers() const { return data->numbers; }
std::span<const TracePoint> Column::vectors() const { return data->vectors; }
std::span<const Color> Column::colors() const { return data->colors; }
std::span<const AColor> Column::acolors() const { return data->acolors; }
std::span<const Matrix> Column::matrices() const { return data->matrices; }
std::span<const TraceTransform> Column::transforms() const { return data->transforms; }
Value Column::valueAt(std::size_t i) const
{
    if (data->entries[i].failure)
        throw InvalidOpException(*data->entries[i].failure);
    return data->entries[i].value;
}
bool Column::failed(std::size_t i) const { return data->entries[i].failure.has_value(); }

class BatchEvaluator::Machine {
public:
    const CompiledProgram* program;
    std::vector<Column> columns;
    unsigned hold = 0;
    int depthLimit = 10'000;
};
BatchEvaluator::BatchEvaluator(const CompiledExpressions& compiled) : machine(new Machine{compiled.program.get(), std::vector<Column>(compiled.size())}) {}
BatchEvaluator::~BatchEvaluator() = default;
BatchEvaluator::BatchEvaluator(BatchEvaluator&&) noexcept = default;
BatchEvaluator& BatchEvaluator::operator=(BatchEvaluator&&) noexcept = default;
void BatchEvaluator::setDontInterpolate(unsigned int hold) { machine->hold = hold; }
void BatchEvaluator::setDepthLimit(int levels) { machine->depthLimit = levels; }
Value BatchEvaluator::valueAt(double time, std::size_t expression)
{
    CalculationVisitor walk;
    walk.setTimeParam(time);
    walk.setDontInterpolate(machine->hold);
    walk.setDepthLimit(machine->depthLimit);
    ExpressionAST* root = machine->program->roots[expression];
    if (!root)
        throw InvalidOpException("Expression is incomplete.");
    root->accept(&walk);
    return walk.getResult();
}
const Column& BatchEvaluator::column(std::size_t expression) const { return machine->columns[expression]; }
void BatchEvaluator::evaluate(std::span<const double> times)
{
    for (std::size_t e = 0; e < machine->columns.size(); ++e) {
        Column fresh;
        auto& d = *fresh.data;
        bool same = !times.empty();
        for (double t : times) {
            auto& entry = d.entries.emplace_back();
            try {
                entry.value = valueAt(t, e);
            } catch (const InvalidOpException& failure) {
                entry.failure = failure;
            }
            same = same && !entry.failure && entry.value.getValueType() == d.entries[0].value.getValueType();
        }
        if (same) {
            d.kind = ValueType(d.entries[0].value.getValueType());
            for (auto& entry : d.entries) {
                const Value& v = entry.value;
                switch (*d.kind) {
                case ValueType::Double: d.numbers.push_back(v.getDouble()); break;
                case ValueType::Vector: d.vectors.push_back(v.getTracePoint()); break;
                case ValueType::Color: d.colors.push_back(v.getColor()); break;
                case ValueType::AColor: d.acolors.push_back(v.getAColor()); break;
                case ValueType::Matrix: d.matrices.push_back(v.getMatrix()); break;
                case ValueType::Transform: d.transforms.push_back(v.getTransform()); break;
                default: break;
                }
            }
        }
        machine->columns[e] = std::move(fresh);
    }
}

} // namespace Marl
