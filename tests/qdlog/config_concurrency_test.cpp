// Configuration passes on whichever thread asks for the mask, while others log,
// read the mask and call the setters, and the file changes under them. These also
// run under ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "config_test_support.h"
#include "log_test_support.h"

namespace {

TEST(ConfigConcurrency, PassesRunWhileOtherThreadsLogAndSet) {
    ResetEngine();
    const std::string quiet = "[params]\nto_screen=0\nto_file=0\nto_debuger=0\nflush_lines=";
    const std::string files[] = {"[level]\nerror=1\n" + quiet + "20\n",
                                 "[level]\nerror=0\n" + quiet + "30\n"};
    WriteIni(files[0]);

    std::atomic<bool> stop(false);
    std::atomic<int> errors(0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&stop, &errors] {
            while (!stop) {
                QDLOG_ERROR("error %d", errors.fetch_add(1));
                // Takes effect only in the gap of a pass, until the next one.
                QDLogSetFlushLines(7);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    }
    for (int round = 0; round < 8; ++round) {
        WriteIni(files[round % 2]);
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
    }
    stop = true;
    for (std::thread& t : threads) t.join();

    // The last file stands once the threads are gone.
    EXPECT_EQ(0x10000Bu, Pass());
    EXPECT_EQ(30, QDLogGetFlushLines());
    EXPECT_EQ(0, QDLogCanConfig());
    EXPECT_GT(errors.load(), 0);
    ResetEngine();
}

}  // namespace
