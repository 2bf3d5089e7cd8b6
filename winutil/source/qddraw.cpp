// Drawing helpers: the text layout, the colour tag and the shapes, over the
// measure, text-out, fill and clip operations of the drawing layer.
#include "qddraw.h"

#include <cstdio>
#include <cstring>

#include "platform/drawos.h"
#include "qdglib.h"
#include "qdr/qdassert.h"
#include "smartbuf.h"

namespace {

constexpr char kTag[] = "/<cr";
constexpr int kTagChars = sg_cr_tag_len + sg_cr_value_len;
// COLOR_3DHIGHLIGHT and COLOR_3DSHADOW of the platform's standard scheme.
constexpr QDPenData kHighlightPen{0xFFFFFF, 1};
constexpr QDPenData kShadowPen{0xA0A0A0, 1};
constexpr QDPenData kBlackPen{0, 1};

QDFont DefaultFont() {
    static const QDFont font = drawos::NewFont(GetDefaultFontName(), 0, 400, false, false, false);
    return font;
}

QDFont CurrentFont(QDDC dc) {
    drawos::DcState* s = drawos::State(dc);
    return s && s->font ? s->font : DefaultFont();
}

// GetTextExtentPoint32A: a failure inside measuring breaks a precondition.
bool Extent(QDDC dc, const char* text, int length, int* width, int* height) {
    int h = 0;
    const bool ok =
        drawos::TextExtent(dc, CurrentFont(dc), text, length, width, height ? height : &h);
    QDR_CHECK(ok);
    return ok;
}

int LineHeight(QDDC dc) {
    int w = 0, h = 0;
    return Extent(dc, "A", 1, &w, &h) ? h : 0;
}

bool TextOutA(QDDC dc, int x, int y, const char* text, int length) {
    drawos::DcState* s = drawos::State(dc);
    return s && drawos::TextOut(dc, CurrentFont(dc), s->textColor, x, y, text, length);
}

bool IsTagAt(const char* p, const char* end) {
    return end - p >= 5 && memcmp(p, kTag, sg_cr_tag_len) == 0;
}

// The first "/<cr" in [from, end), or end.
const char* FindTag(const char* from, const char* end) {
    for (; end - from >= sg_cr_tag_len; ++from)
        if (memcmp(from, kTag, sg_cr_tag_len) == 0) return from;
    return end;
}

// The text with every complete tag taken out; the number of tags.
int StripTags(const char* text, int length, SmartBuf<char, 512>& out) {
    out.Resize(length + 1);
    const char* end = text + length;
    int n = 0, tags = 0;
    for (const char* p = text; p < end;) {
        if (IsTagAt(p, end) && end - p >= kTagChars) {
            p += kTagChars;
            ++tags;
        } else {
            out[n++] = *p++;
        }
    }
    out[n] = 0;
    return tags;
}

int Align(int alignment, int lo, int hi, int size) {
    if (alignment == 0) return (lo + hi - size) / 2;
    return alignment > 0 ? hi - size - alignment : lo - alignment;
}

// The next line of [p, end): its length without a CR before the "\n"; `next` is
// the start of the line after it.
int NextLine(const char* p, const char* end, const char** next) {
    const char* nl = static_cast<const char*>(memchr(p, '\n', static_cast<size_t>(end - p)));
    if (!nl) {
        *next = end;
        return static_cast<int>(end - p);
    }
    *next = nl + 1;
    return static_cast<int>(nl - p) - (nl > p && nl[-1] == '\r');
}

int CountLines(const char* text, int length) {
    int lines = 1;
    for (int i = 0; i < length; ++i) lines += text[i] == '\n';
    return lines;
}

int Clamp255(int v) {
    return v < 0 ? 0 : v > 255 ? 255 : v;
}

QDColor AddToChannels(QDColor c, int delta) {
    return QDRGB(Clamp255(static_cast<int>(c & 0xFF) + delta),
                 Clamp255(static_cast<int>(c >> 8 & 0xFF) + delta),
                 Clamp255(static_cast<int>(c >> 16 & 0xFF) + delta));
}

// Bytes of the UTF-8 character that starts with `lead`; 0 for a byte that starts none.
int Utf8Length(unsigned char lead) {
    return lead < 0x80                   ? 1
           : lead >= 0xC2 && lead < 0xE0 ? 2
           : lead >= 0xE0 && lead < 0xF0 ? 3
           : lead >= 0xF0 && lead < 0xF5 ? 4
                                         : 0;
}

}  // namespace

