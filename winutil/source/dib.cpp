// CDib: the pixel store, its row table and palette, drawing, painting, and load and
// save through the codec module, bound at run time.
#include "dib.h"

#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "exports.h"
#include "platform/drawos.h"
#include "qdfdk.h"
#include "qdr/platform/os.h"
#include "qdr/platform/os_files.h"
#include "qdr/qdassert.h"

namespace {

constexpr int kFileHeaderBytes = 14, kHeadersBytes = 54;
constexpr const char kCodecName[] = "libqdimage.so";

uint32_t SwapRedBlue(uint32_t v) {
    return (v & 0xFF00FF00u) | (v >> 16 & 0xFF) | (v & 0xFF) << 16;
}

uint32_t DepthMask(int bits) {
    return bits >= 32 ? 0xFFFFFFFFu : (1u << bits) - 1;
}

bool IsListedDepth(int bits) {
    return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

// The codec module's functions, each bound on first use.
struct Codec {
    int (*fileType)(const char*) = nullptr;
    void* (*load[6])(const char*) = {};
    unsigned char (*save[6])(const char*, const void*) = {};
    unsigned char (*saveJpg)(const char*, const void*, int) = nullptr;
    void (*freeBlock)(void*) = nullptr;
};
const char* const kLoadNames[6] = {"LoadBMP", "LoadGIF", "LoadPCX",
                                   "LoadTGA", "LoadJPG", "LoadTIF"};
const char* const kSaveNames[6] = {"SaveBMP", "SaveGIF", "SavePCX",
                                   "SaveTGA", "SaveJPG", "SaveTIF"};

// Beside the module that holds this code, beside the program, or the loader's own
// search of the system's directories.
Exports& CodecLibrary() {
    static Exports* library = [] {
        char path[512];
        static const char here = 0;
        for (int pass = 0; pass < 2; ++pass) {
            const int n = pass == 0 ? os::ModulePathOf(&here, path, sizeof(path))
                                    : os::ProgramPath(path, sizeof(path));
            const char* slash = n > 0 ? strrchr(path, '/') : nullptr;
            if (!slash || static_cast<size_t>(slash - path) + sizeof(kCodecName) + 1 > sizeof(path))
                continue;
            strcpy(path + (slash - path) + 1, kCodecName);
            if (os::FileSize(path) >= 0) return new Exports(path);
        }
        return new Exports(kCodecName);
    }();
    return *library;
}

Codec& CodecSlots() {
    static Codec codec;
    return codec;
}

}  // namespace

CDib::CDib() : block_(0) {}

CDib::CDib(const CDib& other) : CDib() {
    if (!other.IsValid() ||
        !Create(other.Width(), other.Height(), other.BitsPerPixel(), other.m_bytesPerLine))
        return;
    for (int y = 0; y < Height(); ++y)
        memcpy(m_perLineAddr[y], other.m_perLineAddr[y], static_cast<size_t>(m_bytesPerLine));
    if (m_palCount) SetPalette(other.m_pal);
    is565 = other.is565;
}

CDib::CDib(int width, int height, int bitsPerPixel, int bytesPerLine, int64_t fill) : CDib() {
    Create(width, height, bitsPerPixel, bytesPerLine, fill);
}

CDib::CDib(QDBitmap bitmap, bool flip) : CDib() {
    CreateFromBitmap(bitmap, flip);
}

CDib::CDib(const char* fileName, bool flip) : CDib() {
    Load(fileName, flip);
}

CDib::~CDib() {
    Detach();
}

bool CDib::Create(int width, int height, int bitsPerPixel, int bytesPerLine, int64_t fill) {
    if (!CreateOver(nullptr, width, height, bitsPerPixel, bytesPerLine, false)) return false;
    if (fill != -1)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) SetPixelValue(x, y, static_cast<uint32_t>(fill));
    return true;
}

