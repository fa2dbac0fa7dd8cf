#include "command_monitor.h"
#include "commandline.h"
#include "program.h"

int main(int count, char **values)
{
    const commandline::Utf8Console console;
    kdmxctl::Commands commands = kdmxctl::link_commands();
    kdmxctl::add_monitor_command(&commands);
    return kdmxctl::run(commandline::arguments(count, values), commands);
}
