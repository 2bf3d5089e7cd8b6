// Numbers as text; see numstr.h. Every routine is one template over the code unit,
// instantiated for char and char16_t at the end of the file.
#include "numstr.h"

#include <algorithm>
#include <cstdio>
#include <type_traits>

#include "ptrstr.h"
#include "qdr/qdassert.h"
#include "smartbuf.h"

namespace {

template <class CHAR>
bool IsNumLetter(CHAR c) {
    return c >= '0' && c <= '9';
}

// The unit as an unsigned number, so that bytes above 0x7F compare above ASCII.
template <class CHAR>
unsigned UnitValue(CHAR c) {
    return static_cast<typename std::make_unsigned<CHAR>::type>(c);
}

// Folds a-z only.
unsigned ToUpperLetter(unsigned c) {
    return c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c;
}

// The i-th digit from the right, '0' beyond the start of the text.
template <class CHAR>
CHAR DigitFromRight(const CHAR* num, int len, int i) {
    return i < len ? num[len - 1 - i] : CHAR('0');
}

// The column walk of addition and subtraction: `width` digits from the right, the
// shorter input padded with zeros on the left. `step` makes a result digit from two
// digits and updates the carry. A non-digit leaves `out` empty.
template <class CHAR, class Step>
bool WalkColumns(CHAR* out, int width, const CHAR* a, int lenA, const CHAR* b, int lenB,
                 Step step) {
    out[width] = 0;
    int carry = 0;
    for (int i = 0; i < width; ++i) {
        const CHAR x = DigitFromRight(a, lenA, i);
        const CHAR y = DigitFromRight(b, lenB, i);
        if (!IsNumLetter(x) || !IsNumLetter(y)) {
            out[0] = 0;
            return false;
        }
        out[width - 1 - i] = static_cast<CHAR>('0' + step(x - '0', y - '0', &carry));
    }
    return true;
}

// The entry of the column walks: `out` must be given; an empty input leaves it empty.
template <class CHAR>
bool PrepareOperands(CHAR* out, const CHAR* a, const CHAR* b, int* lenA, int* lenB) {
    QDR_CHECK(out);
    if (!out) return false;
    *lenA = MeasureIfNegative(a, *lenA);
    *lenB = MeasureIfNegative(b, *lenB);
    if (*lenA < 1 || *lenB < 1) {
        out[0] = 0;
        return false;
    }
    return true;
}

template <class CHAR>
using ArithmeticForm = CHAR* (*)(CHAR*, const CHAR*, const CHAR*, int, int);

// The text-object forms: the pointer form `form` runs on a scratch buffer that is
// large enough for any of the three, and its result is copied out.
template <class CHAR>
std::basic_string<CHAR>& ComputeIntoText(std::basic_string<CHAR>& out, ArithmeticForm<CHAR> form,
                                         const CHAR* a, const CHAR* b, int lenA, int lenB) {
    SmartBuf<CHAR, 256> scratch(MeasureIfNegative(a, lenA) + MeasureIfNegative(b, lenB) + 2);
    const CHAR* result = scratch.Get() ? form(scratch.Get(), a, b, lenA, lenB) : nullptr;
    if (result)
        out.assign(result);
    else
        out.clear();
    return out;
}

// Length of the token at `text`: a whole digit run, or one other unit.
template <class CHAR>
int TokenLength(const CHAR* text, int left) {
    if (!IsNumLetter(text[0])) return 1;
    int n = 1;
    while (n < left && IsNumLetter(text[n])) ++n;
    return n;
}

}  // namespace

template <class CHAR>
bool IsNumStr(const CHAR* num, int len) {
    if (!num) return false;
    if (len >= 0) {
        QDR_CHECK(len > 0);
        if (len == 0) return false;
    }
    len = MeasureIfNegative(num, len);
    if (len == 0) return false;
    for (int i = 0; i < len; ++i)
        if (!IsNumLetter(num[i])) return false;
    return true;
}