bool CDib::CreateOver(void* data, int width, int height, int bitsPerPixel, int bytesPerLine,
                      bool topDown) {
    QDR_CHECK_OR_RETURN(!IsValid(), false);
    QDR_CHECK_OR_RETURN(width > 0 && height > 0 && IsListedDepth(bitsPerPixel), false);
    const int64_t minimum = int64_t{bitsPerPixel} * width / 8;
    const int64_t natural = ((int64_t{width} * bitsPerPixel + 7) / 8 + 3) & ~int64_t{3};
    QDR_CHECK_OR_RETURN(bytesPerLine == -1 || bytesPerLine >= minimum, false);
    const int64_t stride = bytesPerLine == -1 ? natural : bytesPerLine;
    QDR_CHECK_OR_RETURN(stride * height <= 512 * 1024 * 1024, false);
    m_DIBInfo = {40,
                 width,
                 height,
                 1,
                 static_cast<uint16_t>(bitsPerPixel),
                 0,
                 static_cast<uint32_t>(stride * height),
                 0,
                 0,
                 0,
                 0};
    m_bytesPerLine = static_cast<int>(stride);
    m_palCount = bitsPerPixel <= 8 ? 1 << bitsPerPixel : 0;
    block_.Resize(height + m_palCount);
    if (!data) {
        data = calloc(static_cast<size_t>((stride + 3) / 4 * height * 4), 1);
        if (!data) return false;
    }
    attached = topDown;
    m_imageData = static_cast<uint8_t*>(data);
    m_perLineAddr = reinterpret_cast<uint8_t**>(block_.Get());
    for (int y = 0; y < height; ++y)
        m_perLineAddr[y] = m_imageData + stride * (topDown ? y : height - 1 - y);
    m_pal = m_palCount ? reinterpret_cast<QDRgbQuad*>(block_.Get() + height) : nullptr;
    lastColor = kClrInvalid;
    lastPixel = 0xFFFF;
    FillDefaultColorPal_();
    RebuildColorMap();
    return true;
}

void CDib::FillDefaultColorPal_() {
    static const uint8_t k16[16][3] = {
        {0, 0, 0},     {0, 0, 128},     {0, 128, 0},     {0, 128, 128},  {128, 0, 0}, {128, 0, 128},
        {128, 128, 0}, {192, 192, 192}, {128, 128, 128}, {0, 0, 255},    {0, 255, 0}, {0, 255, 255},
        {255, 0, 0},   {255, 0, 255},   {255, 255, 0},   {255, 255, 255}};
    for (int i = 0; i < m_palCount; ++i) {
        QDRgbQuad& q = m_pal[i];
        if (m_palCount == 2) {
            q = {static_cast<uint8_t>(i * 255), static_cast<uint8_t>(i * 255),
                 static_cast<uint8_t>(i * 255), 0};
        } else if (m_palCount == 16) {
            q = {k16[i][2], k16[i][1], k16[i][0], 0};
        } else {  // the 3-3-2 cube: index r | g << 3 | b << 6
            q = {static_cast<uint8_t>((i >> 6) * 255 / 3),
                 static_cast<uint8_t>((i >> 3 & 7) * 255 / 7),
                 static_cast<uint8_t>((i & 7) * 255 / 7), 0};
        }
    }
}

void CDib::RebuildColorMap() {
    colorMap.clear();
    for (int i = 0; i < m_palCount; ++i)  // emplace keeps the lowest index of equal keys
        colorMap.emplace(m_pal[i].rgbRed | m_pal[i].rgbBlue << 8 | m_pal[i].rgbGreen << 16, i);
}

bool CDib::Attach(void* data, int width, int height, int bitsPerPixel, int bytesPerLine,
                  const bool* isRGB555) {
    QDR_CHECK_OR_RETURN(data != nullptr && bitsPerPixel >= 8, false);
    QDR_CHECK_OR_RETURN(bitsPerPixel != 16 || isRGB555 != nullptr, false);
    if (!CreateOver(data, width, height, bitsPerPixel, bytesPerLine, true)) return false;
    is565 = bitsPerPixel == 16 && !*isRGB555;
    return true;
}

void* CDib::Detach() {
    void* back = attached ? m_imageData : nullptr;
    if (!attached) {
        free(m_imageData);
        free(m_file);
        m_file = nullptr;
    }
    m_imageData = nullptr;
    m_perLineAddr = nullptr;
    m_pal = nullptr;
    m_palCount = 0;
    m_bytesPerLine = 0;
    attached = is565 = false;
    m_DIBInfo = {};
    colorMap.clear();
    return back;
}

