// Calendar and time-text routines; see qdtime.h.
#include "qdtime.h"

#include "strdk_match.h"

#include <atomic>
#include <cstdio>
#include <cstring>

#include "qdr/qdatomic.h"

namespace {

constexpr MSEL kLastMSEL = 2147443200000LL;
constexpr MSEL kDayMSEL = 24 * 3600 * 1000;

// Ordinals of MSEL 0 and of the last MSEL, in UTC and in local time, computed on
// first use. The UTC lower bound is stored last and read first, so non-zero means
// all four are there; two threads that compute at once store the same values.
std::atomic<int64_t> g_utcLow{0};
std::atomic<int64_t> g_utcHigh{0};
std::atomic<int64_t> g_localLow{0};
std::atomic<int64_t> g_localHigh{0};

int64_t OrdinalOf(const SYSTEMTIME& t) {
    return SystemTimeOrdinal(t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond,
                             t.wMilliseconds);
}

int64_t OrdinalOfMSEL(MSEL msel, bool isLocal) {
    return OrdinalOf(GetSystemTimeOfMSEL(msel, isLocal));
}

void ComputeRangeBounds() {
    g_utcHigh.store(OrdinalOfMSEL(kLastMSEL, false), std::memory_order_relaxed);
    g_localLow.store(OrdinalOfMSEL(0, true), std::memory_order_relaxed);
    g_localHigh.store(OrdinalOfMSEL(kLastMSEL, true), std::memory_order_relaxed);
    g_utcLow.store(OrdinalOfMSEL(0, false), std::memory_order_release);
}

std::atomic<MSEL> g_ownStartMSEL{-1};

// Writes `value` with at least `width` digits, zero-padded, as "%0*u" does.
template <class CHAR>
CHAR* PutPadded(CHAR* out, unsigned value, int width) {
    CHAR reversed[12];
    int n = 0;
    do {
        reversed[n++] = static_cast<CHAR>('0' + value % 10);
        value /= 10;
    } while (value);
    while (n < width) reversed[n++] = '0';
    while (n) *out++ = reversed[--n];
    return out;
}

// 0 for "english" in any case, 1 for "中文简体" exactly, -1 for any other key.
int LanguageIndex(const char* language) {
    if (!language) return -1;
    static const char kEnglish[] = "english";
    size_t i = 0;
    for (; kEnglish[i]; ++i) {
        char c = language[i];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c != kEnglish[i]) break;
    }
    if (!kEnglish[i] && !language[i]) return 0;
    return strcmp(language, "中文简体") == 0 ? 1 : -1;
}

// The nice value that a priority class stands for, and what a thread priority adds
// to it. The idle and time-critical thread priorities pin the ends of the scale, as
// they pin the ends of their class.
//   NORMAL class, HIGHEST -> -4; BELOW_NORMAL class, NORMAL -> 10; any class, IDLE -> 19
struct PriorityNice {
    int64_t priority;
    int nice;
};
constexpr PriorityNice kClassNice[] = {
    {IDLE_PRIORITY_CLASS, 19},  {BELOW_NORMAL_PRIORITY_CLASS, 10},
    {NORMAL_PRIORITY_CLASS, 0}, {ABOVE_NORMAL_PRIORITY_CLASS, -5},
    {HIGH_PRIORITY_CLASS, -10}, {REALTIME_PRIORITY_CLASS, -20},
};
constexpr PriorityNice kThreadNiceStep[] = {
    {THREAD_PRIORITY_LOWEST, 4},           {THREAD_PRIORITY_BELOW_NORMAL, 2},
    {THREAD_PRIORITY_NORMAL, 0},           {THREAD_PRIORITY_ABOVE_NORMAL, -2},
    {THREAD_PRIORITY_HIGHEST, -4},         {THREAD_PRIORITY_IDLE, 100},
    {THREAD_PRIORITY_TIME_CRITICAL, -100},
};

template <size_t N>
bool LookUpNice(const PriorityNice (&table)[N], int64_t priority, int* nice) {
    for (const PriorityNice& entry : table) {
        if (entry.priority != priority) continue;
        *nice = entry.nice;
        return true;
    }
    return false;
}

int ClampNice(int nice) {
    return nice < -20 ? -20 : nice > 19 ? 19 : nice;
}

}  // namespace

bool IsLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int GetMonthDays(int year, int month) {
    static const int kMonthDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    return month == 2 && IsLeapYear(year) ? 29 : kMonthDays[month - 1];
}

bool IsValidDate(int year, int month, int day) {
    const int days = GetMonthDays(year, month);
    return days != 0 && 1 <= day && day <= days;
}

