// The mini printer against a private cupsd whose queue keeps what it receives in a
// file; the page is looked at with pdfinfo and pdftoppm.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <tuple>

#include "child_process.h"
#include "miniprinter.h"
#include "scratch_dir.h"
#include "x_session.h"

namespace {

namespace fs = std::filesystem;

class PrivateCups : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir_ = new ScratchDir("minicups");
        const std::string d = dir_->Text();
        // The daemon's folders, and a backend that keeps the job in the file its device
        // URI names.
        if (std::system(("cd '" + d +
                         "' && mkdir -p bin/backend out RequestRoot CacheDir StateDir TempDir && "
                         "chmod 777 out && ln -s /usr/lib/cups/daemon /usr/lib/cups/filter bin/")
                            .c_str()) != 0)
            return;
        Write(d + "/bin/backend/keep",
              "#!/bin/sh\n[ $# -eq 0 ] && { echo 'direct keep \"Unknown\" \"Keep\"'; exit 0; }\n"
              "out=${DEVICE_URI#keep:}\nif [ -n \"$6\" ]; then cat \"$6\" > \"$out\"; else cat > "
              "\"$out\"; fi\nchmod 644 \"$out\"\n");
        fs::permissions(d + "/bin/backend/keep", fs::perms(0755));
        Write(d + "/cupsd.conf",
              "Listen " + d +
                  "/cups.sock\nLogLevel warn\n<Location />\n  Order allow,deny\n  Allow all\n"
                  "</Location>\n<Policy default>\n  <Limit All>\n    Order deny,allow\n"
                  "  </Limit>\n</Policy>\n");
        std::string files = "ServerRoot " + d + "\nServerBin " + d + "/bin\nErrorLog " + d +
                            "/error_log\nFileDevice Yes\n";
        for (const char* key : {"RequestRoot", "CacheDir", "StateDir", "TempDir"})
            files += std::string(key) + " " + d + "/" + key + "\n";
        Write(d + "/cups-files.conf", files);
        cupsd_ = new ChildProcess(
            {"/usr/sbin/cupsd", "-f", "-c", d + "/cupsd.conf", "-s", d + "/cups-files.conf"});
        setenv("CUPS_SERVER", (d + "/cups.sock").c_str(), 1);
        running_ =
            WaitUntil([&] { return fs::exists(d + "/cups.sock"); }, 5) &&
            std::system(
                ("lpadmin -p mini -E -v keep:" + d + "/out/page.pdf -m raw 2>/dev/null").c_str()) ==
                0;
    }
    static void TearDownTestSuite() {
        delete cupsd_;
        delete dir_;
    }
    void SetUp() override {
        if (!running_)
            GTEST_SKIP() << "a private cupsd could not be started (is the cups package installed?)";
        SetMiniPrinterDestination("mini");
    }
    // Waits for the whole of the kept job.
    static std::string Page() {
        const std::string page = dir_->Text() + "/out/page.pdf";
        for (int i = 0; i < 100; ++i) {
            const std::string pdf = fs::exists(page) ? Contents(page) : "";
            if (pdf.size() > 6 && pdf.compare(pdf.size() - 6, 6, "%%EOF\n") == 0) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return page;
    }
    static ScratchDir* dir_;
    static ChildProcess* cupsd_;
    static bool running_;
};
ScratchDir* PrivateCups::dir_;
ChildProcess* PrivateCups::cupsd_;
bool PrivateCups::running_;

TEST_F(PrivateCups, ADibOf96PixelsPrintsOneInchAt600Dpi) {
    CDib dib(96, 48, 24, -1, 0x0000FF);  // red
    dib.SetPixelValue(95, 47, 0xFF0000);
    ASSERT_EQ(1, PrintDib(dib, 0, 0));
    const std::string page = Page();
    const std::string png = dir_->Text() + "/page";
    ASSERT_EQ(0, std::system(("pdfinfo " + page +
                              " | grep -q 'Page size: *595.2.* x 841.8.* pts' && "
                              "pdftoppm -r 600 -png -singlefile -x 0 -y 0 -W 700 -H 400 " +
                              page + " " + png)
                                 .c_str()));
    // The red area in device units: 600 x 300, its last pixel (blue) 6.25 units square.
    const std::string probe = "gm convert " + png + ".png -crop 1x1+%d+%d txt:- | grep -qi '%s'";
    char cmd[512];
    const std::tuple<int, int, const char*> spots[] = {{0, 0, "#FF0000"},     {597, 297, "#0000FF"},
                                                       {592, 297, "#FF0000"}, {300, 150, "#FF0000"},
                                                       {601, 10, "#FFFFFF"},  {10, 301, "#FFFFFF"}};
    for (const auto& [x, y, colour] : spots) {
        snprintf(cmd, sizeof(cmd), probe.c_str(), x, y, colour);
        EXPECT_EQ(0, std::system(cmd)) << x << "," << y;
    }
}

TEST_F(PrivateCups, NoPrinterNoCupsAndRefusedSetUpGiveZero) {
    QDBitmap bmp = CreateBitmap(10, 10);
    EXPECT_EQ(1, PrintBitmap(bmp, 0, 0));
    EXPECT_EQ(0, PrintBitmap(nullptr, 0, 0));
    EXPECT_EQ(0, PrintDib(CDib(), 0, 0));
    SetMiniPrinterDestination("no_such_printer");
    EXPECT_EQ(0, PrintBitmap(bmp, 0, 0));
    struct Refusing : CMiniPrinter {
        bool SetupPage(QDDC) override { return false; }
        void PaintPage(QDDC) override { ADD_FAILURE() << "painted after a refused set-up"; }
    } refusing;
    SetMiniPrinterDestination("mini");
    EXPECT_EQ(0, refusing.Print());
    unsetenv("DISPLAY");
    SetMiniPrinterDestination("mini", true);  // no display for a dialog: the named printer
    EXPECT_EQ(1, PrintBitmap(bmp, 0, 0));
    const std::string server = getenv("CUPS_SERVER");
    setenv("CUPS_SERVER", (dir_->Text() + "/nothing.sock").c_str(), 1);  // CUPS not running
    EXPECT_EQ(0, PrintBitmap(bmp, 0, 0));
    setenv("CUPS_SERVER", server.c_str(), 1);
    DeleteBitmap(bmp);
}

TEST_F(PrivateCups, CancelledDialogStartsNoDocument) {
    QD_REQUIRE_X();
    SetMiniPrinterDestination("mini", true);
    fs::remove(dir_->Text() + "/out/page.pdf");  // a page of an earlier test in this process
    std::atomic<bool> done{false};
    std::thread presser([&] {  // Escape until the dialog has gone
        while (!done) {
            std::system("xdotool key Escape 2>/dev/null");
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
    });
    CDib dib(8, 8, 24, -1, 0);
    EXPECT_EQ(0, PrintDib(dib, 0, 0));
    done = true;
    presser.join();
    EXPECT_FALSE(fs::exists(dir_->Text() + "/out/page.pdf"));
}

}  // namespace