bool CDib::Reattach(void* data, int width, int height, int bitsPerPixel, int bytesPerLine,
                    const bool* isRGB555) {
    if (attached && data == m_imageData && width == Width() && height == Height() &&
        bitsPerPixel == BitsPerPixel() && (bytesPerLine == -1 || bytesPerLine == m_bytesPerLine) &&
        (bitsPerPixel != 16 || (isRGB555 && *isRGB555 == !is565)))
        return true;
    const bool wasAttached = attached;
    const bool old555 = !is565;
    const int oldW = Width(), oldH = Height(), oldBits = BitsPerPixel(), oldStride = m_bytesPerLine;
    void* old = Detach();
    if (Attach(data, width, height, bitsPerPixel, bytesPerLine, isRGB555)) return true;
    if (wasAttached && old) Attach(old, oldW, oldH, oldBits, oldStride, &old555);
    return false;
}

bool CDib::IsSameFormat(const CDib& other) const {
    return BitsPerPixel() == other.BitsPerPixel() && Width() == other.Width() &&
           Height() == other.Height();
}

uint16_t CDib::Pack(QDColor c) {
    if (c != lastColor) {
        lastColor = c;
        lastPixel = static_cast<uint16_t>(
            is565 ? (c & 0xF8) << 8 | (c & 0xFC00) >> 5 | (c & 0xF80000) >> 19
                  : (c & 0xF8) << 7 | (c & 0xF800) >> 6 | (c & 0xF80000) >> 19);
    }
    return lastPixel;
}

QDColor CDib::Unpack(uint32_t v) const {
    return is565 ? (v & 0xF800) >> 8 | (v & 0x7E0) << 5 | (v & 0x1F) << 19
                 : (v & 0x7C00) >> 7 | (v & 0x3E0) << 6 | (v & 0x1F) << 19;
}

// Stored values: an index below 16 bits, a packed word at 16, 0x00RRGGBB above.
void CDib::WritePoint(int x, int y, uint32_t v) {
    uint8_t* row = m_perLineAddr[y];
    switch (BitsPerPixel()) {
        case 1: {
            const uint8_t bit = static_cast<uint8_t>(0x80 >> (x & 7));
            row[x >> 3] = static_cast<uint8_t>(v & 1 ? row[x >> 3] | bit : row[x >> 3] & ~bit);
            break;
        }
        case 4:
            row[x >> 1] = static_cast<uint8_t>(x & 1 ? (row[x >> 1] & 0xF0) | (v & 0xF)
                                                     : (row[x >> 1] & 0x0F) | (v & 0xF) << 4);
            break;
        case 8:
            row[x] = static_cast<uint8_t>(v);
            break;
        case 16:
            memcpy(row + x * 2, &v, 2);
            break;
        case 24:
            memcpy(row + x * 3, &v, 3);
            break;
        default:
            memcpy(row + x * 4, &v, 4);
            break;
    }
}

uint32_t CDib::ReadPoint(int x, int y) const {
    const uint8_t* row = m_perLineAddr[y];
    uint32_t v = 0;
    switch (BitsPerPixel()) {
        case 1:
            return row[x >> 3] >> (7 - (x & 7)) & 1;
        case 4:
            return x & 1 ? row[x >> 1] & 0xF : row[x >> 1] >> 4;
        case 8:
            return row[x];
        case 16:
            memcpy(&v, row + x * 2, 2);
            return v;
        case 24:
            memcpy(&v, row + x * 3, 3);
            return v;
        default:
            memcpy(&v, row + x * 4, 4);
            return v;
    }
}

bool CDib::SetPixelValue(int x, int y, uint32_t value) {
    if (!IsValid() || x < 0 || y < 0 || x >= Width() || y >= Height()) return false;
    const int bits = BitsPerPixel();
    WritePoint(x, y, bits == 16 ? Pack(value) : bits >= 24 ? SwapRedBlue(value) : value);
    return true;
}

int64_t CDib::GetPixelValue(int x, int y) const {
    if (!IsValid() || x < 0 || y < 0 || x >= Width() || y >= Height()) return -1;
    const uint32_t v = ReadPoint(x, y);
    const int bits = BitsPerPixel();
    return bits == 16 ? Unpack(v) : bits >= 24 ? SwapRedBlue(v) : v;
}

bool CDib::SetPixelColor(int x, int y, QDColor color) {
    if (BitsPerPixel() >= 16) return SetPixelValue(x, y, color);
    const auto found = colorMap.find(color);
    QDR_CHECK_MSG_OR_RETURN(found != colorMap.end(), false, "colour %08X is not in the palette", color);
    return SetPixelValue(x, y, static_cast<uint32_t>(found->second));
}

