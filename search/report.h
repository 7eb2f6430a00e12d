// report.h - the lines a search prints, in both dialects.
//
// Nothing is printed while output_suppressed is set.
#pragma once

#include "board/types.h"

enum class Bound { None, Upper, Lower };

// The UCI progress line or the xboard thinking line for the best line so far. k is the
// iteration (depth - 1 as users see it). Without `force` a UCI line needs 30001 nodes since
// the last one. An xboard line needs post mode and more than 100000 nodes.
void ReportProgress(int k, int score, Bound bound, bool force);
// The UCI progress line that names the root move being searched instead of a line.
void ReportCurrentMove(int k, int score);
// All MultiPV lines; `line` is the 0-based one being searched again and carries `bound`.
void ReportMultiPV(int k, int line, Bound bound);
// "info nps ... nodes ... tbhits ... hashfull ..."
void ReportNodesPerSecond();
void ResetReports();  // at the start of a search
// Nodes a second so far, 0 before the first centisecond has passed.
long long NodesPerSecond();
