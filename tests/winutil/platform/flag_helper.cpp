// A process of its own for the tests of the process-unique flag and the store.
//
//   flag_helper flag KEY          takes the flag, prints "created 0|1", ends cleanly
//   flag_helper hold KEY          takes the flag, prints its value name, waits to be killed
//   flag_helper lock START_MS     at START_MS tries the named mutex once: "first" or "second"
//   flag_helper set KEY VALUE     WriteSetting; prints "ok" or "failed"
//   flag_helper get KEY           ReadSetting with the default "none"; prints the value
//   flag_helper write KEY         rewrites value "v" of KEY, 1000 'A' and 1000 'B' in turn,
//                                 printing "writing" once, until it is killed
#include <unistd.h>

#include <cstdio>
#include <string>

#include "child_process.h"
#include "ilocker.h"
#include "processflag.h"
#include "qdglib.h"
#include "qdregistry.h"

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IONBF, 0);
    if (argc < 3) return 2;
    const std::string mode = argv[1];
    if (mode == "flag") {
        ProcessUniqueFlag flag(argv[2]);
        printf("created %d\n", flag.IsCreatedBy());
    } else if (mode == "hold") {
        ProcessUniqueFlag flag(argv[2]);
        printf("%s\n", flag.ValueName());
        for (;;) pause();
    } else if (mode == "lock") {
        ProcessMutex mutex("FlagHelperRace");
        const long long start = atoll(argv[2]);
        while (WallClockMs() < start) usleep(200);
        TryLock lock(mutex, 0, true);
        printf("%s\n", lock.IsLocked() ? "first" : "second");
        usleep(300000);
    } else if (mode == "set" && argc > 3) {
        printf("%s\n", WriteSetting(argv[2], argv[3]) ? "ok" : "failed");
    } else if (mode == "get") {
        char value[256];
        ReadSetting(argv[2], value, sizeof(value), false, "none");
        printf("%s\n", value);
    } else if (mode == "write") {
        RegCreateKey(HKEY_CURRENT_USER, argv[2]);
        const std::string a(1000, 'A'), b(1000, 'B');
        for (int i = 0;; ++i) {
            RegWriteString(HKEY_CURRENT_USER, argv[2], "v", (i & 1 ? b : a).c_str());
            if (i == 0) printf("writing\n");
        }
    }
    return 0;
}
