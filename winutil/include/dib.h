// CDib: an in-memory device-independent bitmap of 1, 4, 8, 16, 24 or 32 bits per
// pixel, with per-pixel access through a row-address table (one array read and an
// offset per pixel, whatever the row order), a palette and its reverse map, line and
// circle drawing, painting to a device context, and load and save through the codec
// module. Colours at 16 bits and above are QDColor (red low); on a palette image the
// key is red | blue << 8 | green << 16, in the map and from GetPixelColor alike.
#pragma once

#include <cstdint>
#include <map>

#include "qddraw.h"
#include "smartbuf.h"

#pragma pack(push, 1)
struct QDBitmapInfoHeader {  // BITMAPINFOHEADER
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression;
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
};
struct QDRgbQuad {  // RGBQUAD
    uint8_t rgbBlue;
    uint8_t rgbGreen;
    uint8_t rgbRed;
    uint8_t rgbReserved;
};
#pragma pack(pop)

class CDib {
public:
    CDib();
    CDib(const CDib& other);
    CDib(int width, int height, int bitsPerPixel, int bytesPerLine = -1, int64_t fill = -1);
    CDib(QDBitmap bitmap, bool flip);
    CDib(const char* fileName, bool flip);
    ~CDib();
    CDib& operator=(const CDib&) = delete;

    // Bottom-up; with `fill` != -1 every pixel is set to it.
    bool Create(int width, int height, int bitsPerPixel, int bytesPerLine = -1, int64_t fill = -1);
    bool CreateFromBitmap(QDBitmap bitmap, bool flip = false);
    bool Load(const char* fileName, bool flip = false);
    bool Save(const char* fileName);
    // Top-down over the caller's memory: 8, 16, 24 or 32 bits; 16 needs `isRGB555`.
    bool Attach(void* data, int width, int height, int bitsPerPixel, int bytesPerLine = -1,
                const bool* isRGB555 = nullptr);
    // Attached memory comes back to the caller; owned memory is freed (null).
    void* Detach();
    bool Reattach(void* data, int width, int height, int bitsPerPixel, int bytesPerLine = -1,
                  const bool* isRGB555 = nullptr);

    bool IsValid() const { return m_imageData != nullptr; }
    int Width() const { return m_DIBInfo.biWidth; }
    int Height() const { return m_DIBInfo.biHeight; }
    int BitsPerPixel() const { return m_DIBInfo.biBitCount; }
    int BytesPerLine() const { return m_bytesPerLine; }
    int ImageBytes() const { return m_bytesPerLine * Height(); }
    int PaletteCount() const { return m_palCount; }
    int PaletteBytes() const { return m_palCount * 4; }
    const QDRgbQuad* Palette() const { return m_pal; }
    bool HasPalette() const { return m_palCount > 0; }
    bool Is565() const { return is565; }
    const uint8_t* Row(int y) const { return m_perLineAddr[y]; }
    bool IsSameFormat(const CDib& other) const;

    bool SetPixelValue(int x, int y, uint32_t value);
    int64_t GetPixelValue(int x, int y) const;  // -1 outside
    bool SetPixelColor(int x, int y, QDColor color);
    int64_t GetPixelColor(int x, int y) const;
    int GetPixelGray(int x, int y) const;

    // `color` -1 inverts every point. The number of points written.
    int DrawLine(int x1, int y1, int x2, int y2, int64_t color);
    void DrawCircle(int x, int y, int r, int64_t color);

    bool CopyFrom(int x, int y, int w, int h, const CDib& source, int sx, int sy, uint32_t rop);
    bool FlipVertical();
    bool SetPalette(const QDRgbQuad* colors);
    void ConvertTo565();
    void ConvertTo555();

    bool Paint(QDDC dc, int x, int y, int w = -1, int h = -1, int sx = 0, int sy = 0, int sw = -1,
               int sh = -1, uint32_t rop = SRCCOPY) const;
    bool Tile(QDDC dc, const QDRect& rect, uint32_t rop = SRCCOPY) const;

private:
    bool CreateOver(void* data, int width, int height, int bitsPerPixel, int bytesPerLine,
                    bool topDown);
    void FillDefaultColorPal_();
    void RebuildColorMap();
    uint16_t Pack(QDColor color);
    QDColor Unpack(uint32_t v) const;
    void WritePoint(int x, int y, uint32_t value);  // the row writer: no range test
    uint32_t ReadPoint(int x, int y) const;

    SmartBuf<uintptr_t, 4096 / sizeof(uintptr_t)> block_;  // row table, then palette
    char* m_file = nullptr;
    QDBitmapInfoHeader m_DIBInfo{};
    QDRgbQuad* m_pal = nullptr;
    int m_palCount = 0;
    uint8_t* m_imageData = nullptr;
    uint8_t** m_perLineAddr = nullptr;
    int m_bytesPerLine = 0;
    bool attached = false;
    bool is565 = false;
    QDColor lastColor = kClrInvalid;
    uint16_t lastPixel = 0xFFFF;
    std::map<uint32_t, int> colorMap;
};
