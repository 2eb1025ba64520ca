// A file that is on its way to its place.
#pragma once

#include <string>

namespace Marl::Host {

// Has a name of its own until it is whole and gets the final one; without that it is removed, also
// when a signal ends the tool. One at a time, made before there are threads.
class TemporaryFile {
public:
    // Beside the path, open for writing. Where that fails the descriptor is negative and errno says why.
    explicit TemporaryFile(const std::string& path);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    int descriptor() const { return handle; } // the owner closes it

    // Takes the place of what is there, in one step. False where that fails; errno says why.
    bool moveTo(const std::string& path);

private:
    int handle;
};

// From here on a signal that ends the tool ends it just so, but removes the temporary file first.
// Signals that are ignored stay ignored. Nothing helps against SIGKILL.
void removeTemporaryFileOnSignals();

} // namespace Marl::Host