template <class CHAR>
int CompareNumStr(const CHAR* num1, const CHAR* num2, int len1, int len2) {
    len1 = MeasureIfNegative(num1, len1);
    len2 = MeasureIfNegative(num2, len2);
    // clang-format off
    QDR_CHECK(len1>0 && len2>0);
    // clang-format on
    if (len1 <= 0 || len2 <= 0) return (len1 > 0) - (len2 > 0);
    int zeros1 = 0;
    int zeros2 = 0;
    while (zeros1 < len1 && num1[zeros1] == '0') ++zeros1;
    while (zeros2 < len2 && num2[zeros2] == '0') ++zeros2;
    const int rest1 = len1 - zeros1;
    const int rest2 = len2 - zeros2;
    if (rest1 != rest2) return rest1 < rest2 ? -1 : 1;
    for (int i = 0; i < rest1; ++i) {
        const unsigned a = UnitValue(num1[zeros1 + i]);
        const unsigned b = UnitValue(num2[zeros2 + i]);
        if (a != b) return static_cast<int>(a) - static_cast<int>(b);
    }
    // Equal values: the text with fewer leading zeros is the smaller.
    return zeros1 - zeros2;
}

template <class CHAR>
int CompareDigitRuns(int* consumed, const CHAR* s1, const CHAR* s2, int limit) {
    if (consumed) *consumed = 0;
    if (!s1 || !s2) {
        QDR_CHECK(s1 && s2);
        return 0;
    }
    QDR_CHECK(IsNumLetter(*s1) && IsNumLetter(*s2));
    if (!IsNumLetter(*s1) || !IsNumLetter(*s2)) return 0;
    int walked = 0;
    int result = 0;
    for (; limit < 0 || walked < limit; ++walked) {
        const bool digit1 = IsNumLetter(s1[walked]);
        const bool digit2 = IsNumLetter(s2[walked]);
        if (digit1 != digit2) {
            result = digit1 ? 1 : -1;
            break;
        }
        if (!digit1) break;
        if (result == 0)
            result =
                static_cast<int>(UnitValue(s1[walked])) - static_cast<int>(UnitValue(s2[walked]));
    }
    if (consumed) *consumed = walked;
    return result;
}

template <class CHAR>
int CompareStrNatural(const CHAR* num1, const CHAR* num2, int len1, int len2, bool caseSensitive) {
    if (num1 == num2 && len1 == len2) return 0;
    len1 = MeasureIfNegative(num1, len1);
    len2 = MeasureIfNegative(num2, len2);
    // 0: nothing, 1: integer digits seen, 2: a dot after them, 3: fraction digits.
    int state = 0;
    int i = 0;
    int j = 0;
    for (;;) {
        const bool end1 = i >= len1;
        const bool end2 = j >= len2;
        if (end1 || end2) return end1 && end2 ? 0 : end1 ? -1 : 1;
        const int token1 = TokenLength(num1 + i, len1 - i);
        const int token2 = TokenLength(num2 + j, len2 - j);
        if (IsNumLetter(num1[i]) && IsNumLetter(num2[j]))
            state = state == 0 ? 1 : state == 2 ? 3 : 0;
        else if (token1 == 1 && token2 == 1 && num1[i] == '.' && num2[j] == '.')
            state = state == 1 ? 2 : 0;
        else
            state = 0;

        if (state == 3) {
            // Fraction digits compare as text: "5" after "1." is above "25".
            const int shorter = std::min(token1, token2);
            for (int k = 0; k < shorter; ++k) {
                const unsigned a = UnitValue(num1[i + k]);
                const unsigned b = UnitValue(num2[j + k]);
                if (a != b) return static_cast<int>(a) - static_cast<int>(b);
            }
            if (token1 != token2) return token1 < token2 ? -1 : 1;
            state = 0;
        } else if (token1 > 1 || token2 > 1) {
            const int order = CompareNumStr(num1 + i, num2 + j, token1, token2);
            if (order) return order;
        } else {
            unsigned a = UnitValue(num1[i]);
            unsigned b = UnitValue(num2[j]);
            if (!caseSensitive) {
                a = ToUpperLetter(a);
                b = ToUpperLetter(b);
            }
            if (a != b) return static_cast<int>(a) - static_cast<int>(b);
        }
        i += token1;
        j += token2;
    }
}

