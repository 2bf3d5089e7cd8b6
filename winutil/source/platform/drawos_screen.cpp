// The screen through Xlib: its size and depth, and XGetImage of the root window.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <cairo.h>

#include <cstdlib>

#include "drawos.h"

namespace drawos {

namespace {

// The default display, or null at once when there is none.
Display* OpenDisplay() {
    const char* name = getenv("DISPLAY");
    return name && *name ? XOpenDisplay(nullptr) : nullptr;
}

// 8 bits of a channel under `mask`.
uint32_t Channel(unsigned long pixel, unsigned long mask) {
    if (!mask) return 0;
    int shift = 0;
    while (!(mask >> shift & 1)) ++shift;
    const unsigned long max = mask >> shift;
    return static_cast<uint32_t>((pixel & mask) >> shift) * 255 / static_cast<uint32_t>(max);
}

}  // namespace

bool ScreenInfo(int* width, int* height, int* bitsPerPixel) {
    Display* d = OpenDisplay();
    if (!d) return false;
    const int screen = DefaultScreen(d);
    *width = DisplayWidth(d, screen);
    *height = DisplayHeight(d, screen);
    *bitsPerPixel = DefaultDepth(d, screen);
    int count = 0;
    if (XPixmapFormatValues* formats = XListPixmapFormats(d, &count)) {
        for (int i = 0; i < count; ++i)
            if (formats[i].depth == *bitsPerPixel) *bitsPerPixel = formats[i].bits_per_pixel;
        XFree(formats);
    }
    XCloseDisplay(d);
    return true;
}

bool CopyScreen(const QDRect& area, cairo_surface_t* bitmap) {
    Display* d = OpenDisplay();
    if (!d) return false;
    const int w = area.right - area.left, h = area.bottom - area.top;
    XImage* image =
        XGetImage(d, DefaultRootWindow(d), area.left, area.top, static_cast<unsigned>(w),
                  static_cast<unsigned>(h), AllPlanes, ZPixmap);
    if (image) {
        cairo_surface_flush(bitmap);
        unsigned char* data = cairo_image_surface_get_data(bitmap);
        const int stride = cairo_image_surface_get_stride(bitmap);
        for (int y = 0; y < h; ++y) {
            auto* row = reinterpret_cast<uint32_t*>(data + y * stride);
            for (int x = 0; x < w; ++x) {
                const unsigned long p = XGetPixel(image, x, y);
                row[x] = 0xFF000000u | Channel(p, image->red_mask) << 16 |
                         Channel(p, image->green_mask) << 8 | Channel(p, image->blue_mask);
            }
        }
        cairo_surface_mark_dirty(bitmap);
        XDestroyImage(image);
    }
    XCloseDisplay(d);
    return image != nullptr;
}

}  // namespace drawos
