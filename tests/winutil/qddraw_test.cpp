// Drawing: the text layout and colour tags rendered into bitmaps and compared with
// renderings placed by hand, shapes and bitmaps pixel by pixel.
#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "qddraw.h"
#include "report_capture.h"
#include "x_session.h"

namespace {

constexpr QDColor kWhite = 0xFFFFFF, kRed = 0x0000FF;

// A white bitmap and a context on it.
struct Canvas {
    explicit Canvas(int w = 160, int h = 80) : bmp(CreateBitmap(w, h)), guard(bmp), dc(guard.Dc()) {
        const QDRect all{0, 0, w, h};
        FillGradient(dc, &all, kWhite, kWhite);
    }
    ~Canvas() {
        guard.Restore();
        DeleteBitmap(bmp);
    }
    // The pixels of columns [x0, x1), row by row.
    std::vector<QDColor> Pixels(int x0 = 0, int x1 = -1) const {
        std::vector<QDColor> out;
        const QDPoint s = GetBitmapSize(bmp);
        for (int y = 0; y < s.y; ++y)
            for (int x = x0; x < (x1 < 0 ? s.x : x1); ++x) out.push_back(GetPixelColor(dc, x, y));
        return out;
    }
    std::vector<QDColor> At(std::initializer_list<QDPoint> points) const {
        std::vector<QDColor> out;
        for (QDPoint p : points) out.push_back(GetPixelColor(dc, p.x, p.y));
        return out;
    }
    // Columns [x0, x1) hold a pixel for which `pick` is true.
    template <class Pick>
    bool Any(int x0, int x1, Pick pick) const {
        const std::vector<QDColor> p = Pixels(x0, x1);
        return std::any_of(p.begin(), p.end(), pick);
    }
    QDBitmap bmp;
    AutoBitmap guard;
    QDDC dc;
};

int Width(QDDC dc, const char* text) {
    return MeasureMultiLineText(dc, text).first;
}

TEST(DrawText, ColourTagsSwitchAndHideTwelveCharacters) {
    ReportCapture reports;
    Canvas c;
    SetTextColor(c.dc, 0);
    ASSERT_TRUE(TextOutColored(c.dc, 2, 2, "ab/<cr000000FFcd"));
    EXPECT_EQ(0u, GetTextColor(c.dc));
    const int ab = Width(c.dc, "ab");
    auto red = [](QDColor p) { return (p & 0xFF) > 200 && (p >> 8 & 0xFF) < 100; };
    auto dark = [](QDColor p) { return p != kWhite && (p & 0xFF) == (p >> 16 & 0xFF); };
    EXPECT_EQ((std::vector<bool>{true, false, true, false}),
              (std::vector<bool>{c.Any(2, 2 + ab, dark), c.Any(2, 2 + ab, red),
                                 c.Any(2 + ab, 160, red), c.Any(2 + ab, 160, dark)}));
    EXPECT_EQ(Width(c.dc, "abcd"),
              MeasureMultiLineText(c.dc, "ab/<cr000000FFcd", 0, -1, true).first);

    Canvas broken;
    EXPECT_FALSE(TextOutColored(broken.dc, 2, 2, "xy/<cr12"));  // drawn up to the tag
    EXPECT_TRUE(broken.Any(0, 160, [](QDColor p) { return p != kWhite; }));
    EXPECT_EQ(1, reports.Count());
    EXPECT_FALSE(TextOutColored(broken.dc, 2, 2, "/<crZZZZZZZZ"));  // no digits: no report
    EXPECT_TRUE(TextOutColored(broken.dc, 2, 2, "ab/<cr"));         // too short for a tag
    EXPECT_EQ(1, reports.Count());
}

TEST(DrawText, AlignmentBySignInBothForms) {
    Canvas probe;
    const int w = Width(probe.dc, "Hi"), h = MeasureMultiLineText(probe.dc, "Hi").second;
    const QDRect r{10, 10, 151, 71};
    // Alignment; where the text is drawn.
    const std::tuple<int, int, int, int> cases[] = {
        {-5, -3, 15, 13},
        {7, 4, 151 - w - 7, 71 - h - 4},
        {0, 0, (161 - w) / 2, (81 - h) / 2},
    };
    for (const auto& [alignX, alignY, x, y] : cases) {
        Canvas want, single, multi;
        TextOutColored(want.dc, x, y, "Hi");
        TextOutAligned(single.dc, "Hi", r, alignX, alignY);
        DrawMultiLineText(multi.dc, "Hi", alignX, alignY, &r);
        EXPECT_TRUE(want.Pixels() == single.Pixels()) << alignX;
        EXPECT_TRUE(want.Pixels() == multi.Pixels()) << alignX;
        EXPECT_TRUE(IsPointOnText(probe.dc, {x + w / 2, y + h / 2}, r, "Hi", alignX, alignY));
    }
    // Two lines, gap 3: drawn 2h + 3 high and centred so; measured (h + 3) per line.
    Canvas want, multi;
    const int top = (10 + 71 - (2 * h + 3)) / 2;
    TextOutColored(want.dc, 15, top, "Hi");
    TextOutColored(want.dc, 15, top + h + 3, "Hi");
    DrawMultiLineText(multi.dc, "Hi\r\nHi", -5, 0, &r, 3);
    EXPECT_TRUE(want.Pixels() == multi.Pixels());
    EXPECT_EQ(2 * (h + 3), MeasureMultiLineText(multi.dc, "Hi\nHi", 3).second);
    EXPECT_FALSE(IsPointOnText(probe.dc, {15, 10}, r, "Hi\n\nHi", -5, -3, 3));  // above the block
}

TEST(DrawShapes, GradientsFramesLinesAndDots) {
    Canvas c(20, 12);
    const QDRect two{0, 0, 4, 2}, five{4, 0, 5, 5};
    FillGradient(c.dc, &two, 0x000000, 0xFFFFFF);
    FillGradient(c.dc, &five, 0x000010, 0x102030);  // row i: (to - from) * i / 4 + from
    EXPECT_EQ((std::vector<QDColor>{0, 0xFFFFFF, 0x081020}), c.At({{3, 0}, {3, 1}, {4, 2}}));
    EXPECT_FALSE(FillGradient(c.dc, nullptr, 0, 0));

    Canvas f(8, 8);
    const QDPenData red{kRed, 1};
    DrawFrame(f.dc, {1, 1, 2, 2}, &red);  // one pixel
    DrawFrame(f.dc, {3, 3, 7, 6}, &red);  // sides through right - 1 and bottom - 1
    std::string got;
    for (QDColor p : f.Pixels()) got += p == kRed ? '#' : '.';
    EXPECT_EQ(
        "........"
        ".#......"
        "........"
        "...####."
        "...#..#."
        "...####."
        "........"
        "........",
        got);

    Canvas l(12, 12);
    AutoPen pen(l.dc, kRed);
    DrawLineTo(l.dc, 1, 1, 10, 4);  // the points of LinePoints but the last
    QDPoint pts[16];
    const int n = LinePoints(1, 1, 10, 4, pts);
    for (int i = 1; i < n; ++i)
        EXPECT_EQ(i < n - 1, GetPixelColor(l.dc, pts[i].x, pts[i].y) == kRed) << i;

    Canvas d(10, 10);
    DrawDottedRect(d.dc, 8, 6, 0, 0, kRed, 1);  // corners in any order, every second pixel
    EXPECT_EQ(std::vector<QDColor>(6, kRed),
              d.At({{0, 0}, {2, 0}, {8, 0}, {0, 6}, {8, 6}, {8, 4}}));
    EXPECT_EQ(std::vector<QDColor>(4, kWhite), d.At({{1, 0}, {0, 1}, {8, 5}, {4, 3}}));
}

TEST(DrawShapes, ColoursGuardsAndRegions) {
    EXPECT_EQ(QDRGB(100, 50, 25), MixColor(QDRGB(200, 0, 50), 0, QDRGB(0, 100, 0), 0));
    EXPECT_EQ(QDRGB(150, 25, 37), MixColor(QDRGB(200, 0, 50), 3, QDRGB(0, 100, 0), 1));
    ReportCapture reports;
    EXPECT_EQ(kClrInvalid, MixColor(0, -1, 0, 1));
    Canvas c(4, 4);
    {
        AutoFont font(c.dc, "Sans", 20, true);
        AutoTextColor red(c.dc, kRed);
        AutoTextColor keep(c.dc, kClrInvalid);
        EXPECT_EQ(kRed, GetTextColor(c.dc));
        EXPECT_EQ(font.Font(), SelectFont(c.dc, nullptr));  // taken out behind its back
        font.Restore();
        font.Restore();
    }
    EXPECT_EQ(1, reports.Count("(back == font_)"));
    EXPECT_EQ(0u, GetTextColor(c.dc));
    EXPECT_FALSE(IsValidDC(nullptr));
    EXPECT_EQ(2, reports.Count());

    const cairo_rectangle_int_t big{0, 0, 10, 10}, small{2, 2, 3, 3}, clip{1, 1, 2, 2};
    QDRegion outer = cairo_region_create_rectangle(&big),
             inner = cairo_region_create_rectangle(&small);
    // The last point is not in the region.
    EXPECT_EQ((std::vector<bool>{true, false, true, false, true, false}),
              (std::vector<bool>{
                  IsRegionInside(inner, outer), IsRegionInside(outer, inner),
                  IsRegionBorderPoint(outer, {0, 5}, 1), IsRegionBorderPoint(outer, {5, 5}, 1),
                  IsRegionBorderPoint(outer, {5, 5}, 5), IsRegionBorderPoint(outer, {10, 5}, 1)}));
    cairo_rectangle(c.dc, 1, 1, 2, 2);  // a clip within the 4 x 4 canvas
    cairo_clip(c.dc);
    ASSERT_TRUE(GetVisibleRegion(c.dc, outer));
    QDRegion want = cairo_region_create_rectangle(&clip);
    EXPECT_TRUE(cairo_region_equal(want, outer));
    for (QDRegion r : {outer, inner, want}) cairo_region_destroy(r);
}

TEST(DrawBitmaps, CopyTileBlendAndNoScreen) {
    QDBitmap src = CreateBitmap(2, 2);
    {
        AutoBitmap s(src);
        SetPixelSafe(s.Dc(), 0, 0, kRed);
        SetPixelSafe(s.Dc(), 1, 1, 0x00FF00);
        SetPixelSafe(s.Dc(), 1, 0, 0xFFFFFF);
    }
    Canvas c(8, 6);
    EXPECT_TRUE(DrawBitmap(c.dc, src, 1, 1));
    EXPECT_FALSE(DrawBitmap(c.dc, src, 0, 0, 0, 0, -1, -1, SRCAND));
    EXPECT_TRUE(TileBitmap(c.dc, src, QDRect{3, 0, 8, 3}));
    EXPECT_EQ((std::vector<QDColor>{kRed, 0x00FF00, kRed, 0x00FF00}),
              c.At({{1, 1}, {2, 2}, {7, 2}, {6, 1}}));
    EXPECT_TRUE(
        AlphaBitmap(c.dc, src, 128, 0, 4, 8, 2, 0, 0, 1, 1));  // red stretched, half over white
    const QDColor half = GetPixelColor(c.dc, 5, 5);
    EXPECT_EQ(0xFFu, half & 0xFF);
    EXPECT_NEAR(127, static_cast<int>(half >> 8 & 0xFF), 1);
    DeleteBitmap(src);

    unsetenv("DISPLAY");
    EXPECT_EQ(nullptr, CaptureScreen(nullptr));
    EXPECT_FALSE(GetDisplayMetrics(nullptr, nullptr, nullptr));
}

TEST(DrawScreen, CaptureAndMetricsOfAPrivateDisplay) {
    QD_REQUIRE_X();
    QDPoint size{0, 0}, letter{0, 0};
    int bits = 0;
    ASSERT_TRUE(GetDisplayMetrics(&size, &letter, &bits));
    EXPECT_EQ((std::vector<int>{1024, 768, 32, 1}),
              (std::vector<int>{size.x, size.y, bits, letter.y > letter.x}));
    const QDRect area{-10, 758, 30, 900};  // held to the screen: 30 x 10
    QDBitmap shot = CaptureScreen(&area);
    ASSERT_NE(nullptr, shot);
    EXPECT_EQ((QDPoint{30, 10}), GetBitmapSize(shot));
    EXPECT_EQ(shot, CaptureScreen(&area, shot));
    QDBitmap small = CreateBitmap(5, 5);
    EXPECT_EQ(nullptr, CaptureScreen(&area, small));  // not the area's size
    const QDRect empty{5, 5, 5, 9};
    EXPECT_EQ(nullptr, CaptureScreen(&empty));
    DeleteBitmap(small);
    DeleteBitmap(shot);
}

}  // namespace
