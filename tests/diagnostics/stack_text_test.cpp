// The stack walker as a user meets it: in the assertion report, in the text for an
// application's own events, for another thread, on bad stacks and in a crash.
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <future>
#include <sstream>
#include <thread>

#include "child_process.h"
#include "diagnostics/stacktext.h"
#include "diagnostics/stackwalker.h"
#include "hostile_frames.h"
#include "report_capture.h"
#include "scratch_dir.h"

namespace {

volatile bool g_false = false;
volatile int g_after = 0;
int g_lines[3];

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) break;  // the blank line before the report
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

__attribute__((noinline)) void CheckThreeDeep() {
    g_lines[0] = __LINE__ + 1;
    QDR_CHECK(g_false);
    g_after = g_after + 1;
}

__attribute__((noinline)) void CallsTheCheck() {
    g_lines[1] = __LINE__ + 1;
    CheckThreeDeep();
    g_after = g_after + 1;
}

__attribute__((noinline)) void StartsTheCalls() {
    g_lines[2] = __LINE__ + 1;
    CallsTheCheck();
    g_after = g_after + 1;
}

TEST(StackText, AFailedCheckShowsItsCallersFirstAndTheBudgetKeepsTheTop) {
    ReportCapture capture;
    StartsTheCalls();
    ASSERT_EQ(1, capture.Count());
    const std::string text = capture.Reports()[0].text;
    const std::vector<std::string> lines = Lines(text);
    ASSERT_GE(lines.size(), 3u) << text;
    const char* names[] = {"CheckThreeDeep", "CallsTheCheck", "StartsTheCalls"};
    for (int i = 0; i < 3; ++i) {
        const std::string head = "stack_text_test.cpp(" + std::to_string(g_lines[i]) + "): ";
        EXPECT_EQ(head, lines[i].substr(0, head.size())) << text;
        EXPECT_NE(std::string::npos, lines[i].find(names[i])) << lines[i];
    }
    for (const std::string& line : lines) {
        EXPECT_EQ(std::string::npos, line.find("StackWalker")) << line;
        EXPECT_EQ(std::string::npos, line.find("AssertPrintfBox")) << line;
        EXPECT_LE(line.size(), 100u);
    }
    EXPECT_NE(std::string::npos, text.find("\r\n\r\nDebug Assertion Failed((null))!"));

    // The budget keeps the top and cuts long lines.
    char budget[1024] = "";
    StackLines budgetLines = {2, 0, budget, sizeof(budget), budget, "\r\n"};
    const std::string hundred(100, 'a');
    const std::string hundredOne = std::string(96, 'b') + "(x)()";
    AppendStackLine(&budgetLines, hundred.c_str());
    AppendStackLine(&budgetLines, hundredOne.c_str());
    AppendStackLine(&budgetLines, "past the budget");
    EXPECT_EQ(hundred + "\r\n" + std::string(94, 'b') + "... ()\r\n", budget);
    EXPECT_EQ(3, budgetLines.linesSeen);

    // Lines that do not fit the room are counted and dropped whole.
    char small[8] = "";
    StackLines tight = {10, 0, small, sizeof(small), small, "\n"};
    AppendStackLine(&tight, "abc");
    AppendStackLine(&tight, "defg");
    EXPECT_STREQ("abc\n", small);
    EXPECT_EQ(2, tight.linesSeen);

    // With no lines allowed the walk still runs to the end and keeps nothing.
    StackWalker_D_ walker;
    EXPECT_EQ(1024 * 15 / 768, walker.maxLines);  // no terminal under the test runner
    walker.maxLines = 0;
    EXPECT_TRUE(walker.ShowCallstack());
    EXPECT_STREQ("", walker.text);
    EXPECT_GT(walker.linesSeen, 0);
}

