// Drawing helpers over a device context, which is a cairo context here: multi-line
// text with alignment by sign and in-band colour tags, gradients, frames, bitmaps
// and blending, the scope guards that select and restore a font, pen, bitmap or
// text colour, and colour mixing. Text goes through pango; narrow text is UTF-8.
// The layout and tag rules are plain arithmetic over a measure and a text-out
// operation of the platform layer.
#pragma once

#include <cstdint>
#include <utility>

#include "linealgor.h"

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;
typedef struct _cairo_region cairo_region_t;

// Red in the low byte, green next, blue third; -1 (CLR_INVALID) is "no colour".
typedef uint32_t QDColor;
constexpr QDColor QDRGB(int r, int g, int b) {
    return static_cast<QDColor>(r & 0xFF) | static_cast<QDColor>(g & 0xFF) << 8 |
           static_cast<QDColor>(b & 0xFF) << 16;
}
constexpr QDColor kClrInvalid = 0xFFFFFFFF;

// A device context, a bitmap (a cairo image surface) and a region.
typedef cairo_t* QDDC;
typedef cairo_surface_t* QDBitmap;
typedef cairo_region_t* QDRegion;
// A font: a pango font description with the two flags pango keeps apart.
struct QDFontData;
typedef QDFontData* QDFont;
// A pen: its colour and width in pixels.
struct QDPenData {
    QDColor color;
    int width;
};
typedef const QDPenData* QDPen;

// Raster operations that the bitmap functions take.
constexpr uint32_t SRCCOPY = 0xCC0020;
constexpr uint32_t SRCAND = 0x8800C6;
constexpr uint32_t SRCPAINT = 0xEE0086;

// The colour tag "/<cr" + "%08X": 12 characters that set the text colour.
constexpr int sg_cr_tag_len = 4;
constexpr int sg_cr_value_len = 8;

// ---- device context state (what GDI keeps in a DC) ---------------------------

QDColor GetTextColor(QDDC dc);
QDColor SetTextColor(QDDC dc, QDColor color);  // the old colour
QDColor GetBkColor(QDDC dc);
QDColor SetBkColor(QDDC dc, QDColor color);
// Selects a font or pen into the context (null: the default); returns the old one.
QDFont SelectFont(QDDC dc, QDFont font);
QDPen SelectPen(QDDC dc, QDPen pen);
// Logical pixels per inch of the device: 96 for a bitmap, the resolution of a printer.
int GetDeviceDpi(QDDC dc);

// ---- colour, regions, devices ----------------------------------------------------

// Per channel (c1 * w1 + c2 * w2) / (w1 + w2); weights 0 and 0 count as 1 and 1.
QDColor MixColor(QDColor color1, int weight1, QDColor color2, int weight2);
bool IsRegionInside(QDRegion inner, QDRegion outer);
bool IsRegionBorderPoint(QDRegion region, QDPoint point, int distance);
// The part of the device that drawing can reach: its clip within its area.
bool GetVisibleRegion(QDDC dc, QDRegion region);
bool IsValidDC(QDDC dc);
bool IsValidRegion(QDRegion region);
// The screen's size, the size of "A" in the default font, its bits per pixel; each
// optional. False at once without a display.
bool GetDisplayMetrics(QDPoint* outSize, QDPoint* outCharSize, int* outBitsPerPixel);

// ---- text -------------------------------------------------------------------------

// Draws the text at (x, y), top left, switching colour at each tag; the context's
// colour is back at the end. A negative length means zero-terminated.
bool TextOutColored(QDDC dc, int x, int y, const char* text, int length = -1);
// One line placed in `rect` by the alignment numbers: 0 centred, positive the
// distance in from the right or bottom, negative the distance in from the left or top.
bool TextOutAligned(QDDC dc, const char* text, const QDRect& rect, int alignX, int alignY,
                    int length = -1, bool clip = false);
// Lines split at "\n" in `rect` (null: the device's area), aligned line by line.
bool DrawMultiLineText(QDDC dc, const char* text, int alignX, int alignY, const QDRect* rect,
                       int lineGap = 0, int length = -1, bool hasColorTags = false, int offsetX = 0,
                       int offsetY = 0, bool clip = false);
// Width of the widest line and (line height + lineGap) per line.
std::pair<int, int> MeasureMultiLineText(QDDC dc, const char* text, int lineGap = 0,
                                         int length = -1, bool hasColorTags = false);
bool IsPointOnText(QDDC dc, QDPoint point, const QDRect& rect, const char* text, int alignX,
                   int alignY, int lineGap = 0, int length = -1, int offsetX = 0, int offsetY = 0,
                   bool singleLine = false);
// One character per row, each `gap` below the last.
bool DrawVerticalText(QDDC dc, int x, int y, const char* text, int gap = 0);
std::pair<int, int> MeasureVerticalText(QDDC dc, const char* text, int gap = 0);

// ---- shapes -------------------------------------------------------------------------

