#include <host/commands/command.h>
namespace Marl::Host {
void addCheckCommand(CLI::App&, int&) {}
}