template <class CHAR>
int CompareStrNumbered(const CHAR* s1, const CHAR* s2, int limit, bool caseSensitive) {
    if (!s1 || !s2) {
        QDR_CHECK(s1 && s2);
        return 0;
    }
    int i = 0;
    while ((limit < 0 || i < limit) && s1[i] && s2[i]) {
        if (IsNumLetter(s1[i]) && IsNumLetter(s2[i])) {
            int consumed = 0;
            const int order =
                CompareDigitRuns(&consumed, s1 + i, s2 + i, limit < 0 ? -1 : limit - i);
            if (order) return order;
            i += consumed;
            continue;
        }
        if (s1[i] != s2[i]) {
            if (caseSensitive) break;
            const unsigned a = ToUpperLetter(UnitValue(s1[i]));
            const unsigned b = ToUpperLetter(UnitValue(s2[i]));
            if (a != b) return static_cast<int>(a) - static_cast<int>(b);
        }
        ++i;
    }
    return static_cast<int>(UnitValue(s1[i])) - static_cast<int>(UnitValue(s2[i]));
}

template <class CHAR>
CHAR* AddNumStr(CHAR* added, const CHAR* summand, const CHAR* addend, int summand_len,
                int addend_len) {
    if (!PrepareOperands(added, summand, addend, &summand_len, &addend_len)) return added;
    // One spare digit for the carry; only that one zero is skipped, so leading
    // zeros of the inputs stay: "007" + "1" -> "008".
    const int width = std::max(summand_len, addend_len) + 1;
    const bool ok = WalkColumns(added, width, summand, summand_len, addend, addend_len,
                                [](int x, int y, int* carry) {
                                    int sum = x + y + *carry;
                                    *carry = sum >= 10;
                                    return *carry ? sum - 10 : sum;
                                });
    return ok && added[0] == '0' ? added + 1 : added;
}

template <class CHAR>
CHAR* SubNumStr(CHAR* result, const CHAR* minuend, const CHAR* subtrahend, int minuend_len,
                int subtrahend_len) {
    if (!PrepareOperands(result, minuend, subtrahend, &minuend_len, &subtrahend_len)) return result;
    // The last borrow is dropped: a larger subtrahend gives the ten's complement.
    WalkColumns(result, std::max(minuend_len, subtrahend_len), minuend, minuend_len, subtrahend,
                subtrahend_len, [](int x, int y, int* borrow) {
                    int difference = x - y - *borrow;
                    *borrow = difference < 0;
                    return *borrow ? difference + 10 : difference;
                });
    return result;
}

template <class CHAR>
CHAR* MulNumStr(CHAR* multipled, const CHAR* multiplicand, const CHAR* multiplier,
                int multiplicand_len, int multiplier_len) {
    QDR_CHECK(multipled);
    if (!multipled) return nullptr;
    multipled[0] = 0;
    if (!IsNumStr(multiplicand, multiplicand_len) || !IsNumStr(multiplier, multiplier_len))
        return multipled;
    multiplicand_len = MeasureIfNegative(multiplicand, multiplicand_len);
    multiplier_len = MeasureIfNegative(multiplier, multiplier_len);

    // Repeated addition, deliberately simple: for each multiplier digit from the
    // right, the multiplicand added that many times, shifted by the digit's
    // position, goes onto the product. Sums are made in `sum` and copied back.
    const int capacity = multiplicand_len + multiplier_len + 2;
    SmartBuf<CHAR, 256> product(capacity), partial(capacity), sum(capacity);
    if (!product.Get() || !partial.Get() || !sum.Get()) return multipled;
    typedef std::char_traits<CHAR> Traits;
    const CHAR kZero[] = {'0', 0};
    Traits::copy(product.Get(), kZero, 2);
    for (int position = 0; position < multiplier_len; ++position) {
        Traits::copy(partial.Get(), kZero, 2);
        const int digit = multiplier[multiplier_len - 1 - position] - '0';
        for (int k = 0; k < digit; ++k) {
            const CHAR* s = AddNumStr(sum.Get(), partial.Get(), multiplicand, -1, multiplicand_len);
            if (!*s) return multipled;
            Traits::move(partial.Get(), s, Traits::length(s) + 1);
        }
        int partialLen = static_cast<int>(Traits::length(partial.Get()));
        Traits::assign(partial.Get() + partialLen, static_cast<size_t>(position), CHAR('0'));
        partialLen += position;
        partial[partialLen] = 0;
        const CHAR* s = AddNumStr(sum.Get(), product.Get(), partial.Get(), -1, partialLen);
        if (!*s) return multipled;
        Traits::move(product.Get(), s, Traits::length(s) + 1);
    }
    const CHAR* digits = product.Get();
    while (digits[0] == '0' && digits[1]) ++digits;
    Traits::copy(multipled, digits, Traits::length(digits) + 1);
    return multipled;
}

