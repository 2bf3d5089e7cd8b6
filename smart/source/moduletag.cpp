// Module handles, the tag in a module file, the modules of a process and the
// comparison of module names.
#include <cstring>
#include <string>

#include "binary.h"
#include "chartransform.h"
#include "moduleinfo.h"
#include "ptrstr.h"
#include "qdfdk.h"
#include "qdr/platform/os.h"
#include "smartstr.h"
#include "smlib.h"
#include "strdk.h"
#include "strdk_match.h"

namespace {

const char kBeginTag[] = "ModuleInfoBegin|";
const char kEndTag[] = "|ModuleInfoEnd";

// The scan in units of UNIT: every length in units, every step in bytes times the
// width, and the zero character a zero unit.
template <class UNIT>
const unsigned char* FindTagOfWidth(const void* modBin, int binLen, const UNIT* beginTag,
                                    int beginLen, int infoLen, const UNIT* endTag, int endLen) {
    QDR_CHECK_OR_RETURN(modBin && binLen>0, nullptr);
    QDR_CHECK_OR_RETURN(beginTag && beginLen>0, nullptr);
    QDR_CHECK_OR_RETURN(infoLen>0, nullptr);
    QDR_CHECK_OR_RETURN(endTag && endLen>0, nullptr);
    const int w = static_cast<int>(sizeof(UNIT));
    const auto* start = static_cast<const unsigned char*>(modBin);
    const unsigned char* end = start + static_cast<int64_t>(binLen) * w;
    for (const unsigned char* p = start; p < end;) {
        const auto* b = static_cast<const unsigned char*>(
            FindMem(p, static_cast<int>(end - p), beginTag, beginLen * w));
        if (!b) return nullptr;
        const auto* e = static_cast<const unsigned char*>(
            FindMem(b, static_cast<int>(end - b), endTag, endLen * w));
        if (!e) return nullptr;
        if (e - b == static_cast<int64_t>(beginLen + infoLen) * w) {
            const unsigned char* info = b + beginLen * w;
            bool hasZero = false;
            for (int i = 0; i < infoLen && !hasZero; ++i) {
                UNIT unit;
                memcpy(&unit, info + i * w, sizeof(unit));
                hasZero = unit == 0;
            }
            if (!hasZero) return info;
        }
        p = b + beginLen * w;
    }
    return nullptr;
}

// The ASCII markers widened to UNIT, then the scan.
template <class UNIT>
const unsigned char* FindTagWidened(const void* modBin, int binBytes) {
    UNIT begin[kModuleTagBeginChars], end[kModuleTagEndChars];
    for (int i = 0; i < kModuleTagBeginChars; ++i) begin[i] = static_cast<UNIT>(kBeginTag[i]);
    for (int i = 0; i < kModuleTagEndChars; ++i) end[i] = static_cast<UNIT>(kEndTag[i]);
    const int units = binBytes / static_cast<int>(sizeof(UNIT));
    if (units < 1) return nullptr;
    return FindTagOfWidth<UNIT>(modBin, units, begin, kModuleTagBeginChars, kModuleTagInfoChars,
                                end, kModuleTagEndChars);
}

struct WalkState {
    void* param;
    bool (*callback)(void*, const char*);
    const char* patterns;
    bool stopped;
};

void VisitMapped(void* state, const char* path) {
    auto* s = static_cast<WalkState*>(state);
    if (s->stopped || (s->patterns && !MatchingFileNames(path, s->patterns, 0, msf_ignore_case)))
        return;
    if (!s->callback(s->param, path)) s->stopped = true;
}

template <class CHAR>
std::string NarrowName(const CHAR* name);
template <>
std::string NarrowName(const char* name) {
    return name;
}
template <>
std::string NarrowName(const char16_t* name) {
    return SmartStr(name, -1).c_str();
}

}  // namespace

ModuleHandle GetThisModuleHandle() {
    return os::ModuleBaseOf(reinterpret_cast<const void*>(&GetThisModuleHandle));
}

ModuleHandle GetModuleHandleByAddress(const void* address) {
    const ModuleHandle handle = os::ModuleBaseOf(address);
    return IsModuleHandle(handle) ? handle : 0;
}