SYSTEMTIME MakeSystemTime(int year, int month, int day, int hour, int minute, int second,
                          int milli) {
    SYSTEMTIME t;
    t.wYear = static_cast<uint16_t>(year);
    t.wMonth = static_cast<uint16_t>(month);
    t.wDayOfWeek = 0;
    t.wDay = static_cast<uint16_t>(day);
    t.wHour = static_cast<uint16_t>(hour);
    t.wMinute = static_cast<uint16_t>(minute);
    t.wSecond = static_cast<uint16_t>(second);
    t.wMilliseconds = static_cast<uint16_t>(milli);
    return t;
}

bool IsValidSystemTime(const SYSTEMTIME& time, bool isLocal, bool checkWeekDay) {
    return IsValidDate(time.wYear, time.wMonth, time.wDay) && time.wHour < 24 &&
           time.wMinute <= 59 && time.wSecond < 60 && time.wMilliseconds <= 999 &&
           CheckSystemTimeRange(time, isLocal) == 0 && (!checkWeekDay || time.wDayOfWeek < 7);
}

int CheckSystemTimeRange(const SYSTEMTIME& time, bool isLocal) {
    if (g_utcLow.load(std::memory_order_acquire) == 0) ComputeRangeBounds();
    const int64_t low = (isLocal ? g_localLow : g_utcLow).load(std::memory_order_relaxed);
    const int64_t high = (isLocal ? g_localHigh : g_utcHigh).load(std::memory_order_relaxed);
    const int64_t ordinal = OrdinalOf(time);
    return ordinal < low ? -1 : ordinal > high ? 1 : 0;
}

int64_t SystemTimeOrdinal(int year, int month, int day, int hour, int minute, int second,
                          int milli) {
    // The report shows these expressions as written.
    QDR_CHECK(IsValidDate(year, month, day));
    QDR_CHECK(0<=hour && hour<=23);
    QDR_CHECK(0<=minute && minute<=59);
    QDR_CHECK(0<=second && second<=59);
    QDR_CHECK(0<=milli && milli<=999);
    return (((((static_cast<int64_t>(year) * 12 + month - 1) * 31 + day - 1) * 24 + hour) * 60 +
             minute) *
                60 +
            second) *
               1000 +
           milli;
}

MSEL SystemTimeToMSEL(const SYSTEMTIME& time, bool isLocal) {
    if (!IsValidSystemTime(time, isLocal, false)) return -1;
    std::tm fields = {};
    fields.tm_year = time.wYear - 1900;
    fields.tm_mon = time.wMonth - 1;
    fields.tm_mday = time.wDay;
    fields.tm_hour = time.wHour;
    fields.tm_min = time.wMinute;
    fields.tm_sec = time.wSecond;
    fields.tm_isdst = -1;
    const int64_t lt = os::MakeLocalTime(&fields);
    QDR_CHECK(lt != -1);
    if (lt == -1) return -1;
    MSEL msel = lt * 1000 + time.wMilliseconds;
    if (!isLocal) msel += GetLocalZoneOffset();
    return msel;
}

int64_t GetLocalZoneOffset() {
    return -static_cast<int64_t>(os::StandardZoneMinutesWest()) * 60 * 1000;
}

int SplitDayMilliseconds(uint32_t dw, int* hour, int* minute, int* second, int* milli) {
    QDR_CHECK(dw < 24*3600*1000);
    const int hours = static_cast<int>(dw / 3600000);
    if (hour) *hour = hours;
    if (minute) *minute = static_cast<int>(dw / 60000 % 60);
    if (second) *second = static_cast<int>(dw / 1000 % 60);
    if (milli) *milli = static_cast<int>(dw % 1000);
    return hours;
}

MSEL GetProcessStartMSEL(uint32_t pid, bool checkAlive) {
    MSEL start = -1;
    if (pid == 0) {
        QDR_CHECK(os::ProcessStartMs(0, false, &start));
    } else if (!os::ProcessStartMs(pid, checkAlive, &start)) {
        return -1;
    }
    return IsValidMSEL(start) ? start : -1;
}

MSEL GetProcessStartMSELCached(uint32_t pid, bool checkAlive) {
    if (pid != 0 && pid != os::CurrentProcessId()) return GetProcessStartMSEL(pid, checkAlive);
    MSEL start = g_ownStartMSEL.load(std::memory_order_relaxed);
    if (start == -1) {
        start = GetProcessStartMSEL(0, checkAlive);
        g_ownStartMSEL.store(start, std::memory_order_relaxed);
    }
    return start;
}

MSEL GetThreadStartMSEL(uint32_t tid) {
    if (tid == OSThreadSelf()) tid = 0;
    MSEL start = -1;
    if (!os::ThreadStartMs(tid, &start)) return -1;
    return IsValidMSEL(start) ? start : -1;
}

