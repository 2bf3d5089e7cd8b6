// Small helpers: system error texts, names beside the module, code pages, GUID
// texts and a lenient integer parser.
#include <cstdio>
#include <cstring>
#include <string>

#include "chartransform.h"
#include "moduleinfo.h"
#include "platform/winos.h"
#include "qdfdk.h"
#include "qdglib.h"
#include "qdr/qdassert.h"

namespace {

// The closing marks of a Chinese system text, in UTF-8: 。，；！
const char* const kClosingMarks[] = {"\xE3\x80\x82", "\xEF\xBC\x8C", "\xEF\xBC\x9B",
                                     "\xEF\xBC\x81"};

bool IsValidSettingFileName(const char* name) {
    return name && *name && strlen(name) < 512 && !strpbrk(name, "<>:|/\\\"");
}

}  // namespace

void TrimSystemErrorText(char* text) {
    QDR_CHECK_OR_RETURN(text);
    size_t end = strlen(text);
    for (;;) {
        bool mark = false;
        for (const char* m : kClosingMarks) {
            const size_t n = strlen(m);
            if (end >= n && memcmp(text + end - n, m, n) == 0) {
                end -= n;
                mark = true;
                break;
            }
        }
        if (mark) continue;
        if (end > 0 && strchr(" \r\n\t", text[end - 1])) {
            --end;
            continue;
        }
        break;
    }
    text[end] = 0;
}

char* FormatSystemError(char* outText, int code) {
    QDR_CHECK_OR_RETURN(outText, outText);
    char text[512];
    winos::ErrorText(code, text, sizeof(text));
    TrimSystemErrorText(text);
    sprintf(outText, "%s(%d)", text, code);
    return outText;
}

std::string FormatSystemError(int code) {
    char text[600];
    return FormatSystemError(text, code);
}

char* BuildFilePathBesideModule(char* outPath, bool mustExist, bool useThisModule,
                                const char* fileName) {
    QDR_CHECK_OR_RETURN(outPath, outPath);
    outPath[0] = 0;
    if (!IsValidSettingFileName(fileName)) return outPath;
    const char* dir = useThisModule ? GetThisModuleDir() : GetExeDir();
    if (!ComposeFileName(dir, fileName, outPath) || (mustExist && !IsExistFile(outPath)))
        outPath[0] = 0;
    return outPath;
}

bool ConvertCodePage(int codePage, const char* source, char* target, int targetSize) {
    if (!source || !target || targetSize <= static_cast<int>(strlen(source))) return false;
    const int len = static_cast<int>(strlen(source));
    bool ok = codePage == 0 || codePage == 65001;
    if (ok) {
        std::u16string wide(static_cast<size_t>(len) + 1, u'\0');
        int wideLen = len + 1;
        Utf8ToUnicode(source, -1, &wide[0], &wideLen);
        int narrowLen = targetSize;
        ok = wideLen > 0;
        if (ok) UnicodeToUtf8(wide.c_str(), -1, target, &narrowLen);
        ok = ok && narrowLen > 0;
    }
    if (!ok) memcpy(target, source, static_cast<size_t>(len) + 1);
    return ok;
}

char* FormatGuid(uint32_t data1, uint32_t data2and3, uint32_t data4a, uint32_t data4b,
                 char* target) {
    QDR_CHECK_OR_RETURN(target, target);
    unsigned char b[8];
    memcpy(b, &data4a, 4);
    memcpy(b + 4, &data4b, 4);
    sprintf(target, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", data1, data2and3 & 0xFFFF,
            data2and3 >> 16, b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7]);
    return target;
}

int ParseIntW(const char16_t* text) {
    QDR_CHECK_OR_RETURN(text, 0);
    while (*text == u' ') ++text;
    bool negative = false;
    if (*text == u'-' || *text == u'+') negative = *text++ == u'-';
    unsigned value = 0;
    for (; *text >= u'0' && *text <= u'9'; ++text) value = value * 10 + (*text - u'0');
    return static_cast<int>(negative ? 0u - value : value);
}
