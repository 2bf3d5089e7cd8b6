/* A C program that logs through libqdlog_9d.so, built with pkg-config:
 *     cc main.c $(pkg-config --cflags --libs qdlog) -o hello_c
 * With an argument it logs into that directory, else beside itself. It prints the
 * path of its log file. */
#include <qdlog.h>
#include <stdio.h>

int main(int argc, char** argv) {
    if (argc > 1 && !QDLogSetDir(argv[1])) {
        fprintf(stderr, "hello_c: cannot make the log directory %s\n", argv[1]);
        return 1;
    }
    QDLogScreen(0);
    QDLOG_INFO("hello from C, %d lines", 2);
    QDLOG_WARNING("a warning from C");
    printf("%s\n", QDLogGetFileName());
    return 0;
}