template <class CHAR>
std::basic_string<CHAR>& AddNumStr(std::basic_string<CHAR>& added, const CHAR* summand,
                                   const CHAR* addend, int summand_len, int addend_len) {
    return ComputeIntoText<CHAR>(added, AddNumStr, summand, addend, summand_len, addend_len);
}

template <class CHAR>
std::basic_string<CHAR>& SubNumStr(std::basic_string<CHAR>& result, const CHAR* minuend,
                                   const CHAR* subtrahend, int minuend_len, int subtrahend_len) {
    return ComputeIntoText<CHAR>(result, SubNumStr, minuend, subtrahend, minuend_len,
                                 subtrahend_len);
}

template <class CHAR>
std::basic_string<CHAR>& MulNumStr(std::basic_string<CHAR>& multipled, const CHAR* multiplicand,
                                   const CHAR* multiplier, int multiplicand_len,
                                   int multiplier_len) {
    return ComputeIntoText<CHAR>(multipled, MulNumStr, multiplicand, multiplier, multiplicand_len,
                                 multiplier_len);
}

template <class CHAR>
std::basic_string<CHAR>& AddIntToNumStr(std::basic_string<CHAR>& result, const CHAR* num, int value,
                                        int len) {
    CHAR magnitude[kIntTextSize];
    IntToStr(magnitude, value < 0 ? -static_cast<int64_t>(value) : value, 10);
    const ArithmeticForm<CHAR> form =
        value < 0 ? ArithmeticForm<CHAR>(SubNumStr) : ArithmeticForm<CHAR>(AddNumStr);
    return ComputeIntoText<CHAR>(result, form, num, magnitude, len, -1);
}

template <class CHAR>
CHAR* IntToStr(CHAR* buf, int64_t value, int radix, int* len) {
    QDR_CHECK(buf);
    if (!buf) return nullptr;
    // clang-format off
    QDR_CHECK(2<=radix && radix<=36);
    // clang-format on
    int length = 0;
    if (2 <= radix && radix <= 36) {
        const bool negative = radix == 10 && value < 0;
        uint64_t rest = static_cast<uint64_t>(value);
        if (negative) rest = 0 - rest;
        CHAR reversed[64];
        int n = 0;
        do {
            const int digit = static_cast<int>(rest % static_cast<unsigned>(radix));
            reversed[n++] = static_cast<CHAR>(digit < 10 ? '0' + digit : 'A' + digit - 10);
            rest /= static_cast<unsigned>(radix);
        } while (rest);
        if (negative) buf[length++] = '-';
        while (n) buf[length++] = reversed[--n];
    }
    buf[length] = 0;
    if (len) *len = length;
    return buf;
}

