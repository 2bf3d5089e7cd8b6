// Late binding: a loaded library is taken as it is, another is loaded and unloaded
// with its object, and what is missing is reported with the library's messages.
#include <gtest/gtest.h>

#include "exports.h"
#include "qdr/platform/os.h"
#include "report_capture.h"

TEST(Exports, BindsLoadsAndReportsWhatIsMissing) {
    ReportCapture reports;
    Exports libc("libc.so.6");
    size_t (*length)(const char*) = nullptr;
    ASSERT_NE(nullptr, libc.Bind(length, "strlen"));
    EXPECT_EQ(3u, length("abc"));
    EXPECT_FALSE(libc.IsLoaded());  // it was there already
    {
        Exports engine(QD_ENGINE_LIBRARY);
        void* (*mask)() = nullptr;
        ASSERT_NE(nullptr, engine.Bind(mask, "GetQDLogMaskPtr"));
        EXPECT_TRUE(engine.IsLoaded());
        EXPECT_EQ(engine.Module(), os::LoadedModuleBase(QD_ENGINE_LIBRARY));
        EXPECT_EQ(nullptr, engine.GetProc("NoSuchFunction"));
        EXPECT_EQ(1, reports.CountMessage(std::string("Can't find \"NoSuchFunction\" in \"") +
                                          QD_ENGINE_LIBRARY + "\""));
    }
    EXPECT_EQ(0u, os::LoadedModuleBase(QD_ENGINE_LIBRARY));  // gone with its object
    Exports missing("libqd_no_such_library.so");
    EXPECT_EQ(nullptr, missing.GetProc("Anything"));
    EXPECT_EQ(1, reports.CountMessage(std::string("Can't find \"libqd_no_such_library.so\"") +
                                      " called by \"" + GetThisModulePathName() + "\""));
    EXPECT_EQ(1, reports.Count("(false)"));
}
