#include <host/output/output.h>

#include <host/scene/scene_file.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Marl::Host {

namespace {

constexpr std::size_t bufferSize = 1 << 16;

// What open() would give a new file.
mode_t usualMode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

} // namespace

// A link keeps pointing to the file, and a device or pipe is written directly.
Output::Output(const std::string& path) : target(path)
{
    std::error_code missing;
    const auto resolved = std::filesystem::canonical(path, missing);
    const std::string file = missing ? path : resolved.string();

    struct stat status = {};
    const bool exists = stat(file.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) {
        handle = open(file.c_str(), O_WRONLY | O_CLOEXEC);
        if (handle < 0)
            fail();
        return;
    }
    target = file;
    handle = temporary.emplace(file).descriptor();
    if (handle < 0)
        fail();
    fchmod(handle, exists ? status.st_mode & 07777 : usualMode());
}

Output::~Output()
{
    if (handle > 2)
        close(handle);
}

void Output::write(std::string_view text)
{
    buffer += text;
    if (buffer.size() >= bufferSize)
        flush();
}

void Output::flush()
{
    std::string_view rest = buffer;
    while (!rest.empty()) {
        const ssize_t written = ::write(handle, rest.data(), rest.size());
        if (written >= 0)
            rest.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            fail();
    }
    buffer.clear();
}

void Output::finish()
{
    flush();
    if (handle == 1)
        return;
    const int open = std::exchange(handle, -1);
    if (close(open) != 0)
        fail();
    if (temporary && !temporary->moveTo(target))
        fail();
}

void Output::fail() const
{
    throw FileError(target + ": " + std::strerror(errno));
}

} // namespace Marl::Host
