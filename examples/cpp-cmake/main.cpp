// A C++ program that logs through libqdlog_9d.so and uses the smart toolkit,
// built with CMake's find_package(qdlog). With an argument it logs into that
// directory, else beside itself. It prints the path of its log file.
#include <moduleinfo.h>
#include <qdlog.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    if (argc > 1 && !QDLogSetDir(argv[1])) {
        std::fprintf(stderr, "hello_cpp: cannot make the log directory %s\n", argv[1]);
        return 1;
    }
    QDLogScreen(0);
    const std::string program = GetExeName();  // from the smart toolkit
    QDLOG_INFO("hello from C++, program %s", program.c_str());
    QDLOG_INFO_W(u"宽字符: %s", u"你好");
    std::printf("%s\n", QDLogGetFileName());
    return 0;
}
