// Where a command's results go: standard output, or a file that is only replaced when all is written.
#pragma once

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

private:
    void flush();
    [[noreturn]] void fail() const;

    std::string target = "standard output";
    std::string temporary; // what is renamed in the end; empty where there is nothing to rename
    int handle = 1;
    std::string buffer;
};

} // namespace Marl::Host
