// Failures of evaluation that are raised in more than one place, one sentence each.
#pragma once

namespace Marl {

// Throws InvalidOpException with the message.
[[noreturn]] void fail(const char* message);

[[noreturn]] void failIncomplete(); // a null child or stream, a property without expression
[[noreturn]] void failTooDeep();
[[noreturn]] void failUnbound(); // a reference before, or after a failed, resolution
[[noreturn]] void failCycle();
[[noreturn]] void failOutsideArray(int index, int count = -1); // -1 where nobody says how many there are
[[noreturn]] void failIncompleteCall();
[[noreturn]] void failWithoutKeys();

} // namespace Marl
