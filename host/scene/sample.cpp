#include <host/scene/sample.h>

namespace Marl::Host {

namespace {

class Fnv1a {
public:
    void add(char byte)
    {
        hash ^= static_cast<unsigned char>(byte);
        hash *= 0x100000001b3;
    }

    void add(std::string_view text)
    {
        for (const char byte : text)
            add(byte);
        add('\0');
    }

    void add(std::uint32_t number)
    {
        for (int shift = 0; shift < 32; shift += 8)
            add(static_cast<char>(number >> shift & 0xff));
    }

    std::uint64_t hash = 0xcbf29ce484222325;
};

std::uint64_t finalized(std::uint64_t z)
{
    z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9;
    z = (z ^ z >> 27) * 0x94d049bb133111eb;
    return z ^ z >> 31;
}

} // namespace

float drawSample(std::string_view object, std::string_view property, std::uint32_t occurrence, std::uint32_t seed)
{
    Fnv1a sum;
    sum.add(object);
    sum.add(property);
    sum.add(occurrence);
    sum.add(seed);
    return static_cast<float>(finalized(sum.hash) >> 40) / 0x1p24f;
}

} // namespace Marl::Host
