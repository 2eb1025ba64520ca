// What stands for the running scene where nothing runs.
#pragma once

#include <marl/marl.h>

#include <map>
#include <string>
#include <string_view>

namespace Marl {

// To this host an object is no more than its name.
class Object {
public:
    std::string name;
};

} // namespace Marl

namespace Marl::Host {

// Has every object that a scene mentions with `@`. Names are added before anything is evaluated.
class RunningScene final : public Parser {
public:
    void add(std::string_view name) { objects.try_emplace(std::string(name), Object{std::string(name)}); }
    Object* findObject(const char* name) override;

private:
    std::map<std::string, Object, std::less<>> objects;
};

} // namespace Marl::Host
