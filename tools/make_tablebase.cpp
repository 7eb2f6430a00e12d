// make_tablebase.cpp - makes endgame tablebases.
//
//   make_tablebase [--output DIR] [--threads N] [--plain] [--verify] NAME...
//
// NAME is a material of 3 to 5 men such as kbnk (the stronger side first), or all3, all4, all5:
// every material with that many men. What a material depends on is made first. Materials that
// are there already are left as they are, so that an interrupted run goes on where it was; the
// files of an unfinished material are not there at all.
//
// --verify checks every value of the named tables (those it made and those it found) against the
// values one move further on.
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "board/attacks.h"
#include "tablebases/generate.h"

namespace {

int Usage(const char* complaint) {
    if (*complaint != '\0') std::fprintf(stderr, "make_tablebase: %s\n", complaint);
    std::fprintf(stderr,
                 "usage: make_tablebase [--output DIR] [--threads N] [--plain] [--verify] NAME...\n"
                 "  NAME       a material of 3 to 5 men (kqk, kbnk, krpkr), or all3, all4, all5\n"
                 "  --output   the folder of the tables, made when it is missing; default: .\n"
                 "  --threads  1 to 64; default: one for each processor\n"
                 "  --plain    files without compression\n"
                 "  --verify   every value is checked against those one move further on\n");
    return 1;
}

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

void PrintStatistics(const std::string& name, const TableStatistics& statistics, const char* what, double seconds) {
    std::printf("%s %s in %.1f s\n", name.c_str(), what, seconds);
    for (const Colour side : {WHITE, BLACK}) {
        std::printf("  %s to move: %llu wins, %llu draws, %llu losses", side == WHITE ? "White" : "Black",
                    (unsigned long long)statistics.wins[side], (unsigned long long)statistics.draws[side],
                    (unsigned long long)statistics.losses[side]);
        if (statistics.longest[side] > 0)
            std::printf("; longest mate %d moves: %s", statistics.longest[side],
                        TableFen(statistics.example[side]).c_str());
        std::printf("\n");
    }
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    TableJob job;
    job.folder = ".";
    job.threads = int(std::thread::hardware_concurrency());
    if (job.threads < 1) job.threads = 1;
    bool verify = false;
    std::vector<std::string> names;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        TableMaterial material;
        if (argument == "--output" && i + 1 < argc) {
            job.folder = argv[++i];
        } else if (argument == "--threads" && i + 1 < argc) {
            const char* const end = argv[i + 1] + std::strlen(argv[i + 1]);
            const auto [stop, error] = std::from_chars(argv[i + 1], end, job.threads);
            if (error != std::errc() || stop != end || job.threads < 1 || job.threads > 64)
                return Usage("--threads takes a number from 1 to 64");
            ++i;
        } else if (argument == "--plain") {
            job.packed = false;
        } else if (argument == "--verify") {
            verify = true;
        } else if (argument == "all3" || argument == "all4" || argument == "all5") {
            for (const std::string& name : AllMaterials(argument[3] - '0')) names.push_back(name);
        } else if (ParseTableMaterial(argument, &material) && MenCount(material) <= 5) {
            names.push_back(argument);
        } else {
            return Usage(
                (argument + " is neither an option nor a material of 3 to 5 men, stronger side first").c_str());
        }
    }
    if (names.empty()) return Usage("no material is named");
    std::error_code error;
    std::filesystem::create_directories(job.folder, error);
    if (!std::filesystem::is_directory(job.folder, error)) return Usage((job.folder + " is no folder").c_str());

    InitialiseAttacks();
    job.progress = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); };
    uint64_t memory = 0;
    std::vector<std::string> missing;
    for (const std::string& name : TablesToMake(names)) {
        if (TableIsMade(job, name)) continue;
        missing.push_back(name);
        memory = std::max(memory, TableMemory(name));
    }
    if (!missing.empty())
        std::printf("%zu tables to make; at most %llu MB of memory\n", missing.size(),
                    (unsigned long long)(memory + 1048575) / 1048576);
    std::fflush(stdout);
    TableStatistics statistics;
    std::string reason;
    const auto start = std::chrono::steady_clock::now();
    for (const std::string& name : missing) {
        const auto began = std::chrono::steady_clock::now();
        if (!MakeTable(job, name, &statistics, &reason)) {
            std::fprintf(stderr, "make_tablebase: %s: %s\n", name.c_str(), reason.c_str());
            return 1;
        }
        PrintStatistics(name, statistics, "made", Seconds(began));
    }
    if (!missing.empty()) std::printf("%zu tables made in %.1f s\n", missing.size(), Seconds(start));
    if (!verify) return 0;
    const auto verifying = std::chrono::steady_clock::now();
    for (const std::string& name : names) {
        const auto began = std::chrono::steady_clock::now();
        if (!VerifyTable(job, name, &statistics, &reason)) {
            std::fprintf(stderr, "make_tablebase: %s\n", reason.c_str());
            return 1;
        }
        PrintStatistics(name, statistics, "verified", Seconds(began));
    }
    std::printf("%zu tables verified in %.1f s\n", names.size(), Seconds(verifying));
    return 0;
}
