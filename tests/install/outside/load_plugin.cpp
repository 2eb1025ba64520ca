// Loads the plugin and runs its main().
#include <dlfcn.h>

#include <cstdio>

int main(int, char** arguments)
{
    void* plugin = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    void* entry = plugin ? dlsym(plugin, "main") : nullptr;
    if (entry)
        return reinterpret_cast<int (*)()>(entry)();
    std::fprintf(stderr, "%s\n", dlerror());
    return 1;
}
