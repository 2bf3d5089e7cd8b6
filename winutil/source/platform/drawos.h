// The drawing layer: what the drawing helpers need of a device context, done with
// cairo and pango, and the screen through Xlib. A device context is a cairo context;
// the GDI state it lacks (text and background colour, font, pen, resolution) rides
// on it as user data. Nothing outside this folder includes a cairo, pango or X
// header.
#pragma once

#include <cstdint>

#include "qddraw.h"

namespace drawos {

// ---- state carried by a context ----------------------------------------------

struct DcState {
    QDColor textColor = 0;       // black
    QDColor bkColor = 0xFFFFFF;  // white
    QDFont font = nullptr;       // null: the default font
    QDPen pen = nullptr;         // null: a black pen of width 1
    int dpi = 96;
};
// The state of `dc`, made on first use; null for a null or broken context.
DcState* State(cairo_t* dc);

// ---- fonts -----------------------------------------------------------------------

// `height` as the platform's: negative em, positive cell, 0 the default cell.
QDFont NewFont(const char* family, int height, int weight, bool italic, bool underline,
               bool strikeOut);
void FreeFont(QDFont font);
// Whether the system's language is Chinese (PRC): LC_ALL, LC_MESSAGES or LANG
// beginning with "zh_CN".
bool IsChineseSystemLocale();

// ---- text --------------------------------------------------------------------------

// Size of `length` bytes of UTF-8 in `font`: logical width and height.
bool TextExtent(cairo_t* dc, QDFont font, const char* text, int length, int* width, int* height);
// The text with its top left at (x, y) in `color`, without background.
bool TextOut(cairo_t* dc, QDFont font, QDColor color, int x, int y, const char* text, int length);

// ---- pixels and areas -----------------------------------------------------------------

bool FillRect(cairo_t* dc, int x, int y, int w, int h, QDColor color);
// The colour of a pixel of an image target; kClrInvalid elsewhere or outside.
QDColor GetPixel(cairo_t* dc, int x, int y);
// The visible part of the context in its own coordinates; false when nothing is.
bool ClipBox(cairo_t* dc, QDRect* box);
// The target's full area, in the context's coordinates.
bool DeviceArea(cairo_t* dc, QDRect* area);
// Narrows drawing to `rect` until PopClip.
void PushClip(cairo_t* dc, const QDRect& rect);
void PopClip(cairo_t* dc);
// Scales logical units to device ones: `logical` units become `device` units.
bool ScaleUnits(cairo_t* dc, int logicalX, int logicalY, int deviceX, int deviceY);

// ---- regions -----------------------------------------------------------------------

bool RegionEqual(cairo_region_t* a, cairo_region_t* b);
// A new region, the intersection of the two; null on failure.
cairo_region_t* RegionAnd(cairo_region_t* a, cairo_region_t* b);
void RegionFree(cairo_region_t* region);
bool RegionContains(cairo_region_t* region, int x, int y);
bool RegionValid(cairo_region_t* region);
// Replaces the region's content by the clip of `dc` within `area`.
bool RegionFromClip(cairo_t* dc, const QDRect& area, cairo_region_t* region);

// ---- bitmaps --------------------------------------------------------------------------

cairo_surface_t* NewBitmap(int width, int height);
void FreeBitmap(cairo_surface_t* bitmap);
// False for anything but a live image surface.
bool BitmapSize(cairo_surface_t* bitmap, int* width, int* height);
// Paints `src` of the bitmap onto `dst`, scaled; `alpha` 0-255 blends over what is
// there with the bitmap taken as opaque, -1 copies.
bool PaintBitmap(cairo_t* dc, cairo_surface_t* bitmap, const QDRect& dst, const QDRect& src,
                 int alpha);
// The pixels of an image bitmap for writing (0x00RRGGBB words) and the row stride
// in bytes; MarkDirty after writing.
uint32_t* BitmapPixels(cairo_surface_t* bitmap, int* stride);
void MarkDirty(cairo_surface_t* bitmap);
bool WritePng(cairo_surface_t* bitmap, const char* fileName);
cairo_t* NewContext(cairo_surface_t* bitmap);
void FreeContext(cairo_t* dc);

// ---- the screen ---------------------------------------------------------------------

// Size and bits per pixel of the default screen; false without a display.
bool ScreenInfo(int* width, int* height, int* bitsPerPixel);
// Copies `area` (within the screen) into `bitmap` at (0, 0).
bool CopyScreen(const QDRect& area, cairo_surface_t* bitmap);

}  // namespace drawos
