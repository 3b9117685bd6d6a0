#include "host/command_line.h"

int main(int argc, char** argv)
{
    return run_command_line(argc, argv);
}
