// game_reader.cpp - see game_reader.h.
#include "tools/common/game_reader.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>

#include "board/make_move.h"
#include "board/notation.h"
#include "board/position.h"
#include "tools/common/text.h"

namespace {

bool IsResult(const std::string& word) {
    return word == "1-0" || word == "0-1" || word == "1/2-1/2" || word == "1/2" || word == "*";
}

// Judgements, novelty and diagram signs that stand alone.
bool IsRemark(const std::string& word) {
    static constexpr const char* Remarks[] = {"+-",  "-+",  "=",    "+=", "=+", "+/-",         "-/+",
                                              "+/=", "=/+", "e.p.", "N",  "D",  "\xE2\x88\x9E"};  // the infinity sign
    return std::strspn(word.c_str(), "!?") == word.size()
        || std::any_of(std::begin(Remarks), std::end(Remarks), [&](const char* remark) { return word == remark; });
}

bool IsChess(const std::string& variant) {
    static constexpr const char* Names[] = {"", "standard", "chess", "normal", "from position"};
    const std::string name = LowerCase(variant);
    return std::any_of(std::begin(Names), std::end(Names), [&](const char* chess) { return name == chess; });
}

// "12." and "12..." may stand alone or stick to the move.
std::string WithoutNumber(const std::string& word) {
    size_t i = 0;
    while (i < word.size() && std::isdigit(static_cast<unsigned char>(word[i]))) ++i;
    // Without a point it is no number: castling may be written with zeros.
    if (i < word.size() && word[i] != '.') i = 0;
    while (i < word.size() && word[i] == '.') ++i;
    return word.substr(i);
}

bool IsIn(char c, const char* set) { return c != '\0' && std::strchr(set, c) != nullptr; }

// Has the word the form of a move? The matcher passes over what it does not understand, and a
// misprint must not become a move. Check, mate and judgement signs are gone already.
bool IsMoveShaped(const std::string& word) {
    const char* c = word.c_str();
    if (*c == 'O' || *c == '0') {
        const std::string o(1, *c), side = o + "-" + o;
        return word == side || word == side + "-" + o;
    }
    if (IsIn(*c, "KQRBNP")) ++c;
    // From behind: the square gone to may be the first of two.
    int files = 0, ranks = 0;
    for (; IsIn(*c, "abcdefgh12345678x:"); ++c) {
        files += *c >= 'a' && *c <= 'h';
        ranks += *c >= '1' && *c <= '8';
    }
    if (files < 1 || files > 2 || ranks < 1 || ranks > 2 || !IsIn(c[-1], "12345678") || !IsIn(c[-2], "abcdefgh"))
        return false;
    if (*c == '=') ++c;
    if (IsIn(*c, "QRBN")) ++c;
    return *c == '\0';
}

// Other ways to write a move: exd6e.p., e2-e4, e8/Q.
std::string UsualForm(std::string word) {
    const auto strip = [&] {
        while (!word.empty() && IsIn(word.back(), "+#!?")) word.pop_back();
    };
    strip();
    if (EndsWith(word, "e.p.") && word.find_first_of("x:") != std::string::npos) {
        word.resize(word.size() - 4);
        strip();
    }
    const size_t size = word.size(), dash = word.find('-');
    if (size >= 2 && word[size - 2] == '/' && IsIn(word.back(), "QRBN")) word[size - 2] = '=';
    if (dash != std::string::npos && dash >= 2 && dash + 1 < size && IsIn(word[dash - 2], "abcdefgh")
        && IsIn(word[dash - 1], "12345678") && IsIn(word[dash + 1], "abcdefgh"))
        word.erase(dash, 1);
    return word;
}

}  // namespace

Move MoveOfWord(const std::string& word, std::string& why) {
    const std::string san = UsualForm(word);
    int matches = 0;
    const Move move = IsMoveShaped(san) ? FindSan(san.c_str(), &matches) : 0;
    why = (matches == 0 ? "no legal move: " : "ambiguous move: ") + Shown(word);
    return matches == 1 ? move : 0;
}

void PlayGame(const ReadGame& game, size_t plies) {
    SetFen(game.fen.c_str());
    for (size_t i = 0; i < plies && i < game.moves.size(); ++i) MakeMove(game.moves[i]);
}

void GameReader::Step() {
    if (Current() == '\n') ++line;
    if (at < text.size()) ++at;
}

bool GameReader::AtGameStart() const {
    return Current() == '[' && (at == 0 || text[at - 1] == '\n')
        && text.compare(at, std::strlen(GameStart), GameStart) == 0;
}

// Is the tag here the first behind an empty line?
bool GameReader::AfterEmptyLine() const {
    size_t i = at;
    int line_ends = 0;
    for (; i > 0 && line_ends < 2 && std::isspace(static_cast<unsigned char>(text[i - 1])); --i)
        line_ends += text[i - 1] == '\n';
    return line_ends == 2;
}

// To behind the next `end`; false when the text or the game ends before.
bool GameReader::SkipUntil(char end) {
    while (at < text.size() && Current() != end) {
        if (AtGameStart()) return false;
        Step();
    }
    const bool found = at < text.size();
    Step();
    return found || end == '\n';
}

