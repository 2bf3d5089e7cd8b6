// The one-page printer: choose a destination, open a page, set it up, paint it, and
// send it as the job "Mini printer".
#include "miniprinter.h"

#include <cstdio>

#include "platform/drawos.h"
#include "platform/printos.h"
#include "qdr/qdassert.h"

namespace {

char g_destination[256];
bool g_askUser;

}  // namespace

void SetMiniPrinterDestination(const char* name, bool askUser) {
    snprintf(g_destination, sizeof(g_destination), "%s", name ? name : "");
    g_askUser = askUser;
}

int CMiniPrinter::Print() {
    // The printer dialog's part: a cancelled dialog, or no destination, gives 0.
    char chosen[256];
    const char* name = g_destination;
    if (g_askUser) {
        const int answer = printos::ChoosePrinter(chosen, sizeof(chosen));
        if (answer == 0) return 0;
        if (answer > 0) name = chosen;
    }
    printos::Destination dest;
    if (!printos::FindDestination(name, &dest)) return 0;
    char file[512];
    QDDC dc = printos::OpenPage(dest, file, sizeof(file));
    QDR_CHECK_OR_RETURN(dc != nullptr, 0);
    if (!SetupPage(dc)) {
        printos::DiscardPage(dc, file);
        return 0;
    }
    PaintPage(dc);
    printos::SendPage(dc, dest, file, "Mini printer");  // its result is not looked at
    return 1;
}

bool CMiniPrinter::SetupScale(QDDC dc, int width, int height) {
    QDR_CHECK_OR_RETURN(dc != nullptr && width > 0 && height > 0, false);
    const int dpi = GetDeviceDpi(dc);
    return dpi > 0 && drawos::ScaleUnits(dc, width, height, width * dpi / 96, height * dpi / 96);
}

int PrintBitmap(QDBitmap bitmap, int x, int y) {
    if (!bitmap) return 0;
    class CPrintBmp : public CMiniPrinter {
    public:
        CPrintBmp(QDBitmap b, int px, int py) : bitmap_(b), x_(px), y_(py) {}

    private:
        bool SetupPage(QDDC dc) override {
            const QDPoint size = GetBitmapSize(bitmap_);
            return size.x > 0 && SetupScale(dc, size.x, size.y);
        }
        void PaintPage(QDDC dc) override { DrawBitmap(dc, bitmap_, x_, y_, 0, 0, -1, -1, SRCCOPY); }
        QDBitmap bitmap_;
        int x_, y_;
    } printer(bitmap, x, y);
    return printer.Print();
}

int PrintDib(const CDib& dib, int x, int y) {
    if (!dib.IsValid()) return 0;
    class CPrintDib : public CMiniPrinter {
    public:
        CPrintDib(const CDib& d, int px, int py) : dib_(d), x_(px), y_(py) {}

    private:
        bool SetupPage(QDDC dc) override { return SetupScale(dc, dib_.Width(), dib_.Height()); }
        void PaintPage(QDDC dc) override { dib_.Paint(dc, x_, y_, -1, -1, 0, 0, -1, -1, SRCCOPY); }
        const CDib& dib_;
        int x_, y_;
    } printer(dib, x, y);
    return printer.Print();
}
