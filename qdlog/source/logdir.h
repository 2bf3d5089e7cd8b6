// Where the engine's files are: the directory beside the executable, the log
// directory, which starts there and is changed by QDLogSetDir, and qdlog.ini.
#pragma once

#include <cstddef>

// The directory beside the executable; for a Java launcher the current directory,
// asked anew at every call.
const char* GetExeDirA_();

// The log directory's text in the path routines' grammar, which the engine composes
// with; the pointer stays valid for the life of the process.
const char* LogDirectory();
// The same with '/' for people and the C library: what QDLogGetDir hands out.
const char* ShownLogDirectory();
// QDLogSetDir: 1 when the directory is set (and made), 0 when it cannot be made.
int SetLogDirectory(const char* dir);

// A path as people read it: every '\' becomes '/', cut to fit `capacity`.
//   "\var\log\app\log20161118121200.log" -> "/var/log/app/log20161118121200.log"
void ShowPath(const char* path, char* shown, size_t capacity);

// The file named by QDLOG_INI, for programs whose own directory an operator cannot
// write; false when the variable is unset or empty (or too long), and qdlog.ini
// beside the executable counts.
bool NamedConfigFile(char* path, size_t capacity);
