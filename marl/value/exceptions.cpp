#include <marl/value/exceptions.h>

#include <marl/value/detail/failures.h>

#include <type_traits>

namespace Marl {

static_assert(std::is_nothrow_copy_constructible_v<Exception>,
              "a copy that throws while one is thrown ends the process");

const char* Exception::what() const noexcept
{
    const char* text = message;
    return text ? text : "";
}

void Exception::happenedAt(ExpressionAST* node, PropertyAST* property) noexcept
{
    if (known.node)
        return;
    known.node = node;
    known.property = property;
}

void fail(const char* message)
{
    throw InvalidOpException(message);
}

// clang-format off
void failIncomplete()     { fail("Expression is incomplete."); }
void failTooDeep()        { fail("Expression is nested too deeply."); }
void failUnbound()        { fail("Property reference is not bound."); }
void failCycle()          { fail("Property references form a cycle."); }
void failIncompleteCall() { fail("Built-in function lacks an argument."); }
void failWithoutKeys()    { fail("Interpolate expression has no keys."); }
// clang-format on

void failOutsideArray(int index, int count)
{
    throw InvalidOpException("Array index is out of range.", {.index = index, .count = count});
}

} // namespace Marl