char* MSELToDateText(MSEL msel, char* dest, bool withMilli, bool withSeparator, char separator,
                     bool isLocal) {
    if (!dest) {
        QDR_CHECK(false);
        return nullptr;
    }
    if (!IsValidMSEL(msel)) return nullptr;
    if (!isLocal && msel < kDayMSEL) return nullptr;
    SYSTEMTIME t;
    if (!MSELToSystemTime(msel, &t, isLocal)) return nullptr;
    const char middle[2] = {withSeparator ? separator : '\0', '\0'};
    // A valid time fills 14 to 18 characters; the test only keeps the compiler from
    // counting the 16-bit fields at five digits each.
    int length;
    if (withMilli)
        length = snprintf(dest, 32, "%04d%02d%02d%s%02d%02d%02d%03d", t.wYear, t.wMonth, t.wDay,
                          middle, t.wHour, t.wMinute, t.wSecond, t.wMilliseconds);
    else
        length = snprintf(dest, 32, "%04d%02d%02d%s%02d%02d%02d", t.wYear, t.wMonth, t.wDay, middle,
                          t.wHour, t.wMinute, t.wSecond);
    return length < 32 ? dest : nullptr;
}

MSEL DateTextToMSEL(const char* text, bool withMilli, bool isLocal) {
    QDR_CHECK_OR_RETURN(text, -1);
    char digits[18];
    memcpy(digits, text, withMilli ? 17 : 14);
    if (!withMilli) memcpy(digits + 14, "000", 3);
    digits[17] = '\0';
    if (!MatchingString(digits, "#################", 0, 17)) return -1;
    int year, month, day, hour, minute, second, milli;
    const int taken = sscanf(digits, "%4d%2d%2d%2d%2d%2d%3d", &year, &month, &day, &hour, &minute,
                             &second, &milli);
    QDR_CHECK(7 == taken);
    if (taken != 7) return -1;
    const SYSTEMTIME t = MakeSystemTime(year, month, day, hour, minute, second, milli);
    if (!IsValidSystemTime(t, isLocal, true)) return -1;
    return SystemTimeToMSEL(t, isLocal);
}

MSEL DateTextToMSEL(const char* text, int textLen, bool withMilli, bool isLocal) {
    QDR_CHECK_OR_RETURN(text, -1);
    if (textLen < 0) textLen = static_cast<int>(strlen(text));
    if (textLen < (withMilli ? 17 : 14)) return -1;
    return DateTextToMSEL(text, withMilli, isLocal);
}

// The text of "%04d%c%02d%c%02d %02d%c%02d%c%02d%c%03d", written by hand so that the
// narrow and the wide form are one body.
template <class CHAR>
CHAR* FormatSystemTime(CHAR* dest, const SYSTEMTIME& time, bool withMilli,
                       NonDeduced<CHAR> dateSeparator, NonDeduced<CHAR> timeSeparator,
                       NonDeduced<CHAR> milliSeparator) {
    QDR_CHECK_OR_RETURN(dest, nullptr);
    CHAR text[48];  // room for every field at five digits
    CHAR* p = PutPadded(text, time.wYear, 4);
    *p++ = dateSeparator;
    p = PutPadded(p, time.wMonth, 2);
    *p++ = dateSeparator;
    p = PutPadded(p, time.wDay, 2);
    *p++ = ' ';
    p = PutPadded(p, time.wHour, 2);
    *p++ = timeSeparator;
    p = PutPadded(p, time.wMinute, 2);
    *p++ = timeSeparator;
    p = PutPadded(p, time.wSecond, 2);
    if (withMilli) {
        *p++ = milliSeparator;
        p = PutPadded(p, time.wMilliseconds, 3);
    }
    int length = static_cast<int>(p - text);
    if (length > kSystemTimeTextSize - 1) length = kSystemTimeTextSize - 1;
    memcpy(dest, text, static_cast<size_t>(length) * sizeof(CHAR));
    dest[length] = 0;
    return dest;
}

template <class CHAR>
std::basic_string<CHAR>& FormatSystemTime(std::basic_string<CHAR>& dest, const SYSTEMTIME& time,
                                          bool withMilli, NonDeduced<CHAR> dateSeparator,
                                          NonDeduced<CHAR> timeSeparator,
                                          NonDeduced<CHAR> milliSeparator) {
    CHAR text[kSystemTimeTextSize];
    dest = FormatSystemTime(text, time, withMilli, dateSeparator, timeSeparator, milliSeparator);
    return dest;
}

template char* FormatSystemTime<char>(char*, const SYSTEMTIME&, bool, char, char, char);
template char16_t* FormatSystemTime<char16_t>(char16_t*, const SYSTEMTIME&, bool, char16_t,
                                              char16_t, char16_t);
