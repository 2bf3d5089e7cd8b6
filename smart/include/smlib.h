// Whole-file text reading and writing with byte-order detection, and whole-file
// reading into a binary block. Narrow text is UTF-8: whatever the file's encoding,
// the readers hand over UTF-8, and the writers take it. The rest of the small
// library (compressed block, hexadecimal forms, task split) is included from here.
#pragma once

#include <string>

#include "binary.h"
#include "compressbuffer.h"
#include "hexstr.h"
#include "worktasks.h"

// The file's encoding by its byte-order mark.
enum TextFileType : int {
    tft_ansi = 0,       // no mark: the bytes as they stand
    tft_utf_16 = 1,     // FF FE, UTF-16 little-endian
    tft_utf_16_be = 2,  // FE FF, UTF-16 big-endian
    tft_utf_8 = 3,      // EF BB BF
};

// Reads a text file as narrow text, in two phases: with a null buffer, `length`
// receives the bytes the text takes; with a buffer, `length` on entry holds that
// count again (the buffer's room, without the terminator) and on return the bytes
// written, and the text is terminated. `type` (may be null) receives the encoding.
//   Measure: int len = 0;  ReadWholeTextFileEx(path, nullptr, len)      -> len 12
//   Fill:    buffer of len + 1; ReadWholeTextFileEx(path, buffer, len)  -> len 12
// An empty file is true with length 0. False, with length 0 and an empty buffer:
// the file cannot be opened or measured, a marked UTF-16 file has an odd size
// (reported, "(false)"), a read falls short (reported), or the text no longer fits
// the room (the file grew after it was measured; nothing is written past it). Text
// without a mark is taken as UTF-8 as it stands; text with a mark is converted, and
// what is invalid in it becomes U+FFFD.
bool ReadWholeTextFileEx(const char* path, char* buffer, int& length, TextFileType* type = nullptr);

// Writes `text` (UTF-8, `length` bytes, negative: terminated) in the given encoding,
// with its mark. False for a file that cannot be made or a write that falls short;
// a null path or text, and a type outside the four, are reported ("(false)") and
// leave an existing file untouched.
bool WriteWholeTextFileEx(const char* path, int type, const char* text, int length = -1);

// The whole text file into `text`, as ReadWholeTextFileEx hands it over; `text` is
// empty after a failure.
bool ReadTextFileToStr(const char* path, std::string& text);

// The file's bytes as they stand into `block`; empty after a failure.
bool ReadFileToBinary(const char* path, Binary& block);

// ---- process and system queries ------------------------------------------------
// Compiled into the process utilities (winutil), whose operating-system layer they
// stand on.

// Runs `cmdLine` with "/bin/sh -c" and waits. With `result` its standard output goes
// to "<temporary directory><pid %08X>_<thread %08X>.rss.tmp", and the file's bytes
// and a terminating zero (counted in Size()) come back in `result`. Every other
// "*.rss.tmp" of the temporary directory is swept first.
bool RunCommandCapture(const char* cmdLine, Binary* result);
// The wide form: the command is converted to UTF-8 and run by the narrow form, and
// its output (taken as UTF-8) comes back as UTF-16 in `result` (may be null).
bool RunCommandCapture(const char16_t* cmdLine, std::u16string* result);
// Available physical memory in bytes; `totalPhysical` (may be null) the total.
uint64_t GetMemoryStatus(uint64_t* totalPhysical = nullptr);
// The resident set of a process (0: this one) in bytes, 0 on failure; `pageFileUse`
// (may be null) receives its data segment (VmData).
uint64_t GetProcessMemory(uint64_t* pageFileUse = nullptr, uint32_t processId = 0);
bool IsProcessAlive(uint32_t processId);
uint32_t GetParentProcessId();
// SIGKILL; for this process, the end at once with status 255.
bool KillProcess(uint32_t processId);
// True once the process has ended (or never existed), polled every 10 ms up to
// `timeoutMs` (0xFFFFFFFF: without limit).
bool WaitProcessExit(uint32_t processId, uint32_t timeoutMs);
// The processor's name from /proc/cpuinfo into 256 bytes.
bool GetCpuName(char* buffer);
