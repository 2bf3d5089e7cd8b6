// libqdimage.so, the codec module: the image library's contract on GraphicsMagick.
// FileType(name) numbers a file 1 BMP, 2 GIF, 3 PCX, 4 TGA, 5 JPEG, 6 TIFF (0: none
// of them); Load<FMT>(name) gives a block laid out as a .bmp file (file header, info
// header, palette, rows bottom-up without padding), freed by FreeImageBlock;
// Save<FMT>(name, block) writes such a block (rows as the info header's image size
// says, a 16-bit image with its three masks after the header) and gives 1 or 0.
#include <magick/api.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <strings.h>

#define QDIMAGE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

constexpr int kHeaders = 54;
constexpr int64_t kMaxBlock = 512LL * 1024 * 1024;
const char* const kFormats[7] = {"", "BMP", "GIF", "PCX", "TGA", "JPEG", "TIFF"};

#pragma pack(push, 1)
struct InfoHeader {
    uint32_t size;
    int32_t width, height;
    uint16_t planes, bitCount;
    uint32_t compression, sizeImage;
    int32_t xPels, yPels;
    uint32_t clrUsed, clrImportant;
};
#pragma pack(pop)

void Init() {
    static std::once_flag once;
    std::call_once(once, [] {
        InitializeMagick(nullptr);
        // A header that claims a huge picture is refused before its pixels are.
        SetMagickResourceLimit(WidthResource, 32768);
        SetMagickResourceLimit(HeightResource, 32768);
        SetMagickResourceLimit(PixelsResource, 64LL * 1024 * 1024);
    });
}

// "FMT:name", so that each load or save function keeps to its own format.
bool Name(char* out, size_t cap, int type, const char* name) {
    return name && snprintf(out, cap, "%s:%s", kFormats[type], name) < static_cast<int>(cap);
}

Image* Read(int type, const char* name) {
    Init();
    ImageInfo* info = CloneImageInfo(nullptr);
    ExceptionInfo ex;
    GetExceptionInfo(&ex);
    Image* image = nullptr;
    if (Name(info->filename, sizeof(info->filename), type, name)) image = ReadImage(info, &ex);
    DestroyExceptionInfo(&ex);
    DestroyImageInfo(info);
    return image;
}

void* ToBlock(Image* image) {
    const int w = static_cast<int>(image->columns), h = static_cast<int>(image->rows);
    const bool indexed =
        image->storage_class == PseudoClass && image->colors <= 256 && image->colormap;
    const int bits = !indexed              ? (image->matte ? 32 : 24)
                     : image->colors <= 2  ? 1
                     : image->colors <= 16 ? 4
                                           : 8;
    const int palette = indexed ? 1 << bits : 0;
    const int64_t row = (int64_t{bits} * w + 7) / 8, offset = kHeaders + palette * 4;
    if (w < 1 || h < 1 || offset + row * h > kMaxBlock) return nullptr;
    auto* block = static_cast<uint8_t*>(calloc(static_cast<size_t>(offset + row * h), 1));
    if (!block) return nullptr;
    const uint32_t fileSize = static_cast<uint32_t>(offset + row * h),
                   off = static_cast<uint32_t>(offset);
    memcpy(block, "BM", 2);
    memcpy(block + 2, &fileSize, 4);
    memcpy(block + 10, &off, 4);
    const InfoHeader header{40,
                            w,
                            h,
                            1,
                            static_cast<uint16_t>(bits),
                            0,
                            static_cast<uint32_t>(row * h),
                            0,
                            0,
                            static_cast<uint32_t>(palette),
                            0};
    memcpy(block + 14, &header, sizeof(header));
    for (unsigned i = 0; indexed && i < image->colors; ++i) {
        uint8_t* q = block + kHeaders + i * 4;
        q[0] = ScaleQuantumToChar(image->colormap[i].blue);
        q[1] = ScaleQuantumToChar(image->colormap[i].green);
        q[2] = ScaleQuantumToChar(image->colormap[i].red);
    }
    ExceptionInfo ex;
    GetExceptionInfo(&ex);
    bool ok = true;
    for (int y = 0; ok && y < h; ++y) {
        const PixelPacket* p = AcquireImagePixels(image, 0, y, image->columns, 1, &ex);
        const IndexPacket* idx = indexed ? AccessImmutableIndexes(image) : nullptr;
        ok = p && (!indexed || idx);
        uint8_t* out = block + offset + row * (h - 1 - y);  // bottom-up
        for (int x = 0; ok && x < w; ++x) {
            if (indexed) {
                const unsigned v = idx[x];
                if (bits == 8)
                    out[x] = static_cast<uint8_t>(v);
                else if (bits == 4)
                    out[x >> 1] |= static_cast<uint8_t>(x & 1 ? v & 0xF : (v & 0xF) << 4);
                else
                    out[x >> 3] |= static_cast<uint8_t>((v & 1) << (7 - (x & 7)));
            } else {
                uint8_t* o = out + x * (bits / 8);
                o[0] = ScaleQuantumToChar(p[x].blue);
                o[1] = ScaleQuantumToChar(p[x].green);
                o[2] = ScaleQuantumToChar(p[x].red);
                if (bits == 32) o[3] = static_cast<uint8_t>(255 - ScaleQuantumToChar(p[x].opacity));
            }
        }
    }
    DestroyExceptionInfo(&ex);
    if (!ok) {
        free(block);
        return nullptr;
    }
    return block;
}

