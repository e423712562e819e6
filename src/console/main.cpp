#include "console/commands.h"

int main(int argument_count, char** arguments)
{
    return cw::console::run(argument_count, arguments);
}
