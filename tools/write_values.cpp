// write_values.cpp - writes the evaluation's present weights as a parameter file.
//
//   write_values [FILE]      (default values.txt)
//
// The weights are those built into the program: a "values.txt" in the current directory is not
// read. Weights that have no place in the file are not written.
#include <cstdio>

#include "eval/parameters.h"

int main(int argc, char** argv) {
    if (argc > 2 || (argc == 2 && argv[1][0] == '-')) {
        std::fprintf(stderr, "usage: write_values [FILE]   (default values.txt)\n");
        return 2;
    }
    const char* name = argc == 2 ? argv[1] : "values.txt";
    if (!SaveValues(name)) {
        std::fprintf(stderr, "%s: cannot be written\n", name);
        return 1;
    }
    return 0;
}
