// make_tablebase.cpp - makes endgame tablebases.
//
//   make_tablebase [--output DIR] [--threads N] [--plain] [--verify] NAME...
//
// NAME is a material of 3 to 5 men such as kbnk (the side with more men first, or the stronger), or all3, all4, all5:
// every material with that many men. What a material depends on is made first. Materials that
// are there already and undamaged are left as they are, so that an interrupted run goes on where
// it was. It may leave a file that ends in .tmp behind, which the next run writes anew. Files of
// other programs are never written over.
//
// --verify checks every value of the named tables (those it made and those it found) against the
// values one move further on.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "board/attacks.h"
#include "board/file_names.h"
#include "tablebases/generate.h"

namespace {

constexpr const char* UsageText =
    "usage: make_tablebase [--output DIR] [--threads N] [--plain] [--verify] NAME...\n"
    "  NAME       a material of 3 to 5 men (kqk, kbnk, krpkr), or all3, all4, all5\n"
    "  --output   the folder of the tables, made when it is missing; default: .\n"
    "  --threads  1 to 64; default: one for each processor\n"
    "  --plain    files without compression\n"
    "  --verify   every value is checked against those one move further on\n";

int Fail(const std::string& complaint) {
    std::fprintf(stderr, "make_tablebase: %s\n", complaint.c_str());
    return 1;
}
int Usage(const std::string& complaint) {
    Fail(complaint);
    std::fputs(UsageText, stderr);
    return 1;
}

unsigned long long Megabytes(uint64_t bytes) { return (bytes + 1048575) / 1048576; }

// "" when files can be written into the folder, which is made when it is missing.
std::string PrepareFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(PathOf(folder), error);
    if (error) return folder + ": " + error.message();
    const std::filesystem::path probe = PathOf(folder + "/make_tablebase.tmp");
    std::FILE* const file = OpenFile(probe, "wb");
    if (file == nullptr) return folder + ": " + std::strerror(errno);
    std::fclose(file);
    std::filesystem::remove(probe, error);
    return "";
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

struct Arguments {
    TableJob job;
    bool verify = false;
    std::vector<std::string> names;  // each once
};

// False, after a complaint, when something is wrong with them.
bool ReadArguments(int argc, char** argv, Arguments* arguments) {
    TableJob& job = arguments->job;
    job.folder = ".";
    job.threads = std::clamp(int(std::thread::hardware_concurrency()), 1, 64);
    std::vector<std::string>& names = arguments->names;
    const auto add = [&names](const std::string& name) {
        if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    };
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        std::string name = argument;
        for (char& c : name) c = char(std::tolower(static_cast<unsigned char>(c)));
        TableMaterial material;
        if (argument == "--output" || argument == "--threads") {
            if (++i == argc) return Usage(argument + " needs a value"), false;
            if (argument == "--output") {
                job.folder = argv[i];
                continue;
            }
            const char* const end = argv[i] + std::strlen(argv[i]);
            const auto [stop, error] = std::from_chars(argv[i], end, job.threads);
            if (error != std::errc() || stop != end || job.threads < 1 || job.threads > 64)
                return Usage("--threads takes a number from 1 to 64"), false;
        } else if (argument == "--plain") {
            job.packed = false;
        } else if (argument == "--verify") {
            arguments->verify = true;
        } else if (argument.starts_with('-')) {
            return Usage(argument + " is no option"), false;
        } else if (name == "all3" || name == "all4" || name == "all5") {
            for (const std::string& each : AllMaterials(name[3] - '0')) add(each);
        } else if (ParseTableMaterial(name, &material) && MenCount(material) <= 5) {
            add(name);
        } else {
            return Usage(argument + " is no material of 3 to 5 men, the side with more men first"), false;
        }
    }
    if (names.empty()) return Usage("no material is named"), false;
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[argc - 1], "--help") == 0) {
        std::fputs(UsageText, stdout);
        return 0;
    }
    // Short memory or threads that cannot be started would otherwise end in an abort.
    std::set_terminate([] {
        std::fputs("make_tablebase: not enough memory, or threads cannot be started\n", stderr);
        std::_Exit(1);
    });
    Arguments arguments;
    if (!ReadArguments(argc, argv, &arguments)) return 1;
    TableJob& job = arguments.job;
    if (const std::string trouble = PrepareFolder(job.folder); !trouble.empty()) return Fail(trouble);

    InitialiseAttacks();
    job.progress = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); };
    uint64_t memory = 0;
    std::vector<std::string> missing;
    const std::vector<std::string> all = TablesToMake(arguments.names);
    for (const std::string& name : all) {
        if (TableIsMade(job, name)) continue;
        if (const std::string foreign = ForeignTable(job, name); !foreign.empty())
            return Fail(foreign + " is in the way: it is no table of ours");
        missing.push_back(name);
        memory = std::max(memory, TableMemory(name));
    }
    if (arguments.verify)
        for (const std::string& name : arguments.names) memory = std::max(memory, TableMemory(name));
    std::printf("%zu tables to make, %zu are there already", missing.size(), all.size() - missing.size());
    if (memory > 0) std::printf("; at most %llu MB of memory", Megabytes(memory));
    std::printf("\n");
    std::fflush(stdout);

    TableStatistics statistics;
    std::string reason;
    const auto start = std::chrono::steady_clock::now();
    for (const std::string& name : missing) {
        const auto began = std::chrono::steady_clock::now();
        if (!MakeTable(job, name, &statistics, &reason)) return Fail(name + ": " + reason);
        PrintStatistics(name, statistics, "made", Seconds(began));
    }
    if (!missing.empty()) std::printf("%zu tables made in %.1f s\n", missing.size(), Seconds(start));
    if (!arguments.verify) return 0;
    const auto verifying = std::chrono::steady_clock::now();
    for (const std::string& name : arguments.names) {
        const auto began = std::chrono::steady_clock::now();
        if (!VerifyTable(job, name, &statistics, &reason)) return Fail(reason);
        PrintStatistics(name, statistics, "verified", Seconds(began));
    }
    std::printf("%zu tables verified in %.1f s\n", arguments.names.size(), Seconds(verifying));
    return 0;
}
