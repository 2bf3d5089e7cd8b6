// Device contexts on cairo, text on pango.
#include <pango/pangocairo.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "drawos.h"

struct QDFontData {
    PangoFontDescription* desc;
    bool underline;
    bool strikeOut;
};

namespace drawos {

namespace {

const cairo_user_data_key_t kStateKey{};

void SetSource(cairo_t* dc, QDColor c) {
    cairo_set_source_rgb(dc, (c & 0xFF) / 255.0, (c >> 8 & 0xFF) / 255.0, (c >> 16 & 0xFF) / 255.0);
}

// Line height (ascent + descent) of a description, in pixels.
double CellHeight(const PangoFontDescription* desc) {
    PangoContext* ctx = pango_font_map_create_context(pango_cairo_font_map_get_default());
    PangoFontMetrics* m = pango_context_get_metrics(ctx, desc, nullptr);
    const double h = (pango_font_metrics_get_ascent(m) + pango_font_metrics_get_descent(m)) /
                     static_cast<double>(PANGO_SCALE);
    pango_font_metrics_unref(m);
    g_object_unref(ctx);
    return h;
}

PangoLayout* Layout(cairo_t* dc, QDFont font, const char* text, int length) {
    PangoLayout* layout = pango_cairo_create_layout(dc);
    pango_layout_set_font_description(layout, font->desc);
    if (font->underline || font->strikeOut) {
        PangoAttrList* attrs = pango_attr_list_new();
        if (font->underline)
            pango_attr_list_insert(attrs, pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
        if (font->strikeOut) pango_attr_list_insert(attrs, pango_attr_strikethrough_new(TRUE));
        pango_layout_set_attributes(layout, attrs);
        pango_attr_list_unref(attrs);
    }
    pango_layout_set_text(layout, text, length);
    return layout;
}

bool Usable(cairo_t* dc) {
    return dc && cairo_status(dc) == CAIRO_STATUS_SUCCESS;
}

}  // namespace

DcState* State(cairo_t* dc) {
    if (!Usable(dc)) return nullptr;
    auto* state = static_cast<DcState*>(cairo_get_user_data(dc, &kStateKey));
    if (state) return state;
    state = new DcState;
    if (cairo_set_user_data(dc, &kStateKey, state, [](void* p) {
            delete static_cast<DcState*>(p);
        }) != CAIRO_STATUS_SUCCESS) {
        delete state;
        return nullptr;
    }
    return state;
}

QDFont NewFont(const char* family, int height, int weight, bool italic, bool underline,
               bool strikeOut) {
    PangoFontDescription* desc = pango_font_description_new();
    pango_font_description_set_family(desc, family);
    pango_font_description_set_weight(desc, static_cast<PangoWeight>(weight));
    pango_font_description_set_style(desc, italic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
    if (height < 0) {
        pango_font_description_set_absolute_size(desc, -height * PANGO_SCALE);
    } else {
        // A cell height: the em that gives this line height, measured once.
        const int cell = height ? height : 16;
        pango_font_description_set_absolute_size(desc, cell * PANGO_SCALE);
        const double measured = CellHeight(desc);
        if (measured > 0)
            pango_font_description_set_absolute_size(desc, cell * cell / measured * PANGO_SCALE);
    }
    return new QDFontData{desc, underline, strikeOut};
}

void FreeFont(QDFont font) {
    if (!font) return;
    pango_font_description_free(font->desc);
    delete font;
}

bool IsChineseSystemLocale() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* v = getenv(name);
        if (v && *v) return strncmp(v, "zh_CN", 5) == 0;
    }
    return false;
}

bool TextExtent(cairo_t* dc, QDFont font, const char* text, int length, int* width, int* height) {
    if (!Usable(dc) || !font) return false;
    PangoLayout* layout = Layout(dc, font, text, length);
    pango_layout_get_pixel_size(layout, width, height);
    g_object_unref(layout);
    return true;
}

bool TextOut(cairo_t* dc, QDFont font, QDColor color, int x, int y, const char* text, int length) {
    if (!Usable(dc) || !font) return false;
    PangoLayout* layout = Layout(dc, font, text, length);
    cairo_save(dc);
    SetSource(dc, color);
    cairo_move_to(dc, x, y);
    pango_cairo_show_layout(dc, layout);
    cairo_restore(dc);
    g_object_unref(layout);
    return cairo_status(dc) == CAIRO_STATUS_SUCCESS;
}

bool FillRect(cairo_t* dc, int x, int y, int w, int h, QDColor color) {
    if (!Usable(dc)) return false;
    cairo_save(dc);
    SetSource(dc, color);
    cairo_rectangle(dc, x, y, w, h);
    cairo_fill(dc);
    cairo_restore(dc);
    return cairo_status(dc) == CAIRO_STATUS_SUCCESS;
}

QDColor GetPixel(cairo_t* dc, int x, int y) {
    if (!Usable(dc)) return kClrInvalid;
    cairo_surface_t* s = cairo_get_target(dc);
    if (cairo_surface_get_type(s) != CAIRO_SURFACE_TYPE_IMAGE) return kClrInvalid;
    double dx = x + 0.5, dy = y + 0.5;
    cairo_user_to_device(dc, &dx, &dy);
    const int px = static_cast<int>(std::floor(dx)), py = static_cast<int>(std::floor(dy));
    if (px < 0 || py < 0 || px >= cairo_image_surface_get_width(s) ||
        py >= cairo_image_surface_get_height(s))
        return kClrInvalid;
    cairo_surface_flush(s);
    const unsigned char* row =
        cairo_image_surface_get_data(s) + py * cairo_image_surface_get_stride(s);
    const uint32_t v = reinterpret_cast<const uint32_t*>(row)[px];
    return QDRGB(v >> 16 & 0xFF, v >> 8 & 0xFF, v & 0xFF);
}

bool ClipBox(cairo_t* dc, QDRect* box) {
    if (!Usable(dc)) return false;
    double x1, y1, x2, y2;
    cairo_clip_extents(dc, &x1, &y1, &x2, &y2);
    *box = {static_cast<int>(std::floor(x1)), static_cast<int>(std::floor(y1)),
            static_cast<int>(std::ceil(x2)), static_cast<int>(std::ceil(y2))};
    return !IsRectEmpty(*box);
}

bool DeviceArea(cairo_t* dc, QDRect* area) {
    if (!Usable(dc)) return false;
    cairo_save(dc);
    cairo_reset_clip(dc);
    const bool any = ClipBox(dc, area);
    cairo_restore(dc);
    return any;
}

void PushClip(cairo_t* dc, const QDRect& rect) {
    cairo_save(dc);
    cairo_rectangle(dc, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top);
    cairo_clip(dc);
}

void PopClip(cairo_t* dc) {
    cairo_restore(dc);
}

bool ScaleUnits(cairo_t* dc, int logicalX, int logicalY, int deviceX, int deviceY) {
    if (!Usable(dc) || logicalX <= 0 || logicalY <= 0 || deviceX <= 0 || deviceY <= 0) return false;
    cairo_scale(dc, static_cast<double>(deviceX) / logicalX,
                static_cast<double>(deviceY) / logicalY);
    return cairo_status(dc) == CAIRO_STATUS_SUCCESS;
}

bool RegionEqual(cairo_region_t* a, cairo_region_t* b) {
    return cairo_region_equal(a, b);
}

cairo_region_t* RegionAnd(cairo_region_t* a, cairo_region_t* b) {
    cairo_region_t* r = cairo_region_copy(a);
    if (cairo_region_intersect(r, b) != CAIRO_STATUS_SUCCESS) {
        cairo_region_destroy(r);
        return nullptr;
    }
    return r;
}

void RegionFree(cairo_region_t* region) {
    cairo_region_destroy(region);
}

bool RegionContains(cairo_region_t* region, int x, int y) {
    return cairo_region_contains_point(region, x, y);
}

bool RegionValid(cairo_region_t* region) {
    return region && cairo_region_status(region) == CAIRO_STATUS_SUCCESS;
}

bool RegionFromClip(cairo_t* dc, const QDRect& area, cairo_region_t* region) {
    cairo_rectangle_list_t* list = cairo_copy_clip_rectangle_list(dc);
    const bool ok = list->status == CAIRO_STATUS_SUCCESS;
    cairo_region_subtract(region, region);
    if (ok) {
        for (int i = 0; i < list->num_rectangles; ++i) {
            const cairo_rectangle_t& r = list->rectangles[i];
            const cairo_rectangle_int_t ri{
                static_cast<int>(std::floor(r.x)), static_cast<int>(std::floor(r.y)),
                static_cast<int>(std::ceil(r.x + r.width) - std::floor(r.x)),
                static_cast<int>(std::ceil(r.y + r.height) - std::floor(r.y))};
            cairo_region_union_rectangle(region, &ri);
        }
        const cairo_rectangle_int_t a{area.left, area.top, area.right - area.left,
                                      area.bottom - area.top};
        cairo_region_intersect_rectangle(region, &a);
    }
    cairo_rectangle_list_destroy(list);
    return ok;
}

cairo_surface_t* NewBitmap(int width, int height) {
    cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    if (cairo_surface_status(s) == CAIRO_STATUS_SUCCESS) return s;
    cairo_surface_destroy(s);
    return nullptr;
}

void FreeBitmap(cairo_surface_t* bitmap) {
    cairo_surface_destroy(bitmap);
}

bool BitmapSize(cairo_surface_t* bitmap, int* width, int* height) {
    if (!bitmap || cairo_surface_status(bitmap) != CAIRO_STATUS_SUCCESS ||
        cairo_surface_get_type(bitmap) != CAIRO_SURFACE_TYPE_IMAGE)
        return false;
    *width = cairo_image_surface_get_width(bitmap);
    *height = cairo_image_surface_get_height(bitmap);
    return true;
}

bool PaintBitmap(cairo_t* dc, cairo_surface_t* bitmap, const QDRect& dst, const QDRect& src,
                 int alpha) {
    if (!Usable(dc)) return false;
    cairo_surface_t* source = cairo_surface_reference(bitmap);
    if (alpha >= 0 && cairo_image_surface_get_format(bitmap) == CAIRO_FORMAT_ARGB32) {
        // A constant blend takes the bitmap as opaque: the same pixels read as RGB24.
        cairo_surface_flush(bitmap);
        cairo_surface_destroy(source);
        source = cairo_image_surface_create_for_data(
            cairo_image_surface_get_data(bitmap), CAIRO_FORMAT_RGB24,
            cairo_image_surface_get_width(bitmap), cairo_image_surface_get_height(bitmap),
            cairo_image_surface_get_stride(bitmap));
    }
    cairo_save(dc);
    cairo_rectangle(dc, dst.left, dst.top, dst.right - dst.left, dst.bottom - dst.top);
    cairo_clip(dc);
    cairo_translate(dc, dst.left, dst.top);
    cairo_scale(dc, static_cast<double>(dst.right - dst.left) / (src.right - src.left),
                static_cast<double>(dst.bottom - dst.top) / (src.bottom - src.top));
    cairo_set_source_surface(dc, source, -src.left, -src.top);
    cairo_pattern_set_filter(cairo_get_source(dc), CAIRO_FILTER_NEAREST);
    if (alpha < 0) {
        cairo_set_operator(dc, CAIRO_OPERATOR_SOURCE);
        cairo_paint(dc);
    } else {
        cairo_paint_with_alpha(dc, alpha / 255.0);
    }
    cairo_restore(dc);
    cairo_surface_destroy(source);
    return cairo_status(dc) == CAIRO_STATUS_SUCCESS;
}

uint32_t* BitmapPixels(cairo_surface_t* bitmap, int* stride) {
    cairo_surface_flush(bitmap);
    *stride = cairo_image_surface_get_stride(bitmap);
    return reinterpret_cast<uint32_t*>(cairo_image_surface_get_data(bitmap));
}

bool WritePng(cairo_surface_t* bitmap, const char* fileName) {
    return cairo_surface_write_to_png(bitmap, fileName) == CAIRO_STATUS_SUCCESS;
}

void MarkDirty(cairo_surface_t* bitmap) {
    cairo_surface_mark_dirty(bitmap);
}

cairo_t* NewContext(cairo_surface_t* bitmap) {
    cairo_t* dc = cairo_create(bitmap);
    if (cairo_status(dc) == CAIRO_STATUS_SUCCESS) return dc;
    cairo_destroy(dc);
    return nullptr;
}

void FreeContext(cairo_t* dc) {
    cairo_destroy(dc);
}

}  // namespace drawos
