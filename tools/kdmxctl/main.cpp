#include "commandline.h"
#include "program.h"

int main(int count, char **values)
{
    return kdmxctl::run(commandline::arguments(count, values));
}
