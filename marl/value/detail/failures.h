// Failures of evaluation that are raised in more than one place, one sentence each.
#pragma once

namespace Marl {

// Throws InvalidOpException with the message.
[[noreturn]] void fail(const char* message);

[[noreturn]] void failIncomplete();     // a null child or stream, a property without expression
[[noreturn]] void failTooDeep();        // more levels than the walk allows
[[noreturn]] void failUnbound();        // a reference before, or after a failed, resolution
[[noreturn]] void failCycle();          // a property that needs itself
[[noreturn]] void failOutsideArray();   // an index without element
[[noreturn]] void failIncompleteCall(); // a built-in function that lacks an argument
[[noreturn]] void failWithoutKeys();    // an interpolation between no keys

} // namespace Marl
