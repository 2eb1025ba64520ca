#include <host/scene/running_scene.h>

namespace Marl::Host {

Object* RunningScene::findObject(const char* name)
{
    const auto found = name ? objects.find(std::string_view(name)) : objects.end();
    return found == objects.end() ? nullptr : &found->second;
}

} // namespace Marl::Host
