// The DIB: pixels at every depth, drawing, painting, and load and save through the
// codec module, checked against GraphicsMagick's own decoding of the same files.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "dib.h"
#include "report_capture.h"
#include "scratch_dir.h"

namespace {

// The pixel's colour as QDColor at any depth.
QDColor Colour(const CDib& d, int x, int y) {
    const int64_t v = d.GetPixelValue(x, y);
    if (d.BitsPerPixel() >= 16) return static_cast<QDColor>(v);
    const QDRgbQuad& q = d.Palette()[v];
    return QDRGB(q.rgbRed, q.rgbGreen, q.rgbBlue);
}

TEST(Dib, PixelsRoundTripAtEveryDepth) {
    ReportCapture reports;
    for (int bits : {1, 4, 8, 16, 24, 32}) {
        CDib d(5, 3, bits);
        ASSERT_TRUE(d.IsValid()) << bits;
        const uint32_t mask = bits < 16 ? (1u << bits) - 1 : 0xFFFFFF;
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 5; ++x) {
                // At 16 bits (5-5-5) only the top five bits of a channel survive.
                const uint32_t v =
                    bits == 16 ? QDRGB(x * 48, y * 80, 0xF8) : (x * 77 + y * 0x10203 + 1) & mask;
                ASSERT_TRUE(d.SetPixelValue(x, y, v));
                EXPECT_EQ(v, d.GetPixelValue(x, y)) << bits << " " << x << "," << y;
            }
        EXPECT_EQ(-1, d.GetPixelValue(-1, 0));
        EXPECT_FALSE(d.SetPixelValue(5, 0, 0));
    }
    CDib nibbles(2, 1, 4);
    nibbles.SetPixelValue(0, 0, 0xA);
    nibbles.SetPixelValue(1, 0, 0x5);
    EXPECT_EQ(0xA5, nibbles.Row(0)[0]);  // odd x keeps the high nibble

    CDib words(1, 1, 16);
    words.SetPixelValue(0, 0, QDRGB(0x88, 0x48, 0xF8));
    const uint16_t start = *reinterpret_cast<const uint16_t*>(words.Row(0));
    words.ConvertTo565();
    EXPECT_TRUE(words.Is565());
    words.ConvertTo555();
    EXPECT_EQ(start, *reinterpret_cast<const uint16_t*>(words.Row(0)));

    CDib pal(2, 1, 8);
    QDRgbQuad colours[256] = {};
    colours[7] = colours[9] = {1, 2, 3, 0};  // blue 1, green 2, red 3
    pal.SetPalette(colours);
    ASSERT_TRUE(pal.SetPixelColor(0, 0, 3 | 1 << 8 | 2 << 16));  // the palette key order
    EXPECT_EQ(7, pal.GetPixelValue(0, 0));
    EXPECT_EQ(0, reports.Count());
    EXPECT_FALSE(pal.SetPixelColor(1, 0, 0x123456));
    EXPECT_FALSE(CDib(0, 4, 8).IsValid());
    EXPECT_FALSE(CDib(4, 4, 2).IsValid());
    EXPECT_FALSE(pal.Create(1, 1, 8));  // over a valid image
    EXPECT_EQ(4, reports.Count());
}

TEST(Dib, LinesCirclesCopiesAndPainting) {
    CDib d(8, 6, 24, -1, 0xFFFFFF);
    EXPECT_EQ(0, d.DrawLine(-100, -5, -1, -80, 0));
    EXPECT_EQ(0, d.DrawLine(INT32_MIN, 3, INT32_MIN + 5, 3, 0));
    EXPECT_EQ(2, d.DrawLine(2, 2, 2, 2, -1));  // inverted twice: unchanged
    EXPECT_EQ(0xFFFFFF, d.GetPixelValue(2, 2));
    EXPECT_EQ(9, d.DrawLine(-20, 1, 20, 1, 0x0000FF));  // clipped to x 0..7, the first twice
    EXPECT_EQ(0x0000FF, d.GetPixelValue(7, 1));
    d.DrawCircle(4, 3, 2, 0);
    for (QDPoint p : {QDPoint{4, 1}, {4, 5}, {2, 3}, {6, 3}})
        EXPECT_EQ(0, d.GetPixelValue(p.x, p.y));
    EXPECT_EQ(0xFFFFFF, d.GetPixelValue(4, 3));

    CDib copy(d);
    EXPECT_TRUE(copy.IsSameFormat(d));
    copy.FlipVertical();
    EXPECT_EQ(0x0000FF, copy.GetPixelValue(0, 4));
    CDib masked(8, 6, 24, -1, 0x00FF00);
    EXPECT_TRUE(masked.CopyFrom(0, 0, 8, 6, d, 0, 0, SRCPAINT));
    EXPECT_EQ(0x00FFFF, masked.GetPixelValue(0, 1));
    EXPECT_FALSE(masked.CopyFrom(0, 0, 1, 1, d, 0, 0, 0x123));

    QDBitmap target = CreateBitmap(10, 10);
    {
        AutoBitmap dc(target);
        EXPECT_TRUE(d.Paint(dc.Dc(), 1, 1));
        EXPECT_EQ(0x0000FFu, GetPixelColor(dc.Dc(), 8, 2));
        EXPECT_EQ(0u, GetPixelColor(dc.Dc(), 5, 2));  // the circle's top
        CDib back(target, true);                      // a bitmap's rows come top-down: flip them
        EXPECT_EQ(0x0000FF, back.GetPixelColor(8, 2));
    }
    DeleteBitmap(target);
}