int64_t CDib::GetPixelColor(int x, int y) const {
    const int64_t v = GetPixelValue(x, y);
    if (v == -1 || BitsPerPixel() >= 16) return v;
    QDR_CHECK_OR_RETURN(v < m_palCount, -1);
    const QDRgbQuad& q = m_pal[v];
    return q.rgbRed | q.rgbBlue << 8 | q.rgbGreen << 16;
}

int CDib::GetPixelGray(int x, int y) const {
    const int64_t v = GetPixelValue(x, y);
    if (v == -1) return -1;
    int r, g, b;
    if (BitsPerPixel() < 16) {
        QDR_CHECK_OR_RETURN(v < m_palCount, -1);
        r = m_pal[v].rgbRed, g = m_pal[v].rgbGreen, b = m_pal[v].rgbBlue;
    } else {
        r = static_cast<int>(v & 0xFF), g = static_cast<int>(v >> 8 & 0xFF),
        b = static_cast<int>(v >> 16 & 0xFF);
    }
    return (g * 601 + r * 306 + b * 117) >> 10;
}

int CDib::DrawLine(int x1, int y1, int x2, int y2, int64_t color) {
    QDR_CHECK_OR_RETURN(IsValid(), 0);
    if (!ClipLineToRect(x1, y1, x2, y2, {0, 0, Width(), Height()})) return 0;
    const bool invert = color == -1;
    const int bits = BitsPerPixel();
    uint32_t value = static_cast<uint32_t>(color);
    if (!invert) value = bits == 16 ? Pack(value) : bits >= 24 ? SwapRedBlue(value) : value;
    LineStep step(x1, y1, x2, y2);
    int x, y, n = 0;
    while (step.Next(x, y)) {
        WritePoint(x, y, invert ? ~ReadPoint(x, y) & DepthMask(bits) : value);
        ++n;
    }
    return n;
}

void CDib::DrawCircle(int x, int y, int r, int64_t color) {
    if (r < 1) return;
    int px = r, d = 1 - 2 * r;
    const int limit = static_cast<int>(r * 0.7071067811865476);
    for (int py = 0; !(py > limit && px <= py); ++py) {
        if (d >= 0) {
            d += (py - px) * 4 + 6;
            px -= 1;
        } else {
            d += py * 4 + 2;
        }
        const QDPoint pts[8] = {{x + py, y + px}, {x - py, y + px}, {x + py, y - px},
                                {x - py, y - px}, {x + px, y + py}, {x - px, y + py},
                                {x + px, y - py}, {x - px, y - py}};
        for (const QDPoint& p : pts)
            SetPixelValue(p.x, p.y,
                          color == -1 ? ~static_cast<uint32_t>(GetPixelValue(p.x, p.y))
                                      : static_cast<uint32_t>(color));
    }
}

bool CDib::CopyFrom(int x, int y, int w, int h, const CDib& source, int sx, int sy, uint32_t rop) {
    QDR_CHECK_OR_RETURN(IsValid() && source.IsValid(), false);
    for (int j = 0; j < h; ++j)
        for (int i = 0; i < w; ++i) {
            const int64_t s = source.GetPixelColor(sx + i, sy + j), t = GetPixelColor(x + i, y + j);
            int64_t out;
            if (rop == SRCCOPY) {
                out = s;
            } else if (rop == SRCAND) {
                out = s & t;
            } else if (rop == SRCPAINT) {
                out = s | t;
            } else {
                return false;
            }
            if (s != -1 && t != -1) SetPixelColor(x + i, y + j, static_cast<QDColor>(out));
        }
    return true;
}

bool CDib::FlipVertical() {
    QDR_CHECK_OR_RETURN(IsValid(), false);
    SmartBuf<uint8_t, 4096> line(m_bytesPerLine);
    if (!line.Get()) return false;
    for (int i = 0; i < Height() / 2; ++i) {
        uint8_t* a = m_perLineAddr[i];
        uint8_t* b = m_perLineAddr[Height() - 1 - i];
        memcpy(line.Get(), a, static_cast<size_t>(m_bytesPerLine));
        memcpy(a, b, static_cast<size_t>(m_bytesPerLine));
        memcpy(b, line.Get(), static_cast<size_t>(m_bytesPerLine));
    }
    return true;
}