bool IsModuleHandle(ModuleHandle handle) {
    return handle != 0 && os::ModuleBaseOf(reinterpret_cast<const void*>(handle)) == handle;
}

const void* FindModuleTag(const void* modBin, int binLen, int* charSize) {
    const unsigned char* info = nullptr;
    int width = 0;
    if ((info = FindTagWidened<unsigned char>(modBin, binLen)))
        width = 1;
    else if ((info = FindTagWidened<uint16_t>(modBin, binLen)))
        width = 2;
    else if ((info = FindTagWidened<uint32_t>(modBin, binLen)))
        width = 4;
    if (charSize) *charSize = width;
    return info;
}

char* ReadModuleTagFile(const char* path, char* info, char* suffix) {
    if (!path || !info || !suffix) {
        QDR_CHECK(false);
        return nullptr;
    }
    Binary image;
    if (!ReadFileToBinary(path, image) || image.Size() < 1) return nullptr;
    int width = 0;
    const auto* tag =
        static_cast<const unsigned char*>(FindModuleTag(image.Data(), image.Size(), &width));
    if (!tag) return nullptr;
    const unsigned char* behind = tag + (kModuleTagInfoChars + kModuleTagEndChars) * width;
    char narrow[kModuleTagInfoChars];
    if (width == 1) {
        memcpy(suffix, behind, kModuleTagSuffixChars);
        memcpy(narrow, tag, kModuleTagInfoChars);
    } else if (width == 2 || width == 4) {
        for (int i = 0; i < kModuleTagInfoChars; ++i) {
            narrow[i] = static_cast<char>(tag[i * width]);
            if (narrow[i] & 0x80) {
                QDR_CHECK(false);
                return nullptr;
            }
        }
        for (int i = 0; i < kModuleTagSuffixChars; ++i)
            suffix[i] = static_cast<char>(behind[i * width]);
    } else {
        QDR_CHECK(false);
        return nullptr;
    }
    suffix[kModuleTagSuffixChars] = 0;
    return TrimModuleTagInfo(narrow, info);
}

const char* CallModuleTagInfo(ModuleHandle module) {
    void* symbol = os::ModuleSymbol(module, "GetModuleTagInfo");
    if (!symbol) return nullptr;
    return reinterpret_cast<const char* (*)()>(symbol)();
}

int EnumProcessModules(void* param, bool (*callback)(void* param, const char* pathName),
                       uint32_t pid, const char* patterns) {
    if (!callback) {
        QDR_CHECK(false);
        return 0;
    }
    if (pid == os::CurrentProcessId()) pid = 0;
    WalkState state{param, callback, patterns, false};
    return os::EachMappedModule(pid, VisitMapped, &state) ? 1 : 0;
}

template <class CHAR>
bool IsSameModule(const CHAR* mod1, const CHAR* mod2) {
    QDR_CHECK_OR_RETURN(((0==mod1 && 0==-1) || AfxIsValidString(mod1, (int)-1)), false);
    QDR_CHECK_OR_RETURN(((0==mod2 && 0==-1) || AfxIsValidString(mod2, (int)-1)), false);
    if (CompareCharsUntil(mod1, mod2, CHAR(0), -1, -1, msf_ignore_case) == 0) return true;
    const std::string name1 = NarrowName(mod1), name2 = NarrowName(mod2);
    const uintptr_t h1 = os::LoadedModuleBase(name1.c_str());
    const uintptr_t h2 = os::LoadedModuleBase(name2.c_str());
    if (h1 || h2) return h1 == h2;
    const std::basic_string<CHAR> full1 =
        ComposeFileName(GetDirName(mod1).c_str(), GetFileNamePart(mod1));
    const std::basic_string<CHAR> full2 =
        ComposeFileName(GetDirName(mod2).c_str(), GetFileNamePart(mod2));
    return CompareCharsUntil(full1.c_str(), full2.c_str(), CHAR(0), -1, -1, msf_ignore_case) == 0;
}

template bool IsSameModule<char>(const char*, const char*);
template bool IsSameModule<char16_t>(const char16_t*, const char16_t*);
