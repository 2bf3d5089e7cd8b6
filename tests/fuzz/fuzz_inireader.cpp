// IniReader on any file: no failed check, and for text without a byte-order mark
// every key of a plain model of the syntax is found with its value. The sets order
// bytes above 0x7F by the key's length (quickstringset.h), which is no order at all
// for a mix of names; the model is compared where all names are below 0x80.
// Input: the file's bytes; a UTF-16 text of odd size (a reported breach by design)
// loses its last byte.
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <map>
#include <string>

#include "fuzz_support.h"
#include "inireader.h"

namespace {

typedef std::map<std::string, std::map<std::string, std::string>> Model;

std::string Trimmed(const std::string& s) {
    const size_t b = s.find_first_not_of(" \t\r\n");
    return b == std::string::npos ? "" : s.substr(b, s.find_last_not_of(" \t\r\n") - b + 1);
}

// The syntax as stated, line by line.
Model Parse(const std::string& text) {
    Model model;
    std::string section;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = std::min(text.find_first_of("\r\n", start), text.size());
        const std::string raw = text.substr(start, end - start);
        start = end + 1;
        if (raw.empty() || raw[0] == '#') continue;
        const std::string line = Trimmed(raw);
        if (line.empty()) continue;
        if (line[0] == '[') {
            if (line.size() >= 2 && line.back() == ']')
                section = Trimmed(line.substr(1, line.size() - 2));
        } else if (!section.empty() && line.find('=') != std::string::npos) {
            const size_t eq = line.find('=');
            model[section].emplace(Trimmed(line.substr(0, eq)), Trimmed(line.substr(eq + 1)));
        }
    }
    return model;
}

// Names that a caller can ask for: no NUL inside, no '#'.
bool Askable(const std::string& name) {
    return name.find('\0') == std::string::npos && name.find('#') == std::string::npos;
}

template <class MAP>
bool OrderedNames(const MAP& map) {
    for (const auto& item : map)
        for (unsigned char c : item.first)
            if (c >= 0x80) return false;
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > static_cast<size_t>(IniReader::kMaxFileBytes)) return 0;
    static const std::string path = "/tmp/fuzz_inireader-" + std::to_string(getpid()) + ".ini";
    std::string bytes(reinterpret_cast<const char*>(data), size);
    const bool wide =
        size >= 2 && ((data[0] == 0xFF && data[1] == 0xFE) || (data[0] == 0xFE && data[1] == 0xFF));
    if (wide && size % 2) bytes.pop_back();
    if (!(std::ofstream(path, std::ios::binary) << bytes)) return 0;
    const IniReader reader(path.c_str());

    char out[IniReader::kMaxFileBytes + 1];
    const bool marked = wide || (size >= 3 && memcmp(data, "\xEF\xBB\xBF", 3) == 0);
    if (marked) {
        reader.GetInt("level", "error", 1, true, 0, 5);
        return 0;
    }
    const Model model = Parse(bytes);
    if (!OrderedNames(model)) return 0;
    if (static_cast<int>(model.size()) != reader.SectionCount()) FuzzFinding("sections");
    for (const auto& section : model) {
        if (!Askable(section.first) || !OrderedNames(section.second)) continue;
        for (const auto& key : section.second) {
            if (!Askable(key.first)) continue;
            const int n = reader.GetString(section.first.c_str(), key.first.c_str(), nullptr, out,
                                           sizeof(out));
            if (std::string(out, static_cast<size_t>(n)) != key.second) FuzzFinding("value");
        }
        if (!section.second.count("\001absent") &&
            reader.GetString(section.first.c_str(), "\001absent", "d", out, 2) != 1)
            FuzzFinding("absent key");
    }
    return 0;
}