// ---- device context state ------------------------------------------------------

namespace {

// A field of the context's state: read, or replaced and its old value returned.
template <class T>
T ReadState(QDDC dc, T drawos::DcState::*field, T failure) {
    drawos::DcState* s = drawos::State(dc);
    QDR_CHECK_OR_RETURN(s != nullptr, failure);
    return s->*field;
}

template <class T>
T ReplaceState(QDDC dc, T drawos::DcState::*field, T value, T failure) {
    drawos::DcState* s = drawos::State(dc);
    QDR_CHECK_OR_RETURN(s != nullptr, failure);
    const T old = s->*field;
    s->*field = value;
    return old;
}

}  // namespace

QDColor GetTextColor(QDDC dc) {
    return ReadState(dc, &drawos::DcState::textColor, kClrInvalid);
}

QDColor SetTextColor(QDDC dc, QDColor color) {
    return ReplaceState(dc, &drawos::DcState::textColor, color, kClrInvalid);
}

QDColor GetBkColor(QDDC dc) {
    return ReadState(dc, &drawos::DcState::bkColor, kClrInvalid);
}

QDColor SetBkColor(QDDC dc, QDColor color) {
    return ReplaceState(dc, &drawos::DcState::bkColor, color, kClrInvalid);
}

QDFont SelectFont(QDDC dc, QDFont font) {
    return ReplaceState<QDFont>(dc, &drawos::DcState::font, font, nullptr);
}

QDPen SelectPen(QDDC dc, QDPen pen) {
    return ReplaceState<QDPen>(dc, &drawos::DcState::pen, pen, nullptr);
}

int GetDeviceDpi(QDDC dc) {
    return ReadState(dc, &drawos::DcState::dpi, 0);
}

// ---- colour, regions, devices ----------------------------------------------------------

QDColor MixColor(QDColor color1, int weight1, QDColor color2, int weight2) {
    QDR_CHECK_OR_RETURN(weight1 >= 0 && weight2 >= 0, kClrInvalid);
    if (weight1 == 0 && weight2 == 0) weight1 = weight2 = 1;
    QDColor out = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        const int64_t c1 = color1 >> shift & 0xFF, c2 = color2 >> shift & 0xFF;
        out |= static_cast<QDColor>((c1 * weight1 + c2 * weight2) / (int64_t{weight1} + weight2))
               << shift;
    }
    return out;
}

bool IsRegionInside(QDRegion inner, QDRegion outer) {
    QDR_CHECK_OR_RETURN(IsValidRegion(inner) && IsValidRegion(outer), false);
    QDRegion both = drawos::RegionAnd(inner, outer);
    const bool inside = both && drawos::RegionEqual(both, inner);
    drawos::RegionFree(both);
    return inside;
}

bool IsRegionBorderPoint(QDRegion region, QDPoint point, int distance) {
    QDR_CHECK_OR_RETURN(IsValidRegion(region) && distance >= 1, false);
    if (!drawos::RegionContains(region, point.x, point.y)) return false;
    for (int dy = -distance; dy <= distance; dy += distance)
        for (int dx = -distance; dx <= distance; dx += distance)
            if ((dx || dy) && !drawos::RegionContains(region, point.x + dx, point.y + dy))
                return true;
    return false;
}

bool GetVisibleRegion(QDDC dc, QDRegion region) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && IsValidRegion(region), false);
    QDRect area;
    if (!drawos::DeviceArea(dc, &area)) area = {0, 0, 0, 0};
    return drawos::RegionFromClip(dc, area, region);
}

bool IsValidDC(QDDC dc) {
    return drawos::State(dc) != nullptr;
}

bool IsValidRegion(QDRegion region) {
    return drawos::RegionValid(region);
}

bool GetDisplayMetrics(QDPoint* outSize, QDPoint* outCharSize, int* outBitsPerPixel) {
    int w, h, bits;
    if (!drawos::ScreenInfo(&w, &h, &bits)) return false;
    if (outSize) *outSize = {w, h};
    if (outBitsPerPixel) *outBitsPerPixel = bits;
    if (outCharSize) {
        QDBitmap probe = CreateBitmap(1, 1);
        AutoBitmap dc(probe);
        *outCharSize = {0, 0};
        Extent(dc.Dc(), "A", 1, &outCharSize->x, &outCharSize->y);
        dc.Restore();
        DeleteBitmap(probe);
    }
    return true;
}

