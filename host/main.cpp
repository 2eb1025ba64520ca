// The tool `marl`.
#include <host/commands/tool.h>

int main(int count, char** arguments)
{
    return Marl::Host::runTool(count, arguments);
}
