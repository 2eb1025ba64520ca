// Where a command's results go: standard output, or a file that is only replaced when all is written.
#pragma once

#include <host/output/temporary_file.h>

#include <optional>
#include <string>
#include <string_view>

namespace Marl::Host {

// A failed write throws FileError, at the latest from finish(). Without finish() a named file stays
// as it was.
class Output {
public:
    Output() = default; // to standard output
    explicit Output(const std::string& path);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void write(std::string_view text);
    void finish();

    // Not so standard output, devices and pipes, which are written to at once.
    bool replacesFile() const { return temporary.has_value(); }

    // What is written is not the whole, and goes to a file of this name beside that of the whole.
    std::string partialName() const { return target + ".partial"; }
    const std::string& becomePartial() { return target = partialName(); }

private:
    void flush();
    [[noreturn]] void fail() const;

    std::string target = "standard output";
    std::optional<TemporaryFile> temporary;
    int handle = 1;
    std::string buffer;
};

} // namespace Marl::Host
