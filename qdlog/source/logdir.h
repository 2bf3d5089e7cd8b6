// Where the engine's files are: the directory beside the executable, and the log
// directory, which starts there and is changed by QDLogSetDir.
#pragma once

// The directory beside the executable; for a Java launcher the current directory,
// asked anew at every call.
const char* GetExeDirA_();

// The log directory's text; the pointer stays valid for the life of the process.
const char* LogDirectory();
// QDLogSetDir: 1 when the directory is set (and made), 0 when it cannot be made.
int SetLogDirectory(const char* dir);