// ---- text ---------------------------------------------------------------------------

bool TextOutColored(QDDC dc, int x, int y, const char* text, int length) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && text != nullptr, false);
    if (length < 0) length = static_cast<int>(strlen(text));
    AutoTextColor restore(dc, kClrInvalid);
    const char* end = text + length;
    for (const char* p = text; p < end;) {
        if (IsTagAt(p, end)) {
            QDR_CHECK_OR_RETURN(end - p >= kTagChars, false);
            char digits[sg_cr_value_len + 1];
            memcpy(digits, p + sg_cr_tag_len, sg_cr_value_len);
            digits[sg_cr_value_len] = 0;
            unsigned value;
            if (sscanf(digits, "%08X", &value) != 1) return false;
            SetTextColor(dc, value);
            p += kTagChars;
            continue;
        }
        const char* next = FindTag(p + 1, end);
        const int n = static_cast<int>(next - p);
        int width = 0;
        if (!TextOutA(dc, x, y, p, n) || !Extent(dc, p, n, &width, nullptr)) return false;
        x += width;
        p = next;
    }
    return true;
}

bool TextOutAligned(QDDC dc, const char* text, const QDRect& rect, int alignX, int alignY,
                    int length, bool clip) {
    if (IsRectEmpty(rect)) return true;
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && text != nullptr, false);
    if (length < 0) length = static_cast<int>(strlen(text));
    int w = 0, h = 0;
    if (!Extent(dc, text, length, &w, &h)) return false;
    if (clip) drawos::PushClip(dc, rect);
    // Centring here halves the free room, which rounds apart from the multi-line form.
    auto place = [](int alignment, int lo, int hi, int size) {
        return alignment ? Align(alignment, lo, hi, size) : (hi - lo - size) / 2 + lo;
    };
    const bool ok = TextOutA(dc, place(alignX, rect.left, rect.right, w),
                             place(alignY, rect.top, rect.bottom, h), text, length);
    if (clip) drawos::PopClip(dc);
    return ok;
}

bool DrawMultiLineText(QDDC dc, const char* text, int alignX, int alignY, const QDRect* rect,
                       int lineGap, int length, bool hasColorTags, int offsetX, int offsetY,
                       bool clip) {
    if ((length < 0 && !text) || length == 0) return true;
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && text != nullptr, false);
    if (length < 0) length = static_cast<int>(strlen(text));
    QDRect area;
    if (rect) {
        area = *rect;
    } else if (!drawos::DeviceArea(dc, &area)) {
        return true;
    }
    if (IsRectEmpty(area)) return true;
    if (clip) drawos::PushClip(dc, area);
    const int lineHeight = LineHeight(dc), lines = CountLines(text, length);
    const int textHeight = (lineHeight + lineGap) * lines - lineGap;
    int y = Align(alignY, area.top, area.bottom, textHeight);
    bool ok = true;
    const char* end = text + length;
    const char* p = text;
    for (int line = 0; ok && line < lines; ++line) {
        const char* next = end;
        const int n = p < end ? NextLine(p, end, &next) : 0;
        if (y + offsetY < area.bottom && y + lineHeight + offsetY > area.top) {
            int width = 0;
            if (hasColorTags) {
                SmartBuf<char, 512> plain(0);
                const int tags = StripTags(p, n, plain);
                Extent(dc, plain.Get(), n - kTagChars * tags, &width, nullptr);
            } else {
                Extent(dc, p, n, &width, nullptr);
            }
            const int x = n ? Align(alignX, area.left, area.right, width) : area.left - alignX;
            ok = hasColorTags ? TextOutColored(dc, x + offsetX, y + offsetY, p, n)
                              : TextOutA(dc, x + offsetX, y + offsetY, p, n);
        }
        y += lineHeight + lineGap;
        p = next;
    }
    if (clip) drawos::PopClip(dc);
    return ok;
}

