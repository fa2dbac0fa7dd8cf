#include "command_monitor.h"
#include "commandline.h"
#include "program.h"

int main(int count, char **values)
{
    kdmxctl::Commands commands = kdmxctl::link_commands();
    kdmxctl::add_monitor_command(&commands);
    return kdmxctl::run(commandline::arguments(count, values), commands);
}