bool CDib::SetPalette(const QDRgbQuad* colors) {
    QDR_CHECK_OR_RETURN(IsValid() && HasPalette() && colors != nullptr, false);
    memmove(m_pal, colors, static_cast<size_t>(PaletteBytes()));
    RebuildColorMap();
    return true;
}

void CDib::ConvertTo565() {
    if (!IsValid() || BitsPerPixel() != 16) return;
    auto* words = reinterpret_cast<uint16_t*>(m_imageData);
    for (int64_t i = 0; i < int64_t{Height()} * m_bytesPerLine / 2; ++i)
        words[i] = static_cast<uint16_t>((words[i] << 1 & 0xFFE0) | 32 | (words[i] & 0x1F));
    is565 = true;
    lastColor = kClrInvalid;
}

void CDib::ConvertTo555() {
    if (!IsValid() || BitsPerPixel() != 16) return;
    auto* words = reinterpret_cast<uint16_t*>(m_imageData);
    for (int64_t i = 0; i < int64_t{Height()} * m_bytesPerLine / 2; ++i)
        words[i] = static_cast<uint16_t>((words[i] >> 1 & 0x7FE0) | (words[i] & 0x1F));
    is565 = false;
    lastColor = kClrInvalid;
}

bool CDib::CreateFromBitmap(QDBitmap bitmap, bool flip) {
    int width, height, stride;
    QDR_CHECK_OR_RETURN(drawos::BitmapSize(bitmap, &width, &height), false);
    QDR_CHECK_OR_RETURN(height >= 1, false);
    if (!Create(width, height, 32)) return false;
    // The bitmap's bits in their own (top-down) order, as GetBitmapBits gives them.
    const auto* bits = reinterpret_cast<const uint8_t*>(drawos::BitmapPixels(bitmap, &stride));
    for (int row = 0; row < height; ++row)
        memcpy(m_imageData + int64_t{row} * m_bytesPerLine, bits + int64_t{row} * stride,
               static_cast<size_t>(width) * 4);
    return !flip || FlipVertical();
}

bool CDib::Paint(QDDC dc, int x, int y, int w, int h, int sx, int sy, int sw, int sh,
                 uint32_t rop) const {
    QDR_CHECK_OR_RETURN(IsValid() && IsValidDC(dc), false);
    if (sw == -1) sw = Width() - sx;
    if (sh == -1) sh = Height() - sy;
    if (w == -1) w = sw;
    if (h == -1) h = sh;
    if (sw <= 0 || sh <= 0 || w <= 0 || h <= 0 || rop != SRCCOPY) return false;
    QDBitmap piece = CreateBitmap(sw, sh);
    if (!piece) return false;
    int stride;
    auto* px = reinterpret_cast<uint8_t*>(drawos::BitmapPixels(piece, &stride));
    for (int j = 0; j < sh; ++j)
        for (int i = 0; i < sw; ++i) {
            int64_t c = GetPixelValue(sx + i, sy + j);
            if (c != -1 && BitsPerPixel() < 16) {
                const QDRgbQuad& q = m_pal[c < m_palCount ? c : 0];
                c = QDRGB(q.rgbRed, q.rgbGreen, q.rgbBlue);
            }
            reinterpret_cast<uint32_t*>(px + int64_t{j} * stride)[i] =
                c == -1 ? 0 : SwapRedBlue(static_cast<uint32_t>(c));
        }
    drawos::MarkDirty(piece);
    const bool ok = drawos::PaintBitmap(dc, piece, {x, y, x + w, y + h}, {0, 0, sw, sh}, -1);
    DeleteBitmap(piece);
    return ok;
}

bool CDib::Tile(QDDC dc, const QDRect& rect, uint32_t rop) const {
    if (IsRectEmpty(rect)) return true;
    QDR_CHECK_OR_RETURN(IsValid(), false);
    for (int y = rect.top; y < rect.bottom; y += Height())
        for (int x = rect.left; x < rect.right; x += Width()) {
            const int w = rect.right - x < Width() ? rect.right - x : Width();
            const int h = rect.bottom - y < Height() ? rect.bottom - y : Height();
            if (!Paint(dc, x, y, w, h, 0, 0, w, h, rop)) return false;
        }
    return true;
}