std::pair<int, int> MeasureMultiLineText(QDDC dc, const char* text, int lineGap, int length,
                                         bool hasColorTags) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && text != nullptr, std::make_pair(0, 0));
    if (length < 0) length = static_cast<int>(strlen(text));
    SmartBuf<char, 512> plain(0);
    if (hasColorTags) {
        length -= kTagChars * StripTags(text, length, plain);
        text = plain.Get();
    }
    const int lineHeight = LineHeight(dc);
    const int lines = CountLines(text, length);
    int widest = 0, longest = -1;
    const char* end = text + length;
    const char* p = text;
    for (int line = 0; line < lines; ++line) {
        const char* next = end;
        const int n = p < end ? NextLine(p, end, &next) : 0;
        // Only a line longer in characters can be wider: a shortcut of the measure.
        if (n > longest) {
            int w = 0;
            Extent(dc, p, n, &w, nullptr);
            if (w > widest) widest = w;
            longest = n;
        }
        p = next;
    }
    return {widest, (lineHeight + lineGap) * lines};
}

bool IsPointOnText(QDDC dc, QDPoint point, const QDRect& rect, const char* text, int alignX,
                   int alignY, int lineGap, int length, int offsetX, int offsetY, bool singleLine) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && text != nullptr, false);
    if (!PtInRect(rect, point)) return false;
    if (length < 0) length = static_cast<int>(strlen(text));
    const int lines = singleLine ? 1 : CountLines(text, length);
    const int pitch = LineHeight(dc) + lineGap;
    const int top = Align(alignY, rect.top, rect.bottom, pitch * lines - lineGap);
    if (point.y < top || point.y >= top + pitch * lines - lineGap) return false;
    int index = (point.y - top) / pitch;
    if (index >= lines) index = lines - 1;
    // Find that line; CR and LF come off its end.
    const char* end = text + length;
    const char* p = text;
    int n = length;
    for (int i = 0; !singleLine && i <= index; ++i) {
        const char* next = end;
        n = p < end ? NextLine(p, end, &next) : 0;
        if (i < index) p = next;
    }
    while (n > 0 && (p[n - 1] == '\r' || p[n - 1] == '\n')) --n;
    if (n == 0) return false;
    int width = 0;
    if (!Extent(dc, p, n, &width, nullptr)) return false;
    const int x = Align(alignX, rect.left, rect.right, width) + offsetX;
    const int y = top + index * pitch + offsetY;
    return PtInRect({x, y, x + width, y + pitch}, point);
}

bool DrawVerticalText(QDDC dc, int x, int y, const char* text, int gap) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && text != nullptr, false);
    int w = 0, h = 0;
    if (!Extent(dc, "字", -1, &w, &h)) return false;
    for (const char* p = text; *p;) {
        const int n = Utf8Length(static_cast<unsigned char>(*p));
        QDR_CHECK_OR_RETURN(n > 0 && strnlen(p, 4) >= static_cast<size_t>(n), false);
        if (!TextOutA(dc, x, y, p, n)) return false;
        y += h + gap;
        p += n;
    }
    return true;
}

std::pair<int, int> MeasureVerticalText(QDDC dc, const char* text, int gap) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && text != nullptr, std::make_pair(0, 0));
    int w = 0, h = 0, count = 0;
    Extent(dc, "字", -1, &w, &h);
    for (const char* p = text; *p; ++p) count += (static_cast<unsigned char>(*p) & 0xC0) != 0x80;
    return {w, count >= 2 ? h * count + (count - 1) * gap : h * count};
}

// ---- shapes -------------------------------------------------------------------------------

bool DrawLineTo(QDDC dc, int x1, int y1, int x2, int y2) {
    drawos::DcState* s = drawos::State(dc);
    QDR_CHECK_OR_RETURN(s != nullptr, false);
    const QDPen pen = s->pen ? s->pen : &kBlackPen;
    const int w = pen->width > 0 ? pen->width : 1;
    if (x1 == x2 || y1 == y2) {  // one rectangle for a straight line: a to b, b left out
        const bool across = y1 == y2;
        const int a = across ? x1 : y1, b = across ? x2 : y2;
        const int lo = a < b ? a : b + 1, len = a < b ? b - a : a - b;
        if (len == 0) return true;
        return across ? drawos::FillRect(dc, lo - w / 2, y1 - w / 2, len + w - 1, w, pen->color)
                      : drawos::FillRect(dc, x1 - w / 2, lo - w / 2, w, len + w - 1, pen->color);
    }
    LineStep step(x1, y1, x2, y2);
    int x, y;
    step.Next(x, y);  // the first point comes twice
    for (int64_t left = step.Count() - 2; left > 0 && step.Next(x, y); --left)
        if (!drawos::FillRect(dc, x - w / 2, y - w / 2, w, w, pen->color)) return false;
    return true;
}

