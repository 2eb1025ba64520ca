// The same bits from every compiler, optimisation level and instruction set: each row of
// table.txt is an expression, a time, and the bits that an independent calculation gave.
#include <host/analysis/evaluation.h>
#include <host/analysis/resolution.h>
#include <host/scene/scene.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace Marl::Host {

namespace {

struct Row {
    std::string expression;
    double time = 0;
    std::string bits;
};

std::vector<Row> readTable()
{
    std::ifstream file(MARL_SOURCE_DIR "/tests/bits/table.txt");
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.front() == '#')
            continue;
        std::istringstream fields(line);
        Row row;
        std::string time;
        std::getline(fields, row.expression, '\t');
        std::getline(fields, time, '\t');
        std::getline(fields, row.bits);
        std::from_chars(time.data(), time.data() + time.size(), row.time);
        rows.push_back(row);
    }
    return rows;
}

// clang-format off
// Of a NaN neither sign nor payload counts.
std::string hex(double x) { return x != x ? " nan" : fmt::format(" {:016x}", std::bit_cast<std::uint64_t>(x)); }
std::string hex(float x)  { return x != x ? " nan" : fmt::format(" {:08x}", std::bit_cast<std::uint32_t>(x)); }
std::string hex(int x)    { return fmt::format(" {:08x}", static_cast<unsigned>(x)); }

std::string hex(const Vector& v)         { return hex(v.x) + hex(v.y) + hex(v.z); }
std::string hex(const TracePoint& p)     { return hex(p.x) + hex(p.y) + hex(p.z); }
std::string hex(const Color& c)          { return hex(c.r) + hex(c.g) + hex(c.b); }
std::string hex(const AColor& c)         { return hex(c.r) + hex(c.g) + hex(c.b) + hex(c.alpha); }
std::string hex(const Matrix& m)         { return hex(m.columns[0]) + hex(m.columns[1]) + hex(m.columns[2]); }
std::string hex(const TraceTransform& t) { return hex(t.matrix) + hex(t.offset); }
// clang-format on
std::string hex(const Value& value);

template <typename T>
std::string hex(PtrArray<T> list)
{
    std::string text = fmt::format(" {}", list.count);
    for (int i = 0; i < list.count; ++i)
        text += hex(list.data[i]);
    list.freeMem();
    return text;
}

std::string bitsOf(const Value& value)
{
    // clang-format off
    switch (ValueType(value.getValueType())) {
    case ValueType::Double:     return "D" + hex(value.getDouble());
    case ValueType::Vector:     return "V" + hex(value.getTracePoint());
    case ValueType::Matrix:     return "M" + hex(value.getMatrix());
    case ValueType::Color:      return "C" + hex(value.getColor());
    case ValueType::AColor:     return "A" + hex(value.getAColor());
    case ValueType::Transform:  return "T" + hex(value.getTransform());
    case ValueType::List:       return "L" + hex(value.getList());
    case ValueType::ListVector: return "P" + hex(value.getListVector());
    case ValueType::ListColor:  return "K" + hex(value.getListColor());
    case ValueType::ListFloat:  return "F" + hex(value.getListFloat());
    case ValueType::ListInt:    return "I" + hex(value.getListInt());
    default:                    return "?";
    }
    // clang-format on
}

std::string hex(const Value& value)
{
    return " " + bitsOf(value);
}

TEST(Bits, EveryExpressionGivesTheBitsOfTheTable)
{
    const std::vector<Row> rows = readTable();
    ASSERT_GT(rows.size(), 200u);

    const std::string path = std::filesystem::temp_directory_path() / fmt::format("bits.{}.scene", ::getpid());
    std::ofstream text(path);
    text << "scene 1;\nobject o {\n";
    for (std::size_t i = 0; i < rows.size(); ++i)
        text << fmt::format("p{} = {};\n", i, rows[i].expression);
    text << "};\n";
    text.close();

    Scene scene(path);
    EXPECT_TRUE(resolve(scene).mistakes.empty());
    ASSERT_EQ(scene.properties.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(bitsOf(evaluate(scene.properties[i], {.time = rows[i].time})), rows[i].bits) << rows[i].expression;
    std::filesystem::remove(path);
}

} // namespace

} // namespace Marl::Host