// A line from (x1, y1) to (x2, y2), the last point left out, with the selected pen.
bool DrawLineTo(QDDC dc, int x1, int y1, int x2, int y2);
bool DrawFrame(QDDC dc, const QDRect& rect, QDPen pen);
bool FillGradient(QDDC dc, const QDRect* rect, QDColor topColor, QDColor bottomColor,
                  bool useLines = false);
bool DrawButtonRect(QDDC dc, const QDRect& rect, QDColor topColor, QDColor bottomColor,
                    bool sunken = false, bool useLines = false, bool lighten = true);
bool DrawEtchedLine(QDDC dc, int x, int y, int length, bool vertical, QDPen lightPen = nullptr,
                    QDPen darkPen = nullptr);
bool DrawEtchedRect(QDDC dc, const QDRect& rect);
QDColor SetPixelSafe(QDDC dc, int x, int y, QDColor color);
QDColor GetPixelColor(QDDC dc, int x, int y);
bool DrawDottedRect(QDDC dc, int x1, int y1, int x2, int y2, QDColor color, int gap = 1);

// ---- bitmaps ----------------------------------------------------------------------

QDBitmap CreateBitmap(int width, int height);
void DeleteBitmap(QDBitmap bitmap);
QDPoint GetBitmapSize(QDBitmap bitmap);
// Writes the bitmap as a PNG file.
bool SaveBitmapPng(QDBitmap bitmap, const char* fileName);
// -1 for `w` or `h`: the bitmap's own. Only SRCCOPY is drawn.
bool DrawBitmap(QDDC dc, QDBitmap bitmap, int x, int y, int sx = 0, int sy = 0, int w = -1,
                int h = -1, uint32_t rop = SRCCOPY);
bool TileBitmap(QDDC dc, QDBitmap bitmap, const QDRect& rect, const QDRect* sourceRect = nullptr,
                uint32_t rop = SRCCOPY);
// Stretches (sx, sy, sw, sh) to (x, y, w, h) blended with the constant `alpha`
// (0-255); -1 sizes mean the bitmap's own.
bool AlphaBitmap(QDDC dc, QDBitmap bitmap, int alpha, int x, int y, int w = -1, int h = -1,
                 int sx = 0, int sy = 0, int sw = -1, int sh = -1);
// Copies the screen (null: all of it) to `bitmap`, or to a new one; null on failure.
QDBitmap CaptureScreen(const QDRect* rect, QDBitmap bitmap = nullptr);

// ---- fonts -----------------------------------------------------------------------

// Heights as the platform's: negative the character (em) height, positive the cell
// height, 0 the default. Width is the average character width, 0 the default.
QDFont CreateSimpleFont(const char* name, int width, int height, bool bold = false,
                        bool italic = false, bool underline = false, bool strikeOut = false);
void DeleteFont(QDFont font);
const char* GetDefaultFontName();

// ---- scope guards ------------------------------------------------------------------

class AutoFont {
public:
    // Creates the font (owned) and selects it.
    AutoFont(QDDC dc, const char* name, int height, bool bold = false);
    // Selects a font of the caller's; `own` deletes it on release.
    AutoFont(QDDC dc, QDFont font, bool own = false);
    ~AutoFont() { Restore(); }
    AutoFont(const AutoFont&) = delete;
    AutoFont& operator=(const AutoFont&) = delete;
    void Restore();  // safe to call twice
    QDFont Font() const { return font_; }

private:
    QDDC dc_;
    QDFont font_;
    QDFont oldFont_ = nullptr;
    bool owner_;
    bool restored_ = false;
};

class AutoPen {
public:
    AutoPen(QDDC dc, QDColor color, int width = 1);
    ~AutoPen() { Restore(); }
    AutoPen(const AutoPen&) = delete;
    AutoPen& operator=(const AutoPen&) = delete;
    void Restore();  // safe to call twice

private:
    QDDC dc_;
    QDPenData penData_;
    QDPen pen_;
    QDPen oldPen_;
    bool restored_ = false;
};

// A context that draws into `bitmap`, as a memory DC with the bitmap selected.
class AutoBitmap {
public:
    explicit AutoBitmap(QDBitmap bitmap);
    ~AutoBitmap() { Restore(); }
    AutoBitmap(const AutoBitmap&) = delete;
    AutoBitmap& operator=(const AutoBitmap&) = delete;
    void Restore();  // safe to call twice
    QDDC Dc() const { return dc_; }
    QDBitmap Bitmap() const { return bmp_; }

private:
    QDDC dc_;
    QDBitmap bmp_;
    bool restored_ = false;
};

class AutoTextColor {
public:
    // -1 leaves the colour as it is.
    AutoTextColor(QDDC dc, QDColor color);
    ~AutoTextColor();
    AutoTextColor(const AutoTextColor&) = delete;
    AutoTextColor& operator=(const AutoTextColor&) = delete;

private:
    QDDC dc_;
    QDColor oldColor_;
};

// Monitors are declared in qddraw_monitor.h.
