// tablebase_registry_test.cpp - finding tables, the block cache, and values of positions.
//
// The tables here are real files with invented values: a formula of the slot, different for
// every table and for every "salt", so that a value from a wrong table, block or copy shows.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <list>
#include <string>
#include <vector>

#include "board/console.h"
#include "board/position.h"
#include "tablebases/block_cache.h"
#include "tablebases/probe.h"
#include "tablebases/registry.h"
#include "tablebases/table_writer.h"
#include "tests/support/table_checks.h"
#include "tests/support/temporary_path.h"
#include "tools/common/text.h"

namespace fs = std::filesystem;

namespace {

// The tables' values and what a probe must make of them (mate in n: 32700 - 2n).
const std::vector<TableValue> values = {0, 1, 2, 28, -1, -2, -11, 127, -127};
const std::vector<int> scores = {0, 32698, 32696, 32644, -32700, -32698, -32680, 32446, -32448};

int ByteOf(const std::string& material, Colour side, uint64_t slot, int salt) {
    const uint64_t table = material.size() * 31 + uint64_t(material[1]) * 7 + uint64_t(side) + uint64_t(salt) * 3;
    return int((slot + slot / TableBlock * 5 + table) % values.size());
}

void WriteTable(const std::string& path, const std::string& material, Colour side, int salt = 0) {
    const TableIndex index = IndexOf(material, side);
    std::vector<uint8_t> bytes(index.slots);
    for (uint64_t slot = 0; slot < index.slots; ++slot) bytes[slot] = uint8_t(ByteOf(material, side, slot, salt));
    std::string reason;
    ASSERT_TRUE(WriteTableFile(path, {material, side, values, bytes.data(), index.slots},
                               path.find(".emd") != std::string::npos, 1, &reason))
        << reason;
}

// Sets up a table's position; `turned` with colours changed and ranks mirrored.
void Place(const TablePosition& position, bool turned) {
    SetFen(TableFen(turned ? SwapColours(position) : position).c_str());
}

class Tablebases : public ::testing::Test {
protected:
    void SetUp() override {
        folder = TemporaryPath("");
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    void TearDown() override {
        Register("");
        EXPECT_EQ(TablebaseIndexMemory(), 0u);
        FreeTablebaseCache();
        fs::remove_all(folder);
        SetInitialPosition();
    }
    std::string Path(const std::string& name) const { return (fs::path(folder) / name).string(); }
    // Registers; what was printed goes to `printed`, and as lines without the folder to `lines`.
    int Register(const std::string& path) {
        Flush();
        ::testing::internal::CaptureStdout();
        const int men = RegisterTablebases(path.c_str());
        printed = ::testing::internal::GetCapturedStdout();
        lines = Split(printed, '\n');
        lines.pop_back();
        for (std::string& line : lines)
            if (const size_t at = line.find(folder + "/"); at != std::string::npos) line.erase(at, folder.size() + 1);
        EXPECT_EQ(men, tablebase_men);
        return men;
    }
    // Probes up to `count` positions of a table, either way round; those that are there must have
    // the table's value. Returns how many were not there.
    static int Check(const std::string& material, Colour side, int count, int salt = 0, bool turn = true) {
        const TableIndex index = IndexOf(material, side);
        TestRandom random{uint64_t(count)};
        int missing = 0;
        for (int i = 0; i < count; ++i) {
            const uint64_t slot = random.Next() % index.slots;
            TablePosition position;
            if (!PositionOfSlot(index, slot, &position) || SlotOf(index, position) != slot) continue;
            Place(position, turn && (i & 1));
            if (EnPassantPossible(nullptr) != (position.en_passant != NoEnPassant)) continue;
            int score = 1;
            if (!ProbeTablebase(&score)) ++missing;
            else EXPECT_EQ(score, scores[size_t(ByteOf(material, side, slot, salt))]) << WriteFen();
        }
        return missing;
    }
    std::string folder, printed;
    std::vector<std::string> lines;
};

TEST_F(Tablebases, MessagesForGoodBadAndSecondFiles) {
    fs::create_directories(Path("a"));
    fs::create_directories(Path("B"));
    WriteTable(Path("a/KQK.NBW"), "kqk", WHITE);
    WriteTable(Path("a/kqk.NBB.emd"), "kqk", BLACK);
    WriteTable(Path("B/kqk.nbw"), "kqk", WHITE, 1);
    WriteTable(Path("B/kqk.nbb"), "kqk", BLACK, 2);
    WriteTable(Path("B/kbnk.nbb"), "kbnk", BLACK);
    WriteTable(Path("a/krk.nbw"), "krk", WHITE);
    fs::resize_file(Path("a/krk.nbw"), fs::file_size(Path("a/krk.nbw")) - 1);
    WriteTable(Path("B/krk.nbw"), "krk", WHITE, 3);
    WriteTable(Path("B/krk.NBW.emd"), "krk", WHITE, 4);
    WriteTable(Path("a/kpk.nbb"), "kpk", WHITE);
    WriteTable(Path("a/kbk.nbw"), "knk", WHITE);
    std::ofstream(Path("a/knk.nbw")) << "not one of ours, but long enough to have a head in it: "
                                     << std::string(999, 'x');
    std::ofstream(Path("a/knk.nbb"));
    fs::create_directories(Path("a/kpk.nbw"));
    // Names that are none of a table.
    for (const char* name :
         {"knbk.nbw", "kqk.nbx", "kqk", "kqk.nbw.zip", "kk.nbw", "kqkqq.nbw", "kqk.nbwemd", "k\xfcp"})
        std::ofstream(Path("a/" + std::string(name))) << "x";

    EXPECT_EQ(Register(Path("a") + ";" + Path("b")), 4);
    // A refusal is two lines, the second with a reason in words.
    const std::string refusal = "*** Unable to register ";
    for (size_t i = 1; i < lines.size(); ++i) {
        if (lines[i - 1].rfind(refusal, 0) != 0) continue;
        EXPECT_GT(lines[i].size(), 10u) << "why " << lines[i - 1];
        lines[i - 1].replace(0, refusal.size(), "no ");
        lines.erase(lines.begin() + std::ptrdiff_t(i));
    }
    const std::vector<std::string> expected = {"no a/kbk.nbw",          "no a/knk.nbb",
                                               "no a/knk.nbw",          "no a/kpk.nbb",
                                               "no a/kpk.nbw",          "a/kqk.NBB.emd registered",
                                               "B/kqk.nbb found",       "a/KQK.NBW registered",
                                               "B/kqk.nbw found",       "no a/krk.nbw",
                                               "B/krk.nbw registered",  "B/krk.NBW.emd found",
                                               "B/kbnk.nbb registered", "Tried to open 10 files. Opened 4 files."};
    EXPECT_EQ(lines, expected);

    EXPECT_EQ(Check("kqk", WHITE, 500) + Check("kqk", BLACK, 500) + Check("krk", WHITE, 500, 3), 0);
    EXPECT_EQ(Check("kbnk", BLACK, 500), 0);
    for (const char* other : {"krk", "kpk", "knk", "kbk"})
        EXPECT_GT(Check(other, BLACK, 100), 60) << "no file, or one refused: " << other;
    EXPECT_GT(Check("kbnk", WHITE, 100), 60);
    EXPECT_GT(TablebaseIndexMemory(), 1000u);
}

TEST_F(Tablebases, SpellingsOfThePath) {
    fs::create_directories(Path("Two Words"));
    WriteTable(Path("Two Words/kqk.nbw"), "kqk", WHITE);
    const std::string name = Path("Two Words");
    std::string backslashes = name;
    std::replace(backslashes.begin(), backslashes.end(), '/', '\\');
    const std::vector<std::string> expected = {"Two Words/kqk.nbw registered",
                                               "Tried to open 1 files. Opened 1 files."};
    for (const std::string& path : {name + "/", name + "\\", name + "//", "  " + name + "\t", "\"" + name + "\\\"",
                                    name + "\"", ",;" + name + ",,", "/nowhere/at all; " + name + ",c:\\tables",
                                    Path("two WORDS"), name + "," + name + "/;" + backslashes}) {
        EXPECT_EQ(Register(path), 3) << path;
        EXPECT_EQ(lines, expected) << path;
    }
#ifndef _WIN32
    for (const char* path : {"", ",; ;", "c:\\tablebases\\", "\"", "/nowhere", "*", "\\", "|:<>"}) {
        EXPECT_EQ(Register(path), 0) << path;
        EXPECT_EQ(printed, "") << path;
    }
#endif
    EXPECT_EQ(Register(name + "/kqk.nbw"), 0);
    EXPECT_EQ(lines.size(), 1u) << "a file instead of a folder is worth a line:\n" << printed;
}

TEST_F(Tablebases, EnPassantHasItsOwnValueEitherWayRound) {
    WriteTable(Path("kpkp.nbw"), "kpkp", WHITE);
    // Without a table for Black, positions with Black to move are turned around: the men are the
    // same on both sides.
    ASSERT_EQ(Register(folder), 4);
    const TableIndex index = IndexOf("kpkp", WHITE);
    int captures = 0;
    for (uint64_t slot = index.plain_slots; slot < index.slots; ++slot) {
        TablePosition position;
        if (!PositionOfSlot(index, slot, &position)) continue;
        for (const bool turned : {false, true}) {
            Place(position, turned);
            if (!EnPassantPossible(nullptr)) continue;  // a king stands where the pawn came from
            int score = 1;
            ASSERT_TRUE(ProbeTablebase(&score)) << WriteFen();
            ASSERT_EQ(score, scores[size_t(ByteOf("kpkp", WHITE, slot, 0))]) << WriteFen();
            ++captures;
        }
    }
    EXPECT_GT(captures, 30000);
    EXPECT_EQ(Check("kpkp", WHITE, 5000), 0);
    WriteTable(Path("kpkp.nbb"), "kpkp", BLACK);
    ASSERT_EQ(Register(folder), 4);
    // With both tables neither is turned.
    EXPECT_EQ(Check("kpkp", WHITE, 2000, 0, false) + Check("kpkp", BLACK, 2000, 0, false), 0);
}

TEST_F(Tablebases, NothingButPositionsOfATableIsFound) {
    WriteTable(Path("kqk.nbw"), "kqk", WHITE);
    WriteTable(Path("kpk.nbw"), "kpk", WHITE);
    WriteTable(Path("krkr.nbw"), "krkr", WHITE);
    ASSERT_EQ(Register(folder), 4);
    const struct {
        const char *why, *fen;
        bool there;
    } cases[] = {
        {"as it should be", "8/8/8/8/3k4/8/8/KQ6 w - - 0 1", true},
        {"Black the stronger side", "kq6/8/8/3K4/8/8/8/8 b - - 0 1", true},
        {"no table for this side to move", "8/8/8/8/3k4/8/8/KQ6 b - - 0 1", false},
        {"the same, Black the stronger side", "kq6/8/8/3K4/8/8/8/8 w - - 0 1", false},
        {"castling", "r3k3/8/8/8/8/8/8/R3K3 w q - 0 1", false},
        {"two kings and nothing else", "8/8/8/8/3k4/8/8/K7 w - - 0 1", false},
        {"kings side by side", "8/8/8/8/8/8/1k6/KQ6 w - - 0 1", false},
        {"no king", "8/8/8/8/3k4/8/8/1QQ5 w - - 0 1", false},
        {"a king too many beside the men of a table", "8/8/8/8/3k4/8/8/KKQ5 w - - 0 1", false},
        {"a king too few beside the men of a table", "8/8/8/8/8/8/8/KR3r2 w - - 0 1", false},
        {"kings only", "kkk5/8/8/8/8/8/8/K7 w - - 0 1", false},
        {"pawn on the last rank", "P7/8/8/8/3k4/8/8/K7 w - - 0 1", false},
        {"three men on one side only", "8/8/8/8/3k4/8/8/KQQQ4 w - - 0 1", false},
        {"full", "QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/qqqqqqqq/qqqqqqqq/kqqqqqqq/Kqqqqqqq w - - 0 1", false},
    };
    for (const auto& c : cases) {
        SetFen(c.fen);
        int score;
        EXPECT_EQ(ProbeTablebase(&score), c.there) << c.why;
    }
    tablebase_men = 3;
    EXPECT_GT(Check("krkr", WHITE, 100), 60) << "fewer men are wanted";
}

TEST_F(Tablebases, TheCacheHasRoomForWhatItWasGivenAndForgetsTheOldest) {
    WriteTable(Path("kpk.nbw"), "kpk", WHITE);
    WriteTable(Path("kpk.nbb.emd"), "kpk", BLACK);
    WriteTable(Path("kqk.nbb"), "kqk", BLACK);
    ASSERT_EQ(Register(folder), 3);
    TableFile files[2];
    std::string reason;
    for (const Colour side : {WHITE, BLACK})
        ASSERT_TRUE(OpenTableFile(Path(side == WHITE ? "kpk.nbw" : "kpk.nbb.emd"), "kpk", side,
                                  IndexOf("kpk", side).slots, &files[side], &reason))
            << reason;
    for (const uint32_t bytes : {0u, 1u, 8191u, 8192u, 16384u, 8192u * 5 + 1, 8192u * 13, 1048576u, ~0u}) {
        SCOPED_TRACE(bytes);
        ASSERT_TRUE(AllocateTablebaseCache(bytes));
        EXPECT_EQ(Check("kpk", WHITE, 1000) + Check("kpk", BLACK, 1000) + Check("kqk", BLACK, 1000), 0);
        DropBlocks();
        // The slow version: a list with the block used last in front.
        std::list<uint64_t> recent;
        const size_t room = std::max<size_t>(1, std::min<size_t>(bytes / TableBlock, 25));
        TestRandom random{bytes};
        uint64_t reads = blocks_read;
        for (int i = 0; i < 3000; ++i) {
            // Of the 21 blocks of both files some more often than others.
            const uint64_t which = random.Next() % 3 == 0 ? random.Next() % 21 : random.Next() % 4;
            const Colour side = which < 10 ? WHITE : BLACK;
            const uint64_t block = side == WHITE ? which : which - 10;
            const auto place = std::find(recent.begin(), recent.end(), which);
            if (place != recent.end()) recent.erase(place);
            else ++reads;
            recent.push_front(which);
            if (recent.size() > room) recent.pop_back();
            const uint8_t* found = FindBlock(files[side], uint32_t(side), block);
            ASSERT_NE(found, nullptr);
            ASSERT_EQ(blocks_read, reads) << i;
            ASSERT_EQ(found[17], ByteOf("kpk", side, block * TableBlock + 17, 0)) << i;
        }
        DropBlocks();
    }
    for (TableFile& file : files) CloseTableFile(&file);
}

TEST_F(Tablebases, ADamagedBlockSwitchesItsTableOffAndNoOther) {
    for (const bool packed : {false, true}) {
        const std::string name = Path(packed ? "kpk.nbw.emd" : "kpk.nbw");
        WriteTable(name, "kpk", WHITE);
        WriteTable(Path("kpk.nbb"), "kpk", BLACK);
        const auto last_block = std::streamoff(fs::file_size(name)) - 20;
        std::fstream(name, std::ios::in | std::ios::out | std::ios::binary).seekp(last_block).write("\xFF\x00", 2);
        ASSERT_EQ(Register(folder), 3) << "heads are intact";
        ASSERT_TRUE(AllocateTablebaseCache(1 << 20));
        Flush();
        ::testing::internal::CaptureStdout();
        const int missing = Check("kpk", WHITE, 4000);
        printed = ::testing::internal::GetCapturedStdout();
        EXPECT_GT(missing, 2000) << "no value at all once the damage was seen";
        EXPECT_EQ(printed.rfind("*** Unable to register " + name + "\n", 0), 0u) << printed;
        EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 2) << printed;
        EXPECT_EQ(Check("kpk", BLACK, 500), 0);
        // A whole file in its place works after the next registration.
        fs::remove(name);
        WriteTable(name, "kpk", WHITE, 1);
        ASSERT_EQ(Register(folder), 3);
        EXPECT_EQ(Check("kpk", WHITE, 500, 1), 0);
        fs::remove(name);
    }
}

TEST_F(Tablebases, RegisteringAgainReplacesEverything) {
    for (const std::string part : {"a", "b"}) fs::create_directories(Path(part));
    WriteTable(Path("a/kqk.nbw"), "kqk", WHITE, 0);
    WriteTable(Path("b/kqk.nbw"), "kqk", WHITE, 1);
    WriteTable(Path("b/kqkr.nbw"), "kqkr", WHITE, 1);
    const auto descriptors = [] {
        std::error_code error;
        return std::distance(fs::directory_iterator("/proc/self/fd", error), fs::directory_iterator());
    };
    const auto before = descriptors();
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(Register(Path("a")), 3);
        ASSERT_TRUE(i > 0 || AllocateTablebaseCache(1 << 20));
        EXPECT_EQ(Check("kqk", WHITE, 200, 0), 0);
        ASSERT_EQ(Register(Path("b")), 4);
        EXPECT_EQ(Check("kqk", WHITE, 200, 1), 0) << "blocks of the other table";
    }
    EXPECT_EQ(Register("/nowhere"), 0);
    EXPECT_EQ(descriptors(), before);
    tablebase_men = 6;
    EXPECT_GT(Check("kqk", WHITE, 100), 60);
}

}  // namespace
