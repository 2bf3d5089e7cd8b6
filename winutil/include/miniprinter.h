// CMiniPrinter prints one page with as little code as possible: it finds a printer,
// opens a document of one page, and lets a subclass set the page up and paint it.
// The printer is CUPS's default destination, one the application names, or the
// user's choice in a print dialog; the page is a PDF page whose device units are
// the printer's dots.
#pragma once

#include "dib.h"
#include "qddraw.h"

// The destination of later print jobs: null or "" for CUPS's default. With
// `askUser`, a program that has a display shows GTK's print dialog instead, which
// starts at the printers CUPS knows; without a display the destination stands.
void SetMiniPrinterDestination(const char* name, bool askUser = false);

class CMiniPrinter {
public:
    virtual ~CMiniPrinter() = default;
    // 0 on cancel or failure, else the set-up's result.
    int Print();

protected:
    // The page set-up: true to go on.
    virtual bool SetupPage(QDDC dc) = 0;
    virtual void PaintPage(QDDC dc) = 0;
    // Maps a source at 96 pixels per inch to the page, so that the printed size
    // equals the size on a 96-dpi screen.
    bool SetupScale(QDDC dc, int width, int height);
};

int PrintBitmap(QDBitmap bitmap, int x, int y);
int PrintDib(const CDib& dib, int x, int y);
