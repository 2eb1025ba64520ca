// Ctrl-C as a wish to stop, not as an end.
#pragma once

namespace Marl::Host {

// While one lives, Ctrl-C is only noted. The third ends the tool as usual; the second may be the first
// once more, since a program that passes it on and the terminal may both send it. Where Ctrl-C was
// ignored before, it stays so. One at a time.
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
