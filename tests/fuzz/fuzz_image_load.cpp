// Image files through the codec module: the first byte picks the format, the rest
// is the file. Loading gives a valid image of a sane size or fails; nothing crashes.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

#include "dib.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    static const char* const kExtensions[6] = {".bmp", ".gif", ".pcx", ".tga", ".jpg", ".tif"};
    const std::string path =
        "/tmp/fuzz_image_load_" + std::to_string(getpid()) + kExtensions[data[0] % 6];
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(data + 1), size - 1);
    CDib image(path.c_str(), false);
    if (image.IsValid() &&
        (image.Width() < 1 || image.Height() < 1 || image.GetPixelValue(0, 0) == -1))
        FuzzFinding("a loaded image without pixels");
    remove(path.c_str());
    return 0;
}
