#include <tests/support/fake_stream.h>

#include <algorithm>

namespace Marl::Tests {

void FakeStream::call(const char* name, bool begins, bool ends)
{
    std::thread::id nobody;
    const auto self = std::this_thread::get_id();
    if (begins ? !reader.compare_exchange_strong(nobody, self) : reader.load() != self)
        ++outOfTurn;
    const bool breaks = throwsAt == name;
    if (ends || (begins && breaks))
        reader = std::thread::id();
    if (breaks) {
        throwsAt.clear();
        throw StreamBroke();
    }
}

std::int64_t FakeStream::tell()
{
    seeks = 0;
    call("tell", true, false);
    return position;
}

void FakeStream::seek(std::int64_t target)
{
    const bool isBack = ++seeks == 2;
    position = target;
    call(isBack ? "seek back" : "seek", false, isBack);
}

void FakeStream::read(char* buffer, int size, int* status)
{
    call("read", false, false);
    if (*status != 0)
        ++outOfTurn;
    ++readCount;
    const auto begin = std::min(static_cast<std::size_t>(position), text.size());
    const auto given = text.copy(buffer, static_cast<std::size_t>(std::min(size, givesAtMost)), begin);
    position += static_cast<std::int64_t>(given);
    *status = reports;
}

} // namespace Marl::Tests
