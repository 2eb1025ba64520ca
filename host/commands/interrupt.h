// Ctrl-C as a wish to stop, not as an end.
#pragma once

namespace Marl::Host {

// While one lives, the first Ctrl-C is only noted; the second ends the tool as usual. Where Ctrl-C
// was ignored before, it stays so. One at a time.
class InterruptWatch {
public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

    // Safe from every thread.
    static bool isInterrupted();
};

} // namespace Marl::Host
