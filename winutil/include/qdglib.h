// Process-wide questions and small chores: the system's version, the names of
// named kernel objects, and (below) processes, errors, settings and CPU load.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "qdr/qdsync.h"

// The version numbers of GetWindowsVersion.
enum WindowsVersion : int {
    Unknown_WinVer = 0,
    Win32s = 1,
    Windows_95_98 = 2,
    Windows_NT = 3,
    Windows_2000 = 4,
    Windows_XP = 5,
    Windows_Vista = 6,
    Windows_Longhorn = 7,
    Windows_7 = 8,
    Windows_8 = 9,
};

// What the version query reports; `versionWord` is the plain GetVersion() word of
// the platforms other than NT.
struct VersionRecord {
    int platformId;  // 2: the NT family
    int major;
    int minor;
    int productType;  // 1: workstation
    uint32_t versionWord;
};
// The version table.  {2, 6, 0, 1} -> 7;  {2, 6, 0, 3} -> 6;  {2, 10, 0, 1} -> 3
int ClassifyWindowsVersion(const VersionRecord& record);
// Computed once. Linux answers as an NT-family system after the table: Windows_NT,
// so that named objects get the "Global\" prefix.
int GetWindowsVersion();
// "Windows_NT" for 3; "Invalid_WinVer" outside 0..9.
const char* GetWindowsVersionName();
const char* WindowsVersionName(int version);

// The name of a named kernel object: "Global\%s%s" from Windows_NT on, else "%s%s";
// a null suffix counts as empty. `outName` must hold the text.
char* MakeGlobalName(char* outName, const char* name, const char* suffix);
std::string MakeGlobalName(const char* name, const char* suffix);

// ---- threads and processes ----------------------------------------------------

// Whether the caller is the process's first thread.
bool IsMainThread();
// Whether a process runs `modFileName`: compared with the whole image path when
// `matchFullPath` is set, else with its file name, ignoring case. `*outPid` gets the
// first hit; `outPids` (may be null) every hit. A process that ends while it is
// looked at is skipped.
bool FindProcessByFile(const char* modFileName, uint32_t* outPid, bool matchFullPath,
                       std::vector<uint32_t>* outPids = nullptr);
// The image path of a process (0: this one) into `outPath` (512 bytes).
bool GetProcessFileName(uint32_t process, char* outPath);
// The program's arguments, without the program itself.
void GetCommandLineArgs(std::vector<std::string>& outList);

// ---- starting things ------------------------------------------------------------

// Opens an existing document with its desktop application (xdg-open). The show
// command and parent window have no meaning here.
bool LaunchFile(const char* file, const char* parameters = nullptr, int showCommand = 1,
                void* parent = nullptr);
// Linux has no server registration: false for a missing file, and false for an
// existing one after the check, as a failed registration.
bool RegisterServerFile(void* parent, const char* file);
// Starts "/bin/sh -c cmdLine" (cut at 511 bytes) without waiting; the pid or 0.
uint32_t StartProcess(const char* cmdLine, bool newConsole = false, const char* desktop = nullptr);
// Runs "/bin/sh -c cmdLine". With `wait` it returns once the command ended (its exit
// code is not passed out) and `*outHandle` stays 0; without, `*outHandle` receives
// the pid. False when the shell could not be started.
bool RunProcess(const char* cmdLine, bool wait, uintptr_t* outHandle = nullptr,
                bool showWindow = false);

// ---- small helpers ----------------------------------------------------------------

// The system's text for an error code, its closing mark or blank cut, and "(code)":
//   2 -> "No such file or directory(2)"
char* FormatSystemError(char* outText, int code);
std::string FormatSystemError(int code);
// The trimming alone, in place: "文件不存在。" -> "文件不存在"; "Done.\r\n" -> "Done."
void TrimSystemErrorText(char* text);
// The directory of this module (`useThisModule`) or of the executable, and the
// file name joined; "" for a bad file name, or a missing file with `mustExist`.
char* BuildFilePathBesideModule(char* outPath, bool mustExist, bool useThisModule,
                                const char* fileName);
// Code pages 0 and 65001 are UTF-8 here: the text is checked and copied; false (and
// the text copied as it stands) when a step fails. False for a null pointer or a
// `targetSize` not above the source's length.
bool ConvertCodePage(int codePage, const char* source, char* target, int targetSize);
// "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}"; data2and3 holds Data2 in its
// low half; data4a and data4b are the eight bytes of Data4 in memory order.
char* FormatGuid(uint32_t data1, uint32_t data2and3, uint32_t data4a, uint32_t data4b,
                 char* target);
// Blanks, one sign, digits up to the first other unit; no overflow check.
int ParseIntW(const char16_t* text);

// ---- machine load ---------------------------------------------------------------

// The share of user time of the machine and of this process's CPU time, in percent,
// at most every 200 ms. A process-wide singleton.
class CpuUsageMeter {
public:
    static CpuUsageMeter& Instance();
    int GetCpuUsage(int* outProcessPercent);

    struct Sample {
        int64_t now, idle, kernel, user, creation, processKernel, processUser;
    };
    // The arithmetic of one step from `last` to `next` with `cpuCount` processors.
    //   user +50 of (idle+user) +100 -> system 50
    static void Compute(const Sample& last, const Sample& next, int cpuCount, int* systemPercent,
                        int* processPercent);

private:
    CpuUsageMeter();
    void TakeSample();

    int cpuCount_;
    Mutex lock_;
    uint32_t lastUpdateTick;
    Sample last_;
    int systemPercent = 0;
    int processPercent = 0;
};

// ---- the settings file ------------------------------------------------------------

// "<temporary directory><program or module file name>.ini", section the file name.
bool GetSettingsPath(char* outPath, bool useThisModule, char* outSection = nullptr);
bool WriteSetting(const char* key, const char* value, bool useThisModule = false);
bool ReadSetting(const char* key, char* target, int targetSize, bool useThisModule = false,
                 const char* defaultText = "");
int ReadSettingInt(const char* key, int defaultValue, bool limited = false, int minLimited = 0,
                   int maxLimited = 0);

// A list of distinct texts of at most `maxCount` items, kept in the settings file
// under "<base>Count" and "<base>0" onward; base "EXERecentInfo" plus a suffix.
class RecentList {
public:
    explicit RecentList(int maxCount, const char* suffix = "");
    bool Add(const std::string& item);  // false when full or present
    bool Save(bool useThisModule = false) const;
    void Load(bool useThisModule = false);
    const std::vector<std::string>& Items() const { return items_; }

private:
    int maxCount_;
    std::string base_;
    std::vector<std::string> items_;
};
