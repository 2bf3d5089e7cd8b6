// Printing through CUPS: the destination, a PDF page to draw on, and the job.
#pragma once

#include "qddraw.h"

namespace printos {

struct Destination {
    char name[256];
    int dpi;         // the destination's default resolution, 600 when it states none
    double widthPt;  // the default media, A4 when it states none
    double heightPt;
};

// GTK's print dialog: 1 with the chosen printer's name, 0 when cancelled, -1 when
// there is no display to show it on.
int ChoosePrinter(char* name, int capacity);
// The named destination, or the default one for null or ""; false when CUPS knows
// none or cannot be reached.
bool FindDestination(const char* name, Destination* out);
// A context on a one-page PDF in a temporary file (its path into `file`), scaled
// so that a unit is one of the destination's dots; null on failure.
QDDC OpenPage(const Destination& dest, char* file, int capacity);
// Ends the page and sends the file as a job titled `title`; the file is removed.
bool SendPage(QDDC dc, const Destination& dest, const char* file, const char* title);
// Drops the page without sending it.
void DiscardPage(QDDC dc, const char* file);

}  // namespace printos