void* Load(int type, const char* name) {
    Image* image = Read(type, name);
    if (!image) return nullptr;
    void* block = ToBlock(image);  // the first frame
    DestroyImageList(image);
    return block;
}

int Info(int type, const char* name, int* width, int* height, int* bits) {
    Init();
    ImageInfo* info = CloneImageInfo(nullptr);
    ExceptionInfo ex;
    GetExceptionInfo(&ex);
    Image* image =
        Name(info->filename, sizeof(info->filename), type, name) ? PingImage(info, &ex) : nullptr;
    if (image) {
        if (width) *width = static_cast<int>(image->columns);
        if (height) *height = static_cast<int>(image->rows);
        if (bits) *bits = image->storage_class == PseudoClass ? 8 : image->matte ? 32 : 24;
        DestroyImageList(image);
    }
    DestroyExceptionInfo(&ex);
    DestroyImageInfo(info);
    return image != nullptr;
}

// 8 bits of the 16-bit value under `mask`.
uint8_t Channel(uint32_t v, uint32_t mask) {
    if (!mask) return 0;
    int shift = 0;
    while (!(mask >> shift & 1)) ++shift;
    return static_cast<uint8_t>(((v & mask) >> shift) * 255 / (mask >> shift));
}

unsigned char Save(int type, const char* name, const void* data, int quality) {
    if (!data) return 0;
    const auto* block = static_cast<const uint8_t*>(data);
    InfoHeader h;
    memcpy(&h, block + 14, sizeof(h));
    const int bits = h.bitCount, w = h.width, rows = h.height < 0 ? -h.height : h.height;
    if (memcmp(block, "BM", 2) != 0 || w < 1 || rows < 1 ||
        (bits != 8 && bits != 16 && bits != 24 && bits != 32))
        return 0;
    const int palette = bits == 8 ? (h.clrUsed ? static_cast<int>(h.clrUsed) : 256) : 0;
    const int64_t stride = h.sizeImage ? h.sizeImage / rows : ((int64_t{bits} * w + 31) / 32) * 4;
    if (palette > 256 || stride < int64_t{bits} * w / 8) return 0;
    const uint8_t* pixels = block + kHeaders + palette * 4 + (bits == 16 ? 12 : 0);
    uint32_t masks[3] = {0, 0, 0};
    if (bits == 16) memcpy(masks, block + kHeaders, sizeof(masks));

    Init();
    ImageInfo* info = CloneImageInfo(nullptr);
    Image* image = AllocateImage(info);
    bool ok = image != nullptr;
    if (ok) {
        image->columns = static_cast<unsigned long>(w);
        image->rows = static_cast<unsigned long>(rows);
        ok = bits != 8 || AllocateImageColormap(image, static_cast<unsigned long>(palette));
    }
    for (int i = 0; ok && i < palette; ++i) {
        const uint8_t* q = block + kHeaders + i * 4;
        image->colormap[i].blue = ScaleCharToQuantum(q[0]);
        image->colormap[i].green = ScaleCharToQuantum(q[1]);
        image->colormap[i].red = ScaleCharToQuantum(q[2]);
        image->colormap[i].opacity = OpaqueOpacity;
    }
    for (int y = 0; ok && y < rows; ++y) {
        PixelPacket* p = SetImagePixels(image, 0, y, image->columns, 1);
        IndexPacket* idx = bits == 8 ? AccessMutableIndexes(image) : nullptr;
        ok = p && (bits != 8 || idx);
        const uint8_t* in = pixels + stride * (h.height > 0 ? rows - 1 - y : y);
        for (int x = 0; ok && x < w; ++x) {
            if (bits == 8) {
                const int v = in[x] < palette ? in[x] : 0;
                idx[x] = static_cast<IndexPacket>(v);
                p[x] = image->colormap[v];
            } else if (bits == 16) {
                const uint32_t v = static_cast<uint32_t>(in[x * 2] | in[x * 2 + 1] << 8);
                p[x].red = ScaleCharToQuantum(Channel(v, masks[0]));
                p[x].green = ScaleCharToQuantum(Channel(v, masks[1]));
                p[x].blue = ScaleCharToQuantum(Channel(v, masks[2]));
                p[x].opacity = OpaqueOpacity;
            } else {
                const uint8_t* o = in + x * (bits / 8);
                p[x].blue = ScaleCharToQuantum(o[0]);
                p[x].green = ScaleCharToQuantum(o[1]);
                p[x].red = ScaleCharToQuantum(o[2]);
                p[x].opacity = OpaqueOpacity;
            }
        }
        ok = ok && SyncImagePixels(image);
    }
    if (ok) {
        info->quality = static_cast<unsigned long>(quality);
        ok = Name(info->filename, sizeof(info->filename), type, name) &&
             Name(image->filename, sizeof(image->filename), type, name) && WriteImage(info, image);
    }
    if (image) DestroyImage(image);
    DestroyImageInfo(info);
    return ok ? 1 : 0;
}

}  // namespace

