#include "tools/navctl/Program.h"

int main(int argumentCount, char** arguments)
{
    return RunProgram(argumentCount, arguments);
}