template <class CHAR>
CHAR* IntToGroupedStr(CHAR* buf, int64_t value, int radix, int minDigits, int groupSize,
                      NonDeduced<CHAR> separator, bool upperCase) {
    int length = 0;
    if (!IntToStr(buf, value, radix, &length)) return nullptr;
    if (radix >= 11 && !upperCase)
        for (int i = 0; i < length; ++i)
            if (buf[i] >= 'A' && buf[i] <= 'Z') buf[i] = static_cast<CHAR>(buf[i] + ('a' - 'A'));
    if (length == 0 || (minDigits <= 0 && groupSize <= 0)) return buf;

    typedef std::char_traits<CHAR> Traits;
    CHAR* digits = buf[0] == '-' ? buf + 1 : buf;
    int count = length - static_cast<int>(digits - buf);
    if (minDigits > count) {
        Traits::move(digits + (minDigits - count), digits, static_cast<size_t>(count) + 1);
        Traits::assign(digits, static_cast<size_t>(minDigits - count), CHAR('0'));
        count = minDigits;
    }
    if (groupSize > 0) {
        // From the right, so that every digit moves once: "1234567" -> "1,234,567".
        int from = count - 1;
        int to = count + (count - 1) / groupSize;
        digits[to--] = 0;
        for (int inGroup = 1; from >= 0; ++inGroup) {
            digits[to--] = digits[from--];
            if (inGroup == groupSize && from >= 0) {
                digits[to--] = separator;
                inGroup = 0;
            }
        }
    }
    return buf;
}

template <class CHAR>
int64_t StrToInt64(const CHAR* text) {
    QDR_CHECK(text);
    if (!text) return 0;
    while (*text == ' ' || *text == '\t') ++text;
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    uint64_t value = 0;
    for (; IsNumLetter(*text); ++text) value = value * 10 + static_cast<unsigned>(*text - '0');
    return static_cast<int64_t>(negative ? 0 - value : value);
}

template <class CHAR>
CHAR* FormatByteSize(int64_t value, CHAR* buf, int precision) {
    if (!buf) {
        QDR_CHECK(false);
        return nullptr;
    }
    CHAR* out = buf;
    uint64_t size = static_cast<uint64_t>(value);
    if (value < 0) {
        *out++ = '-';
        size = 0 - size;
    }
    int digits = 0;
    if (size < 1024) {
        IntToStr(out, static_cast<int64_t>(size), 10, &digits);
        out[digits] = 'B';
        out[digits + 1] = 0;
        return buf;
    }
    // K below 2^20, M below 2^30, G below 2^40, T from there on.
    int step = 1;
    while (step < 4 && size >> (10 * (step + 1)) != 0) ++step;
    if (precision < 0 || precision > 3 * step) precision = 3 * step;
    const uint64_t whole = size >> (10 * step);
    double fraction = static_cast<double>(size - (whole << (10 * step)));
    for (int i = 0; i < step; ++i) fraction /= 1024;
    IntToStr(out, static_cast<int64_t>(whole), 10, &digits);

    // "%.Nf" prints "0.xxx" ("1.xxx" when it rounds up). It goes over the whole
    // number's last digit, which is put back, so a round-up is lost: 2047 at
    // precision 1 gives "1K".
    char text[32];
    const int n = snprintf(text, sizeof(text), "%.*f", precision, fraction);
    CHAR* last = out + digits - 1;
    const CHAR kept = *last;
    bool hasPoint = false;
    for (int i = 0; i < n; ++i) {
        last[i] = static_cast<CHAR>(text[i]);
        hasPoint = hasPoint || text[i] == '.';
    }
    last[0] = kept;
    CHAR* end = last + n;
    // Trailing zeros of the fraction go, and the point when nothing is left behind it.
    if (hasPoint) {
        while (end[-1] == '0') --end;
        if (end[-1] == '.') --end;
    }
    end[0] = static_cast<CHAR>("KMGT"[step - 1]);
    end[1] = 0;
    return buf;
}

template <class CHAR>
bool ParseByteSize(const CHAR* text, int64_t* value, int len) {
    QDR_CHECK(value);
    if (!value || !text) return false;
    len = MeasureIfNegative(text, len);
    if (len <= 0) return false;
    int digits = len;
    int64_t unit = 1;
    if (!IsNumLetter(text[len - 1])) {
        switch (ToUpperLetter(UnitValue(text[len - 1]))) {
            case 'B':
                unit = 1;
                break;
            case 'K':
                unit = int64_t(1) << 10;
                break;
            case 'M':
                unit = int64_t(1) << 20;
                break;
            case 'G':
                unit = int64_t(1) << 30;
                break;
            case 'T':
                unit = int64_t(1) << 40;
                break;
            default:
                return false;
        }
        digits = len - 1;
    }
    if (!FitsInt64Product(text, digits, unit)) return false;
    uint64_t number = 0;
    for (int i = 0; i < digits; ++i) number = number * 10 + static_cast<unsigned>(text[i] - '0');
    *value = static_cast<int64_t>(number) * unit;
    return true;
}

