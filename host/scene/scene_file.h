// The file that a scene is read from. It stays open as long as the scene: texts, data lists and
// source lines in messages are read from it when they are needed. A file that another one takes the
// place of, or that is removed, can still be read; one that is written to cannot, since what comes
// from it later would not belong to what came before.
#pragma once

#include <host/report/span.h>

#include <marl/marl.h>

#include <cstdint>
#include <ctime>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Marl::Host {

// A file that cannot be read or written. The message names it.
class FileError : public std::runtime_error {
public:
    using runtime_error::runtime_error;
};

// Counted from 1; a column is a byte of the line.
struct LineColumn {
    std::int64_t line = 1;
    std::int64_t column = 1;
};

class SceneFile final : public SourceStream {
public:
    // Throws FileError, also for what is no regular file: the reader has to go back in it.
    explicit SceneFile(std::string path);
    ~SceneFile() override;

    const std::string& path() const { return name; }
    std::int64_t size() const { return length; }
    int descriptor() const { return handle; }

    // Throws FileError when the file was written to since it was opened. Everything that is read
    // through this class is checked so once it is read; a command asks again before its last word.
    void requireUnchanged() const;

    // Whether the path leads to this file, by whichever of its names.
    bool isAt(const std::string& path) const;

    // The shared stream, guarded by the owner's mutex. Throws FileError, which passes through an
    // evaluation as no failure of a property.
    std::int64_t tell() override { return position; }
    void seek(std::int64_t to) override { position = to; }
    void read(char* buffer, int size, int* status) override;
    SourceOwner owner;

    // The bytes of the span as far as the file has them. Throws FileError.
    std::string textAt(Span span) const;

    // Lines are found on demand, by one walk through the file that keeps a mark every 64 KiB.
    LineColumn lineColumn(std::int64_t offset);
    std::string lineColumnText(std::int64_t offset); // "4:18"
    std::int64_t lineBegin(std::int64_t offset);

private:
    // What lies before a block of the file.
    struct Mark {
        std::int64_t lines;
        std::int64_t lineBegin; // of the line that goes on into the block
    };
    Mark markBefore(std::int64_t offset);
    std::size_t readAt(std::int64_t offset, char* buffer, std::size_t size) const;

    std::string name;
    int handle = -1;
    std::int64_t length = 0;
    std::timespec modified = {};
    std::int64_t position = 0;
    std::vector<Mark> marks;
};

// The whole file in memory while it is parsed. Pages that were parsed can be given back, so
// that a file of any size takes little memory; they come again when they are looked at.
class MappedText {
public:
    explicit MappedText(const SceneFile& file);
    ~MappedText();
    MappedText(const MappedText&) = delete;
    MappedText& operator=(const MappedText&) = delete;

    std::string_view text() const { return {begin, size}; }

    void giveBackBefore(const char* parsed);

private:
    const char* begin = nullptr;
    std::size_t size = 0;
    std::size_t givenBack = 0;
};

} // namespace Marl::Host