// GraphicsMagick's own decoding of a file, as 8-bit RGB pixels row by row.
std::vector<QDColor> GmDecode(const std::string& file) {
    std::vector<QDColor> out;
    if (std::system(("gm convert '" + file + "' -depth 8 'rgb:" + file + ".rgb'").c_str()) != 0)
        return out;
    const std::string rgb = Contents(file + ".rgb");
    for (size_t i = 0; i + 2 < rgb.size(); i += 3)
        out.push_back(QDRGB(uint8_t(rgb[i]), uint8_t(rgb[i + 1]), uint8_t(rgb[i + 2])));
    return out;
}

TEST(DibCodec, EveryFormatAtEveryDepthAgreesWithGraphicsMagick) {
    ScratchDir dir("dib_codec");
    for (const char* ext : {".bmp", ".gif", ".pcx", ".tga", ".TIF", ".jpg"})
        for (int bits : {8, 16, 24, 32}) {
            CDib d(9, 5, bits);
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < 9; ++x)
                    d.SetPixelValue(
                        x, y,
                        bits == 8 ? (x * 37 + y * 71) & 0xFF : QDRGB(x * 28, y * 60, 0xF0 - x * 8));
            const std::string file = dir / ("p" + std::to_string(bits) + ext);
            ASSERT_TRUE(d.Save(file.c_str())) << file;
            CDib loaded(file.c_str(), false);
            ASSERT_TRUE(loaded.IsValid()) << file;
            const std::vector<QDColor> gm = GmDecode(file);
            ASSERT_EQ(9 * 5u, gm.size()) << file;
            const bool lossy =
                ext == std::string(".jpg") || (ext == std::string(".gif") && bits > 8);
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < 9; ++x) {
                    EXPECT_EQ(gm[y * 9 + x], Colour(loaded, x, y)) << file << " " << x << "," << y;
                    if (!lossy) {
                        const QDColor a = Colour(d, x, y), b = Colour(loaded, x, y);
                        for (int s = 0; s < 24; s += 8)  // 5-bit channels widen when written
                            EXPECT_NEAR(a >> s & 0xFF, b >> s & 0xFF, bits == 16 ? 7 : 0) << file;
                    }
                }
        }
}

TEST(DibCodec, BadFilesAndNamesFail) {
    ScratchDir dir("dib_bad");
    CDib d(4, 4, 24, -1, 0x336699);
    ReportCapture reports;
    EXPECT_FALSE(d.Save((dir / "noextension").c_str()));
    EXPECT_FALSE(d.Save((dir / "x.png").c_str()));
    EXPECT_TRUE(d.Save((dir / "upper.BMP").c_str()));
    EXPECT_FALSE(CDib(1, 1, 4).Save((dir / "x.bmp").c_str()));  // below 8 bits
    EXPECT_FALSE(CDib((dir / "a<b.bmp").c_str(), false).IsValid());
    EXPECT_EQ(2, reports.Count());
    for (const char* ext : {".bmp", ".gif", ".pcx", ".tga", ".tif", ".jpg"}) {
        const std::string good = dir / (std::string("good") + ext);
        ASSERT_TRUE(d.Save(good.c_str()));
        const std::string bytes = Contents(good);
        // Cut short, and with the pixel data turned to noise.
        for (size_t keep : {bytes.size() / 2, size_t{20}}) {
            const std::string bad = dir / ("bad" + std::to_string(keep) + ext);
            Write(bad, bytes.substr(0, keep) + (keep == 20 ? std::string(40, '\xEE') : ""));
            CDib loaded(bad.c_str(), false);  // may fail or give what it can, never crash
            EXPECT_TRUE(!loaded.IsValid() || loaded.Width() == 4) << bad;
        }
    }
    // A BMP header claiming 100,000 x 100,000 pixels.
    std::string huge(54, '\0');
    huge[0] = 'B', huge[1] = 'M', huge[10] = 54, huge[14] = 40, huge[26] = 1, huge[28] = 24;
    for (int at : {18, 22}) huge[at] = '\xA0', huge[at + 1] = '\x86', huge[at + 2] = '\x01';
    const std::string claim = dir / "huge.bmp";
    Write(claim, huge);
    EXPECT_FALSE(CDib(claim.c_str(), false).IsValid());
    EXPECT_EQ(2, reports.Count());
}

}  // namespace
