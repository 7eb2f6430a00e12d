// positions.h - positions that between them show every rule and every kind of material.
//
// All are legal and playable. `why` names what a test would miss without the row.
#pragma once

struct TestPosition {
    const char *why, *fen;
};

constexpr TestPosition test_positions[] = {
    // Openings and middlegames.
    {"start position", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"},
    {"start position, Black to move", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq - 0 1"},
    {"all castlings, pins, en passant to come", "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"},
    {"the same for Black", "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b KQkq - 0 1"},
    {"symmetrical middlegame", "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10"},
    {"closed centre", "2q1rr1k/3bbnnp/p2p1pp1/2pPp3/PpP1P1P1/1P2BNNP/2BQ1PRK/7R b - - 0 1"},
    {"opposite castling, attack on the king", "2kr1bnr/pbpq4/2n1pp2/3p3p/3P1P1B/2N2N1Q/PPP3PP/2KR1B1R w - - 0 1"},
    {"mutual promotion captures, one side may castle",
     "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1"},
    {"the same mirrored", "r2q1rk1/pP1p2pp/Q4n2/bbp1p3/Np6/1B3NBn/pPPP1PPP/R3K2R b KQ - 0 1"},
    {"promotion with a discovered attack on castling rights",
     "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8"},

    // Castling.
    {"castling both ways, nothing else", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1"},
    {"one right a side, crosswise", "r3k2r/8/8/8/8/8/8/R3K2R b Kq - 0 1"},
    {"king side through check, queen side allowed", "4k3/8/8/8/8/5r2/8/R3K2R w KQ - 0 1"},
    {"b-file attacked does not forbid long castling", "1r2k3/8/8/8/8/8/8/R3K3 w Q - 0 1"},
    {"in check: no castling", "4k3/8/8/8/4r3/8/8/R3K2R w KQ - 0 1"},
    {"rooks that take each other's rights", "r3k2r/8/8/8/8/8/8/2R1K2R b Kkq - 0 1"},

    // En passant.
    {"en passant for White", "rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3"},
    {"en passant for Black", "rnbqkbnr/ppp1pppp/8/8/3pP3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 3"},
    {"en passant bares the king along the rank", "8/8/8/8/k2Pp2Q/8/8/3K4 b - d3 0 1"},
    {"en passant uncovers check along the rank", "8/8/8/R2pP2k/8/8/8/4K3 w - d6 0 1"},
    {"en passant uncovers a bishop", "8/5bk1/8/2Pp4/8/1K6/8/8 w - d6 0 1"},
    {"en passant takes the checking pawn", "8/8/8/3k4/2Pp4/8/8/4K3 b - c3 0 1"},
    {"two pawns may take en passant", "4k3/8/8/8/2pPp3/8/8/4K3 b - d3 0 1"},
    {"edge pawns: no wrapping round the board", "4k3/7p/8/P6p/p6P/8/P7/4K3 b - h3 0 1"},

    // Promotions and unusual material.
    {"promotions everywhere", "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1"},
    {"the same for White", "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N w - - 0 1"},
    {"promotion beside the enemy king", "8/P1k5/K7/8/8/8/8/8 w - - 0 1"},
    {"three queens a side: material that has no signature", "qqq1k3/8/8/8/8/8/8/3K1QQQ w - - 0 1"},
    {"nine queens: 218 moves, the most known", "R6R/3Q4/1Q4Q1/4Q3/2Q4Q/Q4Q2/pp1Q4/kBNN1KB1 w - - 0 1"},
    {"three knights and three rooks", "rrr1k3/8/8/3n4/3N4/2N1N3/8/4KRRR w - - 0 1"},

    // Checks.
    {"double check", "4k3/8/5N2/8/8/8/4R3/4K3 b - - 0 1"},
    {"pins on file, rank and both diagonals", "4k3/4r3/8/q7/4R2b/2B5/5N2/r1Q1K3 w - - 0 1"},
    {"check by a pawn that just moved two squares", "8/8/8/4k3/3P4/8/8/4K3 b - d3 0 1"},
    {"a rook that uncovers check", "8/8/2k5/8/4R3/8/1q4B1/4K3 w - - 0 1"},

    // Endings.
    {"king and pawn", "8/8/8/4k3/8/4K3/4P3/8 w - - 0 1"},
    {"pawn race", "8/p6k/8/8/8/8/6KP/8 w - - 0 1"},
    {"rook ending with passed pawns", "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1"},
    {"bishops of opposite colours", "8/5p1k/4b1p1/8/3B4/4P1P1/5PK1/8 w - - 0 1"},
    {"bishop and knight against king", "8/8/8/4k3/8/8/3BN3/4K3 w - - 0 1"},
    {"queen against pawn on the seventh", "8/8/8/8/8/1K6/2pk4/7Q w - - 0 1"},
    {"rook against bishop", "8/8/4kb2/8/8/4KR2/8/8 w - - 0 1"},
    {"two bare kings", "8/8/4k3/8/8/4K3/8/8 w - - 0 1"},
    {"wrong bishop for the rook pawn", "k7/8/8/P7/8/8/3B4/4K3 w - - 0 1"},
    {"blocked pawns, only kings move", "4k3/8/p1p1p1p1/PpPpPpPp/1P1P1P1P/8/8/4K3 w - - 0 1"},

    // Ends of games.
    {"mated", "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3"},
    {"stalemated", "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"},
};
