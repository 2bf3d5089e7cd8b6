// The drawing toolkit at a glance: a gradient, colour-tagged text, lines, a circle
// and a bitmap loaded through the codec module, saved as a PNG.
//   qd_drawdemo [image.bmp|.gif|.pcx|.tga|.jpg|.tif] [out.png]
// Without an input image it first writes drawdemo-input.bmp and loads that.
#include <cstdio>

#include "dib.h"
#include "qddraw.h"

int main(int argc, char** argv) {
    const char* input = argc > 1 ? argv[1] : "drawdemo-input.bmp";
    const char* output = argc > 2 ? argv[2] : "drawdemo.png";
    if (argc < 2) {
        CDib sample(64, 64, 24, -1, 0xF0F0F0);
        for (int i = 0; i < 64; i += 8)
            sample.DrawLine(0, i, 63, 63 - i, QDRGB(i * 4, 128, 255 - i * 4));
        sample.DrawCircle(32, 32, 20, QDRGB(200, 0, 0));
        if (!sample.Save(input)) {
            fprintf(stderr, "cannot write %s (is libqdimage.so beside the program?)\n", input);
            return 1;
        }
    }
    CDib image(input, false);
    if (!image.IsValid()) {
        fprintf(stderr, "cannot load %s\n", input);
        return 1;
    }

    QDBitmap canvas = CreateBitmap(480, 240);
    {
        AutoBitmap guard(canvas);
        const QDDC dc = guard.Dc();
        const QDRect all{0, 0, 480, 240}, text{16, 16, 300, 224};
        FillGradient(dc, &all, QDRGB(250, 250, 255), QDRGB(180, 200, 230));
        DrawButtonRect(dc, {12, 12, 304, 120}, QDRGB(220, 230, 245), QDRGB(190, 200, 220));
        AutoFont font(dc, "Sans", 20, true);
        DrawMultiLineText(dc,
                          "qdlog drawing\n/<cr000000C0red/<cr00008000 green /<cr00C00000blue\n"
                          "/<cr00404040aligned by sign",
                          -12, -8, &text, 4, -1, true);
        for (int i = 0; i < 10; ++i) {
            AutoPen pen(dc, MixColor(QDRGB(255, 0, 0), i, QDRGB(0, 0, 255), 9 - i), 2);
            DrawLineTo(dc, 16, 140 + i * 9, 300, 220 - i * 9);
        }
        DrawEtchedRect(dc, {320, 16, 464, 224});
        image.Paint(dc, 336, 32, 112, 112);
        DrawDottedRect(dc, 334, 30, 449, 145, QDRGB(0, 0, 0), 2);
        TextOutAligned(dc, "the DIB", {320, 150, 464, 224}, 0, 0);
    }
    const bool saved = SaveBitmapPng(canvas, output);
    DeleteBitmap(canvas);
    if (!saved) {
        fprintf(stderr, "cannot write %s\n", output);
        return 1;
    }
    printf("wrote %s\n", output);
    return 0;
}