template <class CHAR>
bool FitsInt64Product(const CHAR* num, int len, int64_t unit) {
    QDR_CHECK(unit > 0);
    if (unit <= 0 || !num || len == 0) return false;
    if (!IsNumStr(num, len)) return false;
    CHAR limit[kIntTextSize];
    IntToStr(limit, INT64_MAX / unit, 10);
    return CompareStrNatural(num, limit, len, -1, true) <= 0;
}

template <class CHAR>
bool IsProductStr(const CHAR* text) {
    if (!text || !*text) return false;
    bool wantDigit = true;  // at the start and after each '*'
    for (; *text; ++text) {
        if (IsNumLetter(*text))
            wantDigit = false;
        else if (*text == '*' && !wantDigit)
            wantDigit = true;
        else
            return false;
    }
    return !wantDigit;
}

template <class CHAR>
bool EvalProductStr(int64_t* value, const CHAR* text) {
    QDR_CHECK(value);
    if (!value || !IsProductStr(text)) return false;
    uint64_t product = 1;
    uint64_t run = 0;
    for (; *text; ++text) {
        if (IsNumLetter(*text)) {
            run = run * 10 + static_cast<unsigned>(*text - '0');
        } else {
            product *= run;
            run = 0;
        }
    }
    *value = static_cast<int64_t>(product * run);
    return true;
}

#define QD_INSTANTIATE_NUMSTR(CHAR)                                                               \
    template bool IsNumStr<CHAR>(const CHAR*, int);                                               \
    template int CompareNumStr<CHAR>(const CHAR*, const CHAR*, int, int);                         \
    template int CompareDigitRuns<CHAR>(int*, const CHAR*, const CHAR*, int);                     \
    template int CompareStrNatural<CHAR>(const CHAR*, const CHAR*, int, int, bool);               \
    template int CompareStrNumbered<CHAR>(const CHAR*, const CHAR*, int, bool);                   \
    template CHAR* AddNumStr<CHAR>(CHAR*, const CHAR*, const CHAR*, int, int);                    \
    template CHAR* SubNumStr<CHAR>(CHAR*, const CHAR*, const CHAR*, int, int);                    \
    template CHAR* MulNumStr<CHAR>(CHAR*, const CHAR*, const CHAR*, int, int);                    \
    template std::basic_string<CHAR>& AddNumStr<CHAR>(std::basic_string<CHAR>&, const CHAR*,      \
                                                      const CHAR*, int, int);                     \
    template std::basic_string<CHAR>& SubNumStr<CHAR>(std::basic_string<CHAR>&, const CHAR*,      \
                                                      const CHAR*, int, int);                     \
    template std::basic_string<CHAR>& MulNumStr<CHAR>(std::basic_string<CHAR>&, const CHAR*,      \
                                                      const CHAR*, int, int);                     \
    template std::basic_string<CHAR>& AddIntToNumStr<CHAR>(std::basic_string<CHAR>&, const CHAR*, \
                                                           int, int);                             \
    template CHAR* IntToStr<CHAR>(CHAR*, int64_t, int, int*);                                     \
    template CHAR* IntToGroupedStr<CHAR>(CHAR*, int64_t, int, int, int, CHAR, bool);              \
    template int64_t StrToInt64<CHAR>(const CHAR*);                                               \
    template CHAR* FormatByteSize<CHAR>(int64_t, CHAR*, int);                                     \
    template bool ParseByteSize<CHAR>(const CHAR*, int64_t*, int);                                \
    template bool FitsInt64Product<CHAR>(const CHAR*, int, int64_t);                              \
    template bool IsProductStr<CHAR>(const CHAR*);                                                \
    template bool EvalProductStr<CHAR>(int64_t*, const CHAR*);

QD_INSTANTIATE_NUMSTR(char)
QD_INSTANTIATE_NUMSTR(char16_t)