template std::string& FormatSystemTime<char>(std::string&, const SYSTEMTIME&, bool, char, char,
                                             char);
template std::u16string& FormatSystemTime<char16_t>(std::u16string&, const SYSTEMTIME&, bool,
                                                    char16_t, char16_t, char16_t);

char* FormatDuration(const char* language, char* dest, int64_t milliseconds, bool withMilli,
                     bool keepAll, int* days, int* hours, int* minutes, int* seconds, int* millis) {
    static const char* const kForms[2][5] = {
        {"%dDays", "%dHours", "%dMinutes", "%dSeconds", "%dMSELs"},
        {"%d天", "%d小时", "%d分", "%d秒", "%d毫秒"},
    };
    QDR_CHECK_OR_RETURN(dest, nullptr);
    if (!IsValidMSEL(milliseconds)) return nullptr;
    const int lang = LanguageIndex(language) == 1 ? 1 : 0;
    if (!withMilli) milliseconds -= milliseconds % 1000;
    const bool zero = milliseconds == 0;
    int parts[5];
    parts[4] = static_cast<int>(milliseconds % 1000);
    milliseconds /= 1000;
    parts[3] = static_cast<int>(milliseconds % 60);
    milliseconds /= 60;
    parts[2] = static_cast<int>(milliseconds % 60);
    milliseconds /= 60;
    parts[1] = static_cast<int>(milliseconds % 24);
    parts[0] = static_cast<int>(milliseconds / 24);
    int* const outputs[5] = {days, hours, minutes, seconds, millis};
    for (int i = 0; i < 5; ++i)
        if (outputs[i]) *outputs[i] = parts[i];

    if (zero) {
        snprintf(dest, kDurationTextSize, kForms[lang][withMilli ? 4 : 3], 0);
        return dest;
    }
    // keepAll also looks at the milliseconds without withMilli, where they are 0
    // by now, so it shows nothing more.
    const int last = withMilli || keepAll ? 4 : 3;
    int first = 0;
    while (parts[first] == 0) ++first;
    int used = 0;
    dest[0] = '\0';
    for (int i = first; i <= last && used < kDurationTextSize; ++i) {
        if (parts[i] == 0) continue;
        used += snprintf(dest + used, static_cast<size_t>(kDurationTextSize - used),
                         kForms[lang][i], parts[i]);
    }
    return dest;
}

const char* GetWeekDayName(int day, const char* language) {
    static const char* const kNames[2][7] = {
        {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"},
        {"星期日", "星期一", "星期二", "星期三", "星期四", "星期五", "星期六"},
    };
    const int lang = LanguageIndex(language);
    if (day < 0 || day > 6 || lang < 0) return "";
    return kNames[lang][day];
}

int64_t GetCpuFrequency() {
    static OSSpinLock lock = 0;
    static std::atomic<bool> known{false};
    static std::atomic<int64_t> hertz{0x80000000LL};
    if (known.load(std::memory_order_acquire)) return hertz.load(std::memory_order_relaxed);
    AutoSpinLock guard(&lock, 1);
    if (!known.load(std::memory_order_relaxed)) {
        uint32_t mhz = 0;
        char error[160] = "";
        if (os::CpuMegahertz(&mhz, error, sizeof(error)))
            hertz.store(static_cast<int64_t>(mhz) * 1000000, std::memory_order_relaxed);
        else
            QDR_CHECK_MSG(false, "获取CPU时钟频率失败（读取注册表失败，%s）", error);
        known.store(true, std::memory_order_release);
    }
    return hertz.load(std::memory_order_relaxed);
}

AutoPriority::AutoPriority(bool raiseNow, uint32_t priorityClass, int threadPriority)
    : targetNice_(0), thread_(OSThreadSelf()), savedNice_(0), raised_(false) {
    int classNice = 0;
    int threadStep = 0;
    const bool knownClass = LookUpNice(kClassNice, priorityClass, &classNice);
    const bool knownThreadPriority = LookUpNice(kThreadNiceStep, threadPriority, &threadStep);
    QDR_CHECK(knownClass);
    QDR_CHECK(knownThreadPriority);
    targetNice_ = ClampNice(classNice + threadStep);
    if (raiseNow) Raise();
}

AutoPriority::~AutoPriority() {
    Restore();
}

void AutoPriority::Raise() {
    if (raised_) return;
    if (!os::GetThreadNice(thread_, &savedNice_)) return;
    os::SetThreadNice(thread_, targetNice_);  // refused: the thread keeps its priority
    raised_ = true;
}

void AutoPriority::Restore() {
    if (!raised_) return;
    os::SetThreadNice(thread_, savedNice_);
    raised_ = false;
}
