// qdmodtag FILE...: prints the build tag of each module file, to see which build
// is deployed.
//   $ qdmodtag /opt/app/libqdlog_9d.so
//   /opt/app/libqdlog_9d.so: MIDKIT_2.0.0.SVN72918_release20161118#121200_NoTNoW_RealLogIni
//   FA2E432D
// A file without a tag, or one that cannot be read, says so; the exit status is
// then 1, and 2 without arguments.
#include <cstdio>

#include "moduleinfo.h"

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: qdmodtag FILE...\n");
        return 2;
    }
    int status = 0;
    for (int i = 1; i < argc; ++i) {
        char info[kModuleTagInfoChars + 1], suffix[kModuleTagSuffixChars + 1];
        if (ReadModuleTagFile(argv[i], info, suffix)) {
            printf("%s: %s %s\n", argv[i], info, suffix);
        } else {
            printf("%s: no build tag\n", argv[i]);
            status = 1;
        }
    }
    return status;
}
