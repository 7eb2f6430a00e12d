// help.cpp - the list of commands, in two pages.
#include "board/console.h"
#include "driver/commands.h"
#include "driver/input.h"

static const char* const first_page[] = {
    "analyze ................... Enters analyze mode",
    "black ..................... Sets black to move and engine side to white",
    "brd ....................... Prints a board",
    "bkm ....................... Prints book moves for current position",
    "easy ...................... Toggles pondering off",
    "edit ...................... Edit board position",
    "egtbstat .................. Displays current EGTB status",
    "epdevl <f> ................ Produces static evaluations for EPD-file <f>",
    "evl ....................... Shows static evaluation for current position",
    "force ..................... Toggles autoplay off",
    "go ........................ Starts search",
    "hard ...................... Toggles pondering on",
    "help ...................... Displays this help",
    "level <m> <t> <i> ......... Sets ICS time controls",
    "loadfen <e> ............... Sets FEN-position <e>",
    "moves ..................... Displays all legal moves with ranking priorities",
    "mvd ....................... Shows position flags",
    "new ....................... Starts a new game",
    "nopost .................... Toggles silent mode on",
};
static const char* const second_page[] = {
    "perft <d> ................. Tests the move generator/make_move with depth <d>",
    "post ...................... Toggles silent mode off",
    "q[uit] .................... Exits Corvantis",
    "remove .................... Un-makes last moves of each side",
    "sd <d> .................... Sets max search depth to <d>",
    "st <t> .................... Sets max search time to <t>",
    "time <t> .................. Sets remaining game time in milliseconds to <t>",
    "uci ....................... UCI mode",
    "undo ...................... Un-makes last move of one side",
    "white ..................... Sets white to move and engine side to black",
};

void PrintHelp() {
    Print(
        "Corvantis commands:\n"
        "------------------------------------------------------------------------------\n");
    for (const char* line : first_page) Print("%s\n", line);
    Print("\nPress <enter> to continue....");
    Flush();
    WaitForLine();  // ends at the end of input too
    Print("\n");
    for (const char* line : second_page) Print("%s\n", line);
    Flush();
}
