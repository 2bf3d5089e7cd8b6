#include "options.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

const char kPipeHelp[] = R"(NAME
    qdlogpipe - write a program's output into rotating, self-cleaning log files

SYNOPSIS
    some-program | qdlogpipe [OPTION]...
    qdlogpipe [OPTION]... -- PROGRAM [ARGUMENT]...

DESCRIPTION
    Every line that reaches qdlogpipe becomes one event of libqdlog_9d.so, and so
    one line of a log file named logYYYYMMDDhhmmss.log after the local time of
    its first line. A file that has reached the size limit is closed at the next
    second and a new one begun; old files are deleted when they are older than
    the life, when the disk has less free space than the reserve, and when there
    are more than the file count.

    With a PROGRAM, qdlogpipe starts it with its standard output and standard
    error on pipes: output lines are logged with the information type, error
    lines with the error type. Without one it reads standard input. SIGINT and
    SIGTERM are handed on to the program; the files are flushed on exit.

    Lines are never lost: a line longer than 65536 bytes is written as several
    lines of at most that size, an empty line as one blank, and a NUL byte as
    U+2400 (the library's texts end at NUL). Other bytes, also invalid UTF-8,
    are written as they came.

OPTIONS
    -d, --dir DIR        log directory, made with its parents (default: beside
                         qdlogpipe, or the per-user state directory where it
                         cannot write there)
    -s, --size BYTES     size that starts a new file: 16384 .. 8388608, a K or M
                         suffix allowed (default 524288)
    -l, --life DAYS      delete files older than this: 0 .. 365, 0 keeps them
                         (default 3)
    -r, --reserve MB     delete the oldest files while the disk has less free
                         space than this, at least 2 (default 512)
    -n, --files COUNT    keep at most this many old files, 0 for no limit
                         (default 0)
    -f, --flush LINES    flush the file every LINES lines, at least 1
                         (default 50)
    -t, --title TEXT     title of output lines, under 32 bytes (default 信息)
    -T, --error-title TEXT
                         title of error lines, under 32 bytes (default 错误)
    -e, --tee            also copy the lines to qdlogpipe's own standard output
                         and standard error, as they came, like tee(1)
    -h, --help           this text

    A qdlog.ini beside qdlogpipe, or the file that QDLOG_INI names, overrules
    these options while it exists, as for every program on the library.

EXIT STATUS
    The program's exit status, or 128 + the signal that ended it. Reading
    standard input: 0, or 128 + SIGINT/SIGTERM when one stopped it. When the
    input had to be altered (NUL bytes, lines split) or was not valid UTF-8,
    qdlogpipe says so on standard error and a status that would be 0 is 3.
    2: a bad option or a log directory that cannot be made; 127: the program
    cannot be started.

EXAMPLES
    make 2>&1 | qdlogpipe -d /var/log/build -s 4M -l 30
    qdlogpipe -d ~/logs/server -n 100 -e -- ./server --port 8080
)";

namespace {

// "4M" -> 4194304, "16K" -> 16384, "300" -> 300; false for anything else.
bool ParseNumber(const char* text, bool withSuffix, long* value) {
    errno = 0;
    char* end = nullptr;
    long n = strtol(text, &end, 10);
    if (end == text || errno || n < 0) return false;
    if (withSuffix && (*end == 'K' || *end == 'k')) n *= 1024, ++end;
    if (withSuffix && (*end == 'M' || *end == 'm')) n *= 1024 * 1024, ++end;
    if (*end) return false;
    *value = n;
    return true;
}

struct ValueOption {
    const char* shortName;
    const char* longName;
    long PipeOptions::*number;       // or
    std::string PipeOptions::*text;  // one of the two
    bool withSuffix;
};

const ValueOption kValueOptions[] = {
    {"-d", "--dir", nullptr, &PipeOptions::dir, false},
    {"-s", "--size", &PipeOptions::fileBytes, nullptr, true},
    {"-l", "--life", &PipeOptions::lifeDays, nullptr, false},
    {"-r", "--reserve", &PipeOptions::reserveMBytes, nullptr, false},
    {"-n", "--files", &PipeOptions::maxFiles, nullptr, false},
    {"-f", "--flush", &PipeOptions::flushLines, nullptr, false},
    {"-t", "--title", nullptr, &PipeOptions::outTitle, false},
    {"-T", "--error-title", nullptr, &PipeOptions::errTitle, false},
};

}  // namespace

bool ParseOptions(int argc, char** argv, PipeOptions* options, std::string* error) {
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        if (!strcmp(arg, "--")) {
            options->command.assign(argv + i + 1, argv + argc);
            if (options->command.empty()) {
                *error = "no program after --";
                return false;
            }
            options->command.push_back(nullptr);
            return true;
        }
        if (!strcmp(arg, "-h") || !strcmp(arg, "--help")) {
            options->help = true;
            continue;
        }
        if (!strcmp(arg, "-e") || !strcmp(arg, "--tee")) {
            options->tee = true;
            continue;
        }
        const ValueOption* option = nullptr;
        for (const ValueOption& o : kValueOptions)
            if (!strcmp(arg, o.shortName) || !strcmp(arg, o.longName)) option = &o;
        if (!option) {
            *error = std::string("unknown option ") + arg;
            return false;
        }
        if (i + 1 >= argc) {
            *error = std::string(arg) + " needs a value";
            return false;
        }
        const char* value = argv[++i];
        if (option->text) {
            options->*(option->text) = value;
        } else if (!ParseNumber(value, option->withSuffix, &(options->*(option->number)))) {
            *error = std::string("bad number for ") + arg + ": " + value;
            return false;
        }
    }
    return true;
}