bool DrawFrame(QDDC dc, const QDRect& rect, QDPen pen) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc), false);
    const QDPen old = pen ? SelectPen(dc, pen) : nullptr;
    bool ok;
    if (rect.right - rect.left == 1 && rect.bottom - rect.top == 1) {
        ok = DrawLineTo(dc, rect.left, rect.top, rect.right, rect.bottom);
    } else {
        const int r = rect.right - 1, b = rect.bottom - 1;
        ok = DrawLineTo(dc, rect.left, rect.top, r, rect.top) &&
             DrawLineTo(dc, r, rect.top, r, b) && DrawLineTo(dc, r, b, rect.left, b) &&
             DrawLineTo(dc, rect.left, b, rect.left, rect.top);
    }
    if (pen) SelectPen(dc, old);
    return ok;
}

bool FillGradient(QDDC dc, const QDRect* rect, QDColor topColor, QDColor bottomColor,
                  bool useLines) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc), false);
    QDRect clip;
    if (!rect || IsRectEmpty(*rect) || !drawos::ClipBox(dc, &clip)) return false;
    const int height = rect->bottom - rect->top;
    if (topColor != bottomColor && height != 1) {
        const QDRect a{rect->left > clip.left ? rect->left : clip.left,
                       rect->top > clip.top ? rect->top : clip.top,
                       rect->right < clip.right ? rect->right : clip.right,
                       rect->bottom < clip.bottom ? rect->bottom : clip.bottom};
        const int h = height - 1;
        for (int y = a.top; y < a.bottom; ++y) {
            const int i = y - rect->top;
            QDColor c = 0;
            for (int shift = 0; shift < 24; shift += 8) {
                const int from = topColor >> shift & 0xFF, to = bottomColor >> shift & 0xFF;
                c |= static_cast<QDColor>((to - from) * i / h + from) << shift;
            }
            AutoPen pen(dc, c);
            DrawLineTo(dc, a.left, y, a.right, y);
        }
    } else if (useLines) {
        AutoPen pen(dc, topColor);
        for (int y = rect->top; y < rect->bottom; ++y)
            DrawLineTo(dc, rect->left, y, rect->right, y);
    } else {
        const QDColor old = SetBkColor(dc, topColor);
        drawos::FillRect(dc, rect->left, rect->top, rect->right - rect->left, height,
                         GetBkColor(dc));
        SetBkColor(dc, old);
    }
    return true;
}

bool DrawButtonRect(QDDC dc, const QDRect& rect, QDColor topColor, QDColor bottomColor, bool sunken,
                    bool useLines, bool lighten) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc), false);
    const QDRect inside{rect.left + 1, rect.top + 1, rect.right - 1, rect.bottom - 1};
    FillGradient(dc, &inside, topColor, bottomColor, useLines);
    QDColor light = lighten ? AddToChannels(topColor, 80) : topColor;
    QDColor dark = AddToChannels(bottomColor, -80);
    if (sunken) std::swap(light, dark);
    const int r = rect.right - 1, b = rect.bottom - 1;
    {
        AutoPen pen(dc, light);
        DrawLineTo(dc, rect.left, rect.top, rect.right, rect.top);
        DrawLineTo(dc, rect.left, rect.top, rect.left, rect.bottom);
    }
    AutoPen pen(dc, dark);
    DrawLineTo(dc, r, rect.top, r, rect.bottom);
    DrawLineTo(dc, rect.left, b, rect.right, b);
    return true;
}

bool DrawEtchedLine(QDDC dc, int x, int y, int length, bool vertical, QDPen lightPen,
                    QDPen darkPen) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc), false);
    const QDPen old = SelectPen(dc, darkPen ? darkPen : &kShadowPen);
    const int ex = vertical ? x : x + length, ey = vertical ? y + length : y;
    bool ok = DrawLineTo(dc, x, y, ex, ey);
    SelectPen(dc, lightPen ? lightPen : &kHighlightPen);
    ok = DrawLineTo(dc, x + vertical, y + !vertical, ex + vertical, ey + !vertical) && ok;
    SelectPen(dc, old);
    return ok;
}

