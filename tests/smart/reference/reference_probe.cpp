// One answer per input line, for check_against_python.py (run under the zone's TZ):
//   text MSEL LOCAL MILLI -> MSELToDateText or "null";  parse TEXT LOCAL MILLI ->
//   DateTextToMSEL;  add|sub|mul A B -> the arithmetic, "wide-differs" when the wide
//   form does not give the same digits.
#include <iostream>
#include <sstream>
#include <string>

#include "numstr.h"
#include "qdtime.h"

template <class CHAR>
std::basic_string<CHAR> Compute(const std::string& op, const std::string& a, const std::string& b) {
    const std::basic_string<CHAR> x(a.begin(), a.end()), y(b.begin(), b.end());
    std::basic_string<CHAR> r;
    return op == "add"   ? AddNumStr(r, x.c_str(), y.c_str())
           : op == "sub" ? SubNumStr(r, x.c_str(), y.c_str())
                         : MulNumStr(r, x.c_str(), y.c_str());
}

int main() {
    std::string line, op, a, b;
    while (std::getline(std::cin, line)) {
        std::istringstream in(line);
        int local = 0, milli = 0;
        in >> op >> a >> local >> milli;
        char text[32];
        if (op == "text") {
            const char* r = MSELToDateText(std::stoll(a), text, milli, false, 0, local);
            std::cout << (r ? r : "null") << '\n';
        } else if (op == "parse") {
            std::cout << DateTextToMSEL(a.c_str(), static_cast<int>(a.size()), milli, local)
                      << '\n';
        } else {
            std::istringstream(line) >> op >> a >> b;
            const std::string narrow = Compute<char>(op, a, b);
            const bool same =
                Compute<char16_t>(op, a, b) == std::u16string(narrow.begin(), narrow.end());
            std::cout << (same ? narrow : "wide-differs") << '\n';
        }
    }
    return 0;
}
