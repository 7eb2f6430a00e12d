// book.h - the opening book: opening the file, looking a position up, choosing a move.
#pragma once

#include "board/types.h"

extern bool book_loaded;

// Opens the book, closing one already open. Prints what it finds: the node count, or one
// line that says why there is no book.
void open_book(const char* file_name);
void close_book();
// A move for the current position, 0 when the book has none. Built from the men on the
// board; the caller checks that it is legal.
Move book_move();
// The console's listing of the book moves here ("bkm").
void list_book_moves();