// The same for the whole of a variation, those inside it included.
bool GameReader::SkipVariation() {
    int depth = 0;
    while (at < text.size() && !AtGameStart()) {
        const char c = Current();
        if (c == '{') {
            SkipUntil('}');
            continue;
        }
        if (c == ';') {
            SkipUntil('\n');
            continue;
        }
        Step();
        depth += (c == '(') - (c == ')');
        if (depth == 0) return true;
    }
    return false;
}

void GameReader::ReadTag(ReadGame& game) {
    std::string name, value;
    Step();
    while (at < text.size() && std::strchr("\"]\n", Current()) == nullptr) {
        if (!std::isspace(static_cast<unsigned char>(Current()))) name += Current();
        Step();
    }
    if (Current() == '"') {
        Step();
        while (at < text.size() && Current() != '"' && Current() != '\n') {
            if (Current() == '\\') Step();
            value += Current();
            Step();
        }
    }
    while (at < text.size() && Current() != ']' && Current() != '\n') Step();
    Step();
    if (name == "FEN") game.fen = value;
    else if (name == "Result") game.result = value;
    else if (name == "Termination") game.termination = value;
    else if (name == "White") game.white = value;
    else if (name == "Black") game.black = value;
    else if (name == "WhiteElo") game.white_elo = value;
    else if (name == "BlackElo") game.black_elo = value;
    else if (name == "Variant") game.variant = value;
}

std::string GameReader::ReadWord() {
    std::string word;
    while (at < text.size() && !std::isspace(static_cast<unsigned char>(Current()))
           && std::strchr("{};()[]$", Current()) == nullptr) {
        word += Current();
        Step();
    }
    // A promotion e8(Q), that is no variation.
    if (!word.empty() && IsIn(word.back(), "18") && text.size() - at > 2 && Current() == '('
        && IsIn(text[at + 1], "QRBN") && text[at + 2] == ')') {
        word += std::string("=") + text[at + 1];
        at += 3;
        word += ReadWord();  // check and judgement signs
    }
    return word;
}

bool GameReader::Next(ReadGame& game) {
    game = ReadGame{};
    game.fen = StartFen;
    bool in_tags = false, in_moves = false, has_event = false;
    const auto begin = [&] {
        if (!in_tags && !in_moves) game.line = line;
    };
    const auto fault = [&](const std::string& why, int where) {
        if (!game.error.empty()) return;
        game.error = why;
        game.error_line = where;
    };
    const auto start_moves = [&] {
        begin();
        if (in_moves) return;
        in_moves = true;
        SetFen(game.fen.c_str());
        if (!IsPlayable()) fault("the start position cannot be played", game.line);
        if (!IsChess(game.variant)) fault("no usual chess: " + Shown(game.variant), game.line);
    };

    std::string told;  // the result behind the moves
    int told_line = 0;
    while (at < text.size()) {
        const char c = Current();
        const bool line_start = at == 0 || text[at - 1] == '\n';
        if (c == '[') {
            // Without this the tags of a game without moves would go over to the one behind it.
            const bool event = AtGameStart();
            if (in_moves || (in_tags && ((event && has_event) || AfterEmptyLine()))) break;
            begin();
            in_tags = true;
            has_event |= event;
            ReadTag(game);
        } else if (c == '{') {
            const int where = line;
            if (!SkipUntil('}')) fault("a comment without end", where);
        } else if (c == ';' || (c == '%' && line_start)) {
            SkipUntil('\n');
        } else if (c == '(') {
            const int where = line;
            if (!SkipVariation()) fault("a variation without end", where);
        } else if (c == '$') {
            Step();
            ReadWord();
        } else if (std::isspace(static_cast<unsigned char>(c)) || std::strchr(")}]", c) != nullptr) {
            Step();
        } else {
            const int where = line;
            const size_t word_at = at;
            const std::string word = ReadWord();
            if (IsResult(word)) {
                start_moves();
                // One behind the other without moves between them: whose would the second be?
                if (!told.empty()) fault("two results: " + told + " and " + word, where);
                else told = word;
                told_line = where;
                continue;
            }
            const std::string san = WithoutNumber(word);
            if (san.empty() || IsRemark(san)) continue;
            if (!told.empty()) {
                at = word_at;  // the next game, without tags
                break;
            }
            start_moves();
            if (!game.error.empty()) continue;
            std::string why;
            const Move move = MoveOfWord(san, why);
            if (move == 0) fault(why, where);
            else if (!MakeGameMove(move)) fault("too many moves", where);
            else game.moves.push_back(move);
        }
    }
    if (!in_tags && !in_moves) return false;
    start_moves();
    if (!IsResult(game.result)) game.result = "*";
    for (std::string* result : {&game.result, &told})
        if (*result == "1/2") *result = "1/2-1/2";
    if (!told.empty() && told != "*") {
        if (game.result != "*" && game.result != told) fault("two results: " + game.result + " and " + told, told_line);
        game.result = told;
    }
    return true;
}
