// table_folder.h - tables made once for all tests of a program that ask for them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tablebases/generate.h"
#include "tests/support/temporary_path.h"

// A folder with the named tables and all below them, removed at the end.
class TableFolder {
public:
    explicit TableFolder(const std::vector<std::string>& names) : folder(TemporaryPath("-tables")) {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        TableJob job = Job();
        TableStatistics statistics;
        std::string reason;
        for (const std::string& name : TablesToMake(names))
            EXPECT_TRUE(MakeTable(job, name, &statistics, &reason)) << reason;
    }
    ~TableFolder() { std::filesystem::remove_all(folder); }
    TableJob Job() const {
        TableJob job;
        job.folder = folder;
        job.threads = 2;
        return job;
    }
    const std::string folder;
};