TEST(StackText, WithoutTheSymbolLibraryTheWalkFailsAndTheReportStays) {
    setenv("QDR_LIBDW", "libdw-not-installed.so.1", 1);
    StackWalker_D_ walker;
    EXPECT_FALSE(walker.ShowCallstack());
    EXPECT_EQ(1114, errno);
    EXPECT_STREQ("", walker.text);
    {
        ReportCapture capture;
        QDR_CHECK(g_false);
        ASSERT_EQ(1, capture.Count());
        EXPECT_EQ(0u, capture.Reports()[0].text.rfind("\r\nDebug Assertion Failed", 0));
    }
    // The application's stack text falls back to module and address.
    char text[4096];
    qdr_WriteStackText(text, sizeof(text));
    unsetenv("QDR_LIBDW");
    const std::vector<std::string> lines = Lines(text);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(0u, lines[0].rfind("diagnostics_tests: 0x", 0)) << text;
    EXPECT_NE(std::string::npos, lines[0].find("() +0x")) << text;
}

namespace {

// Collects every line of a walk.
class AllLines : public win_sw::StackWalker {
public:
    AllLines() : StackWalker(win_sw::OptionsAll, nullptr, 0, win_sw::kCurrentProcess) {}
    std::string text;

protected:
    void EmitLine(const char* line) override { text += std::string(line) + "\n"; }
};

__attribute__((noinline)) void BlockedInHere(const std::shared_future<void>& release) {
    release.wait();
}

char g_inHandler[8192];

__attribute__((noinline)) int WalkAtTheBottom() {
    StackWalker_D_ walker;
    const bool walked = walker.ShowCallstack();
    return walked && walker.linesSeen >= 10000 && walker.linesSeen > walker.maxLines ? 1 : -100000;
}

__attribute__((noinline)) int Recurse(int depth) {
    if (depth == 0) return WalkAtTheBottom();
    const int found = Recurse(depth - 1);
    return found + g_after * 0;
}

__attribute__((noinline)) void RaisesTheSignal() {
    std::raise(SIGUSR1);
    g_after = g_after + 1;
}

}  // namespace

TEST(StackText, AnotherThreadBadStacksAndTheCrashHandler) {
    std::atomic<uint32_t> tid{0};
    std::promise<void> release;
    std::thread blocked([&tid, done = release.get_future().share()] {
        tid = os::CurrentThreadId();
        BlockedInHere(done);
    });
    while (!tid) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    AllLines walker;
    EXPECT_TRUE(walker.ShowCallstack(tid));
    EXPECT_NE(std::string::npos, walker.text.find("BlockedInHere")) << walker.text;
    release.set_value();
    blocked.join();

    // Gone, or in another process (1 is init's thread): no walk, no lines.
    AllLines gone, foreign;
    EXPECT_FALSE(gone.ShowCallstack(tid));
    EXPECT_FALSE(foreign.ShowCallstack(1));
    EXPECT_EQ("", gone.text + foreign.text);

    // Bad stacks end the walk without a second crash.
    const std::string clobbered = WalkThroughClobberedFrame();
    EXPECT_NE(std::string::npos, clobbered.find("WalkThroughClobberedFrame")) << clobbered;
    EXPECT_EQ(std::string::npos, clobbered.find("TestBody")) << clobbered;  // nothing past it

    EXPECT_EQ(1, Recurse(10000));

    std::signal(SIGUSR1, [](int) { qdr_WriteStackText(g_inHandler, sizeof(g_inHandler)); });
    RaisesTheSignal();
    std::signal(SIGUSR1, SIG_DFL);
    EXPECT_NE(std::string::npos, std::string(g_inHandler).find("RaisesTheSignal")) << g_inHandler;

    // The crash handler writes the stack of a segfault, also when the fault comes inside a
    // callback, whose thread holds the engine's lock: the handler never waits for it.
    for (const char* where : {"plain", "in-callback"}) {
        SCOPED_TRACE(where);
        ScratchDir dir("qd-crash");
        ChildProcess child({CRASH_HELPER, dir.Text(), where});
        child.ReadAll();
        EXPECT_EQ(128 + SIGSEGV, child.Wait());
        std::string all;
        for (const auto& entry : std::filesystem::directory_iterator(dir.Path()))
            all += Contents(entry.path());
        EXPECT_NE(std::string::npos, all.find("before the crash")) << all;
        const size_t report = all.find("Fatal Signal 11(SIGSEGV)!");
        ASSERT_NE(std::string::npos, report) << all;
        EXPECT_NE(std::string::npos, all.find("crash_helper: 0x")) << all;
    }
}