bool DrawEtchedRect(QDDC dc, const QDRect& rect) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc), false);
    const int w = rect.right - rect.left, h = rect.bottom - rect.top;
    DrawEtchedLine(dc, rect.left, rect.top, w - 1, false);
    DrawEtchedLine(dc, rect.left, rect.top, h - 1, true);
    DrawEtchedLine(dc, rect.left, rect.bottom - 2, w, false);
    DrawEtchedLine(dc, rect.right - 2, rect.top, h, true);
    // The right side's shadow ran into the bottom's highlight.
    SetPixelSafe(dc, rect.right - 2, rect.bottom - 1, kHighlightPen.color);
    return true;
}

QDColor SetPixelSafe(QDDC dc, int x, int y, QDColor color) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc), kClrInvalid);
    static const int version = GetWindowsVersion();
    if (version == Windows_Vista || version == Windows_Longhorn) {
        const QDColor old = drawos::GetPixel(dc, x, y);
        const QDColor oldBk = SetBkColor(dc, color);
        drawos::FillRect(dc, x, y, 1, 1, color);
        SetBkColor(dc, oldBk);
        return old;
    }
    return drawos::FillRect(dc, x, y, 1, 1, color) ? color : kClrInvalid;
}

QDColor GetPixelColor(QDDC dc, int x, int y) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc), kClrInvalid);
    return drawos::GetPixel(dc, x, y);
}

bool DrawDottedRect(QDDC dc, int x1, int y1, int x2, int y2, QDColor color, int gap) {
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && gap >= 0, false);
    if (x1 > x2) std::swap(x1, x2);
    if (y1 > y2) std::swap(y1, y2);
    for (int64_t x = x1; x <= x2; x += gap + 1) {
        SetPixelSafe(dc, static_cast<int>(x), y1, color);
        SetPixelSafe(dc, static_cast<int>(x), y2, color);
    }
    for (int64_t y = y1; y <= y2; y += gap + 1) {
        SetPixelSafe(dc, x1, static_cast<int>(y), color);
        SetPixelSafe(dc, x2, static_cast<int>(y), color);
    }
    return true;
}

// ---- bitmaps ---------------------------------------------------------------------------------

QDBitmap CreateBitmap(int width, int height) {
    QDR_CHECK_OR_RETURN(width > 0 && height > 0, nullptr);
    return drawos::NewBitmap(width, height);
}

void DeleteBitmap(QDBitmap bitmap) {
    if (bitmap) drawos::FreeBitmap(bitmap);
}

QDPoint GetBitmapSize(QDBitmap bitmap) {
    QDPoint size{0, 0};
    drawos::BitmapSize(bitmap, &size.x, &size.y);
    return size;
}

bool SaveBitmapPng(QDBitmap bitmap, const char* fileName) {
    QDPoint size;
    QDR_CHECK_OR_RETURN(drawos::BitmapSize(bitmap, &size.x, &size.y) && fileName != nullptr, false);
    return drawos::WritePng(bitmap, fileName);
}

bool DrawBitmap(QDDC dc, QDBitmap bitmap, int x, int y, int sx, int sy, int w, int h,
                uint32_t rop) {
    QDPoint size;
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && drawos::BitmapSize(bitmap, &size.x, &size.y), false);
    if (w == -1) w = size.x;
    if (h == -1) h = size.y;
    if (rop != SRCCOPY || w <= 0 || h <= 0) return false;
    return drawos::PaintBitmap(dc, bitmap, {x, y, x + w, y + h}, {sx, sy, sx + w, sy + h}, -1);
}

bool TileBitmap(QDDC dc, QDBitmap bitmap, const QDRect& rect, const QDRect* sourceRect,
                uint32_t rop) {
    QDPoint size;
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && drawos::BitmapSize(bitmap, &size.x, &size.y), false);
    const QDRect src = sourceRect ? *sourceRect : QDRect{0, 0, size.x, size.y};
    QDR_CHECK_OR_RETURN(!IsRectEmpty(src) && src.left >= 0 && src.top >= 0 && src.right <= size.x &&
                            src.bottom <= size.y,
                        false);
    const int sw = src.right - src.left, sh = src.bottom - src.top;
    for (int y = rect.top; y < rect.bottom; y += sh)
        for (int x = rect.left; x < rect.right; x += sw) {
            const int w = rect.right - x < sw ? rect.right - x : sw;
            const int h = rect.bottom - y < sh ? rect.bottom - y : sh;
            if (!DrawBitmap(dc, bitmap, x, y, src.left, src.top, w, h, rop)) return false;
        }
    return true;
}

