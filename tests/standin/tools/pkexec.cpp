#include "ToolMain.h"

int main(int argc, char** argv) {
    return orvanel::standin::toolMain("pkexec", argc, argv);
}