QDIMAGE_EXPORT int FileType(const char* name) {
    FILE* f = name ? fopen(name, "rb") : nullptr;
    if (!f) return 0;
    unsigned char b[18] = {};
    const size_t n = fread(b, 1, sizeof(b), f);
    fclose(f);
    if (n >= 2 && b[0] == 'B' && b[1] == 'M') return 1;
    if (n >= 4 && memcmp(b, "GIF8", 4) == 0) return 2;
    if (n >= 4 && b[0] == 0x0A && b[1] <= 5 && b[2] <= 1) return 3;
    if (n >= 3 && b[0] == 0xFF && b[1] == 0xD8 && b[2] == 0xFF) return 5;
    if (n >= 4 && (memcmp(b, "II*\0", 4) == 0 || memcmp(b, "MM\0*", 4) == 0)) return 6;
    // TGA has no signature: its name and a known image type (1-3, 9-11) say it.
    const char* dot = strrchr(name, '.');
    if (n == sizeof(b) && dot && strcasecmp(dot, ".tga") == 0 &&
        ((b[2] >= 1 && b[2] <= 3) || (b[2] >= 9 && b[2] <= 11)))
        return 4;
    return 0;
}

QDIMAGE_EXPORT void FreeImageBlock(void* block) {
    free(block);
}

#define QDIMAGE_FORMAT(FMT, TYPE)                                                             \
    QDIMAGE_EXPORT void* Load##FMT(const char* name) {                                        \
        return Load(TYPE, name);                                                              \
    }                                                                                         \
    QDIMAGE_EXPORT int Get##FMT##Info(const char* name, int* width, int* height, int* bits) { \
        return Info(TYPE, name, width, height, bits);                                         \
    }
QDIMAGE_FORMAT(BMP, 1)
QDIMAGE_FORMAT(GIF, 2)
QDIMAGE_FORMAT(PCX, 3)
QDIMAGE_FORMAT(TGA, 4)
QDIMAGE_FORMAT(JPG, 5)
QDIMAGE_FORMAT(TIF, 6)

QDIMAGE_EXPORT unsigned char SaveBMP(const char* name, const void* block) {
    return Save(1, name, block, 0);
}
QDIMAGE_EXPORT unsigned char SaveGIF(const char* name, const void* block) {
    return Save(2, name, block, 0);
}
QDIMAGE_EXPORT unsigned char SavePCX(const char* name, const void* block) {
    return Save(3, name, block, 0);
}
QDIMAGE_EXPORT unsigned char SaveTGA(const char* name, const void* block) {
    return Save(4, name, block, 0);
}
QDIMAGE_EXPORT unsigned char SaveTIF(const char* name, const void* block) {
    return Save(6, name, block, 0);
}
QDIMAGE_EXPORT unsigned char SaveJPG(const char* name, const void* block, int quality) {
    return Save(5, name, block, quality);
}
