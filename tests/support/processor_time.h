// processor_time.h - how long a process has waited for a processor that others had.
#pragma once

#include <sys/types.h>

#include <fstream>
#include <string>

// In milliseconds, since its start; 0 where the system does not tell.
inline double WithheldMilliseconds(pid_t process) {
    std::ifstream statistics("/proc/" + std::to_string(process) + "/schedstat");
    double used = 0, waited = 0;  // nanoseconds
    statistics >> used >> waited;
    return waited / 1e6;
}
