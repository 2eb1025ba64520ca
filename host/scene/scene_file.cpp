#include <host/scene/scene_file.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Marl::Host {

namespace {

constexpr std::int64_t blockSize = 1 << 16;

[[noreturn]] void failReading(const std::string& path, const std::string& reason)
{
    throw FileError(path + ": " + reason);
}

} // namespace

SceneFile::SceneFile(std::string path) : name(std::move(path))
{
    // Without blocking: opening a pipe would wait for a writer.
    handle = open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (handle < 0)
        failReading(name, std::strerror(errno));
    struct stat status = {};
    if (fstat(handle, &status) == 0 && S_ISREG(status.st_mode)) {
        length = status.st_size;
        modified = status.st_mtim;
        return;
    }
    close(handle);
    failReading(name,
                S_ISDIR(status.st_mode) ? "Is a directory"
                                        : "Is no regular file; a scene cannot come from a pipe or device");
}

SceneFile::~SceneFile()
{
    close(handle);
}

void SceneFile::requireUnchanged() const
{
    struct stat status = {};
    if (fstat(handle, &status) != 0)
        failReading(name, std::strerror(errno));
    const bool isUnchanged = status.st_size == length && status.st_mtim.tv_sec == modified.tv_sec
        && status.st_mtim.tv_nsec == modified.tv_nsec;
    if (!isUnchanged)
        failReading(name, "The file has changed since it was opened; run the command again");
}

bool SceneFile::isAt(const std::string& path) const
{
    struct stat here = {}, there = {};
    return fstat(handle, &here) == 0 && stat(path.c_str(), &there) == 0 && here.st_dev == there.st_dev
        && here.st_ino == there.st_ino;
}

std::size_t SceneFile::readAt(std::int64_t offset, char* buffer, std::size_t size) const
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = pread(handle, buffer + done, size - done, offset + static_cast<std::int64_t>(done));
        if (got == 0)
            break;
        if (got > 0)
            done += static_cast<std::size_t>(got);
        else if (errno != EINTR)
            failReading(name, std::strerror(errno));
    }
    requireUnchanged();
    return done;
}

void SceneFile::read(char* buffer, int size, int*)
{
    readAt(position, buffer, static_cast<std::size_t>(std::max(size, 0)));
    position += size;
}

std::string SceneFile::textAt(Span span) const
{
    const std::int64_t begin = std::clamp<std::int64_t>(span.begin, 0, length);
    std::string text(static_cast<std::size_t>(std::clamp(span.end, begin, length) - begin), '\0');
    text.resize(readAt(begin, text.data(), text.size()));
    return text;
}

SceneFile::Mark SceneFile::markBefore(std::int64_t offset)
{
    const auto wanted = static_cast<std::size_t>(std::clamp<std::int64_t>(offset, 0, length) / blockSize);
    if (marks.empty())
        marks.push_back({0, 0});
    std::array<char, blockSize> block;
    while (marks.size() <= wanted) {
        Mark mark = marks.back();
        const std::int64_t begin = static_cast<std::int64_t>(marks.size() - 1) * blockSize;
        const std::string_view read(block.data(), readAt(begin, block.data(), block.size()));
        mark.lines += std::ranges::count(read, '\n');
        if (const auto last = read.rfind('\n'); last != std::string_view::npos)
            mark.lineBegin = begin + static_cast<std::int64_t>(last) + 1;
        marks.push_back(mark);
    }
    return marks[wanted];
}

LineColumn SceneFile::lineColumn(std::int64_t offset)
{
    const Mark mark = markBefore(offset);
    const std::string rest = textAt({offset / blockSize * blockSize, offset});
    const std::int64_t begin = lineBegin(offset);
    return {1 + mark.lines + std::ranges::count(rest, '\n'), 1 + offset - begin};
}

std::string SceneFile::lineColumnText(std::int64_t offset)
{
    const auto [line, column] = lineColumn(offset);
    return fmt::format("{}:{}", line, column);
}

std::int64_t SceneFile::lineBegin(std::int64_t offset)
{
    const std::int64_t block = offset / blockSize * blockSize;
    const auto last = textAt({block, offset}).rfind('\n');
    return last == std::string::npos ? markBefore(offset).lineBegin : block + static_cast<std::int64_t>(last) + 1;
}

MappedText::MappedText(const SceneFile& file) : size(static_cast<std::size_t>(file.size()))
{
    if (size == 0)
        return;
    void* mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.descriptor(), 0);
    if (mapped == MAP_FAILED)
        failReading(file.path(), std::strerror(errno));
    begin = static_cast<const char*>(mapped);
}

MappedText::~MappedText()
{
    if (size > 0)
        munmap(const_cast<char*>(begin), size);
}

void MappedText::giveBackBefore(const char* parsed)
{
    constexpr std::size_t portion = 1 << 20; // a multiple of every page size
    const std::size_t until = static_cast<std::size_t>(parsed - begin) / portion * portion;
    if (until <= givenBack)
        return;
    madvise(const_cast<char*>(begin) + givenBack, until - givenBack, MADV_DONTNEED);
    givenBack = until;
}

} // namespace Marl::Host
