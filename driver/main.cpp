// main.cpp - the program. There are no command-line arguments.
#include "driver/startup.h"

int main() { RunProgram(); }