bool CDib::Load(const char* fileName, bool flip) {
    QDR_CHECK_OR_RETURN(fileName != nullptr && IsValidFileName(GetFileNamePart(fileName)), false);
    Exports& lib = CodecLibrary();
    Codec& codec = CodecSlots();
    if (!lib.Bind(codec.fileType, "FileType") || !lib.Bind(codec.freeBlock, "FreeImageBlock"))
        return false;
    const int type = codec.fileType(fileName);
    if (type < 1 || type > 6 || !lib.Bind(codec.load[type - 1], kLoadNames[type - 1])) return false;
    auto* block = static_cast<uint8_t*>(codec.load[type - 1](fileName));
    if (!block) return false;
    QDBitmapInfoHeader info;
    memcpy(&info, block + kFileHeaderBytes, sizeof(info));
    const int bits = info.biBitCount, width = info.biWidth;
    bool ok = Create(width, info.biHeight, bits, (bits * width + 7) / 8, -1);
    if (ok) {
        const uint8_t* pixels = block + kHeadersBytes + m_palCount * 4;
        m_DIBInfo.biCompression = info.biCompression;
        if (bits == 16 && info.biCompression == 3) {
            uint32_t red;
            memcpy(&red, block + kHeadersBytes, 4);
            is565 = red == 0xF800;
            pixels += 12;
        }
        // Whole bytes of each row: (bits * width) / 8 would drop a last partial byte.
        const int rowBytes = (bits * width + 7) / 8;
        for (int row = 0; row < info.biHeight; ++row)
            memcpy(m_imageData + int64_t{row} * m_bytesPerLine, pixels + int64_t{row} * rowBytes,
                   static_cast<size_t>(rowBytes < m_bytesPerLine ? rowBytes : m_bytesPerLine));
        if (m_palCount) SetPalette(reinterpret_cast<const QDRgbQuad*>(block + kHeadersBytes));
        m_file = strdup(fileName);
    }
    codec.freeBlock(block);
    return ok && (!flip || FlipVertical());
}

bool CDib::Save(const char* fileName) {
    QDR_CHECK_OR_RETURN(IsValid() && BitsPerPixel() >= 8 && fileName != nullptr, false);
    const int64_t imageBytes = ImageBytes();
    auto* block =
        static_cast<uint8_t*>(calloc(static_cast<size_t>(imageBytes + PaletteBytes() + 66), 1));
    if (!block) return false;
    const uint32_t fileSize =
        static_cast<uint32_t>(kHeadersBytes + imageBytes + (BitsPerPixel() == 16 ? 12 : 0));
    const uint32_t offBits = kHeadersBytes;
    memcpy(block, "BM", 2);
    memcpy(block + 2, &fileSize, 4);
    memcpy(block + 10, &offBits, 4);
    QDBitmapInfoHeader info = m_DIBInfo;
    info.biSizeImage = static_cast<uint32_t>(imageBytes);
    memcpy(block + kFileHeaderBytes, &info, sizeof(info));
    uint8_t* p = block + kHeadersBytes;
    if (m_pal) memcpy(p, m_pal, static_cast<size_t>(PaletteBytes()));
    p += PaletteBytes();
    if (BitsPerPixel() == 16) {
        const uint32_t masks[3] = {is565 ? 0xF800u : 0x7C00u, is565 ? 0x7E0u : 0x3E0u, 0x1F};
        memcpy(p, masks, sizeof(masks));
        p += sizeof(masks);
    }
    for (int y = Height() - 1; y >= 0; --y, p += m_bytesPerLine)
        memcpy(p, m_perLineAddr[y], static_cast<size_t>(m_bytesPerLine));

    bool ok = false;
    const char* dot = strrchr(fileName, '.');
    static const char* const kExtensions[6] = {".bmp", ".jpg", ".gif", ".pcx", ".tga", ".tif"};
    static const int kSlots[6] = {0, 4, 1, 2, 3, 5};  // the save table's order, in load-table slots
    Exports& lib = CodecLibrary();
    Codec& codec = CodecSlots();
    for (int i = 0; dot && i < 6; ++i) {
        if (strcasecmp(dot, kExtensions[i]) != 0) continue;
        const int slot = kSlots[i];
        if (slot == 4)
            ok = lib.Bind(codec.saveJpg, "SaveJPG") && codec.saveJpg(fileName, block, 100);
        else
            ok = lib.Bind(codec.save[slot], kSaveNames[slot]) && codec.save[slot](fileName, block);
        break;
    }
    free(block);
    return ok;
}