bool AlphaBitmap(QDDC dc, QDBitmap bitmap, int alpha, int x, int y, int w, int h, int sx, int sy,
                 int sw, int sh) {
    QDPoint size;
    QDR_CHECK_OR_RETURN(IsValidDC(dc) && drawos::BitmapSize(bitmap, &size.x, &size.y), false);
    QDR_CHECK_OR_RETURN(alpha >= 0 && alpha <= 255, false);
    if (w == -1) w = size.x;
    if (h == -1) h = size.y;
    if (sw == -1) sw = size.x;
    if (sh == -1) sh = size.y;
    if (w <= 0 || h <= 0 || sw <= 0 || sh <= 0) return false;
    return drawos::PaintBitmap(dc, bitmap, {x, y, x + w, y + h}, {sx, sy, sx + sw, sy + sh}, alpha);
}

QDBitmap CaptureScreen(const QDRect* rect, QDBitmap bitmap) {
    if (rect && IsRectEmpty(*rect)) return nullptr;
    int sw, sh, bits;
    if (!drawos::ScreenInfo(&sw, &sh, &bits)) return nullptr;
    QDRect area = rect ? *rect : QDRect{0, 0, sw, sh};
    if (area.left < 0) area.left = 0;
    if (area.top < 0) area.top = 0;
    if (area.right > sw) area.right = sw;
    if (area.bottom > sh) area.bottom = sh;
    if (IsRectEmpty(area)) return nullptr;
    const QDPoint want{area.right - area.left, area.bottom - area.top};
    QDBitmap target = bitmap;
    if (bitmap) {
        const QDPoint have = GetBitmapSize(bitmap);
        if (bits != 32 || have.x != want.x || have.y != want.y) return nullptr;
    } else if (!(target = CreateBitmap(want.x, want.y))) {
        return nullptr;
    }
    if (drawos::CopyScreen(area, target)) return target;
    if (!bitmap) DeleteBitmap(target);
    return nullptr;
}

// ---- fonts --------------------------------------------------------------------------------------

QDFont CreateSimpleFont(const char* name, int width, int height, bool bold, bool italic,
                        bool underline, bool strikeOut) {
    QDR_CHECK_OR_RETURN(name != nullptr && width >= 0 && height >= 0, nullptr);
    return drawos::NewFont(name, height, bold ? 900 : 400, italic, underline, strikeOut);
}

void DeleteFont(QDFont font) {
    drawos::FreeFont(font);
}

const char* GetDefaultFontName() {
    static const char* const name = drawos::IsChineseSystemLocale() ? "宋体" : "Sans";
    return name;
}

// ---- scope guards -----------------------------------------------------------------------------

AutoFont::AutoFont(QDDC dc, const char* name, int height, bool bold)
    : AutoFont(dc, CreateSimpleFont(name, 0, height, bold), true) {}

AutoFont::AutoFont(QDDC dc, QDFont font, bool own) : dc_(dc), font_(font), owner_(own) {
    oldFont_ = SelectFont(dc_, font_);
}

void AutoFont::Restore() {
    if (restored_) return;
    restored_ = true;
    const QDFont back = SelectFont(dc_, oldFont_);
    QDR_CHECK(back == font_);
    if (owner_) DeleteFont(font_);
}

AutoPen::AutoPen(QDDC dc, QDColor color, int width)
    : dc_(dc), penData_{color, width}, pen_(&penData_) {
    oldPen_ = SelectPen(dc_, pen_);
}

void AutoPen::Restore() {
    if (restored_) return;
    restored_ = true;
    const QDPen back = SelectPen(dc_, oldPen_);
    QDR_CHECK(back == pen_);
}

AutoBitmap::AutoBitmap(QDBitmap bitmap) : dc_(drawos::NewContext(bitmap)), bmp_(bitmap) {
    QDR_CHECK(dc_ != nullptr);
}

void AutoBitmap::Restore() {
    if (restored_) return;
    restored_ = true;
    if (dc_) drawos::FreeContext(dc_);
    dc_ = nullptr;
}

AutoTextColor::AutoTextColor(QDDC dc, QDColor color) : dc_(dc), oldColor_(GetTextColor(dc)) {
    if (color != kClrInvalid) SetTextColor(dc_, color);
}

AutoTextColor::~AutoTextColor() {
    SetTextColor(dc_, oldColor_);
}
