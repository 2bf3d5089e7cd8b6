// The per-program settings file in the temporary directory, and the recent-item
// list kept in it. The file is a small .ini text: "[section]" lines and "key=value"
// lines, rewritten whole under a temporary name and renamed on every write.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "moduleinfo.h"
#include "platform/winos.h"
#include "qdfdk.h"
#include "qdglib.h"
#include "qdr/platform/os.h"
#include "qdr/platform/os_files.h"
#include "qdr/qdassert.h"

namespace {

// Larger settings files are refused: reading gives the default, writing fails.
constexpr int kMaxSettingsBytes = 1 << 20;

bool ReadSettingsText(const char* path, std::string* text) {
    text->assign(kMaxSettingsBytes, '\0');
    const int n = winos::ReadSmallFile(path, &(*text)[0], kMaxSettingsBytes);
    text->resize(n < 0 ? 0 : static_cast<size_t>(n));
    return n >= 0;
}

std::string Trimmed(const std::string& s) {
    const size_t b = s.find_first_not_of(" \t\r\n");
    if (b == std::string::npos) return std::string();
    return s.substr(b, s.find_last_not_of(" \t\r\n") - b + 1);
}

// Where `key` of `section` stands in `text`: the line's start and end (end of the
// section when absent, npos for both when the section is absent).
void FindKey(const std::string& text, const std::string& section, const std::string& key,
             size_t* lineBegin, size_t* lineEnd, size_t* sectionEnd) {
    *lineBegin = *lineEnd = *sectionEnd = std::string::npos;
    bool inSection = false;
    for (size_t pos = 0; pos < text.size();) {
        size_t end = text.find('\n', pos);
        if (end == std::string::npos) end = text.size();
        const std::string line = Trimmed(text.substr(pos, end - pos));
        if (!line.empty() && line[0] == '[') {
            if (inSection) {
                *sectionEnd = pos;
                return;
            }
            inSection = line == "[" + section + "]";
        } else if (inSection) {
            const size_t eq = line.find('=');
            if (eq != std::string::npos && Trimmed(line.substr(0, eq)) == key) {
                *lineBegin = pos;
                *lineEnd = end < text.size() ? end + 1 : end;
                return;
            }
        }
        pos = end + 1;
    }
    if (inSection) *sectionEnd = text.size();
}

bool ReadProfileString(const char* path, const char* section, const char* key, std::string* value) {
    std::string text;
    if (!ReadSettingsText(path, &text)) return false;
    size_t begin, end, sectionEnd;
    FindKey(text, section, key, &begin, &end, &sectionEnd);
    if (begin == std::string::npos) return false;
    const std::string line = text.substr(begin, end - begin);
    *value = Trimmed(line.substr(line.find('=') + 1));
    return true;
}

bool WriteProfileString(const char* path, const char* section, const char* key, const char* value) {
    std::string text;
    if (!ReadSettingsText(path, &text) && os::FileAttributes(path) != os::kInvalidFileAttributes)
        return false;
    const std::string line = std::string(key) + "=" + value + "\n";
    size_t begin, end, sectionEnd;
    FindKey(text, section, key, &begin, &end, &sectionEnd);
    if (begin != std::string::npos) {
        text.replace(begin, end - begin, line);
    } else if (sectionEnd != std::string::npos) {
        if (sectionEnd > 0 && text[sectionEnd - 1] != '\n') text.insert(sectionEnd++, "\n");
        text.insert(sectionEnd, line);
    } else {
        if (!text.empty() && text.back() != '\n') text += '\n';
        text += "[" + std::string(section) + "]\n" + line;
    }
    if (text.size() >= kMaxSettingsBytes) return false;
    return winos::ReplaceFile(path, text.data(), static_cast<int>(text.size()));
}

}  // namespace

bool GetSettingsPath(char* outPath, bool useThisModule, char* outSection) {
    QDR_CHECK_OR_RETURN(outPath, false);
    outPath[0] = 0;
    char temp[512];
    if (os::TempDirectory(temp, sizeof(temp)) <= 0) return false;
    char program[512];
    if (useThisModule) {
        snprintf(program, sizeof(program), "%s", GetThisModulePathName());
    } else if (os::ProgramPath(program, sizeof(program)) <= 0) {
        return false;
    }
    const char* name = GetFileNamePart(program);
    if (name == program || !*name) return false;
    const size_t tempLen = strlen(temp);
    const bool separated = tempLen > 0 && (temp[tempLen - 1] == '/' || temp[tempLen - 1] == '\\');
    const int n = snprintf(outPath, 512, "%s%s%s.ini", temp, separated ? "" : "/", name);
    if (n <= 0 || n >= 512) {
        outPath[0] = 0;
        return false;
    }
    if (outSection) snprintf(outSection, 512, "%s", name);
    return true;
}

bool WriteSetting(const char* key, const char* value, bool useThisModule) {
    QDR_CHECK_OR_RETURN(key && *key && value, false);
    char path[512], section[512];
    return GetSettingsPath(path, useThisModule, section) &&
           WriteProfileString(path, section, key, value);
}

bool ReadSetting(const char* key, char* target, int targetSize, bool useThisModule,
                 const char* defaultText) {
    if (!target || targetSize == 0) return true;
    QDR_CHECK_OR_RETURN(key && defaultText && targetSize > 0, false);
    snprintf(target, static_cast<size_t>(targetSize), "%s", defaultText);
    char path[512], section[512];
    if (!GetSettingsPath(path, useThisModule, section)) return false;
    std::string value;
    if (ReadProfileString(path, section, key, &value))
        snprintf(target, static_cast<size_t>(targetSize), "%s", value.c_str());
    return true;
}

int ReadSettingInt(const char* key, int defaultValue, bool limited, int minLimited,
                   int maxLimited) {
    char text[256], defaultText[16];
    snprintf(defaultText, sizeof(defaultText), "%d", defaultValue);
    if (!ReadSetting(key, text, sizeof(text), false, defaultText)) return defaultValue;
    int value = atoi(text);
    if (limited) {
        QDR_CHECK_OR_RETURN(minLimited <= maxLimited, value);
        if (value < minLimited) value = minLimited;
        if (value > maxLimited) value = maxLimited;
    }
    return value;
}

RecentList::RecentList(int maxCount, const char* suffix)
    : maxCount_(maxCount), base_(std::string("EXERecentInfo") + (suffix ? suffix : "")) {}

bool RecentList::Add(const std::string& item) {
    if (static_cast<int>(items_.size()) >= maxCount_) return false;
    for (const std::string& have : items_)
        if (have == item) return false;
    items_.push_back(item);
    return true;
}

bool RecentList::Save(bool useThisModule) const {
    if (!WriteSetting((base_ + "Count").c_str(), std::to_string(items_.size()).c_str(),
                      useThisModule))
        return false;
    for (size_t i = 0; i < items_.size(); ++i)
        if (!WriteSetting((base_ + std::to_string(i)).c_str(), items_[i].c_str(), useThisModule))
            return false;
    return true;
}

void RecentList::Load(bool useThisModule) {
    items_.clear();
    char countText[16];
    ReadSetting((base_ + "Count").c_str(), countText, sizeof(countText), useThisModule, "0");
    const size_t digits = strspn(countText, "0123456789");
    if (digits == 0 || digits > 5 || countText[digits] != 0) return;
    int count = atoi(countText);
    if (count > maxCount_) count = maxCount_;
    for (int i = 0; i < count; ++i) {
        char item[512];
        ReadSetting((base_ + std::to_string(i)).c_str(), item, sizeof(item), useThisModule, "");
        Add(item);
    }
}
