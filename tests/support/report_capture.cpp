#include "report_capture.h"

#include <algorithm>
#include <mutex>

namespace {

std::mutex g_mutex;
std::vector<CapturedReport> g_reports;
int g_answer = QDR_IDIGNORE;

int Capture(const qdr_AssertReport* report) {
    std::lock_guard<std::mutex> lock(g_mutex);
    const auto text = [](const char* t) { return std::string(t ? t : ""); };
    g_reports.push_back({report->text, text(report->file), text(report->expr),
                         text(report->message), report->message != nullptr});
    return g_answer;
}

template <class Pick>
int CountIf(Pick pick) {
    std::lock_guard<std::mutex> lock(g_mutex);
    return static_cast<int>(std::count_if(g_reports.begin(), g_reports.end(), pick));
}

}  // namespace

ReportCapture::ReportCapture(int answer) {
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        g_reports.clear();
        g_answer = answer;
    }
    previous_ = qdr_SetAssertReportHandler(Capture);
}

ReportCapture::~ReportCapture() {
    qdr_SetAssertReportHandler(previous_);
}

std::vector<CapturedReport> ReportCapture::Reports() const {
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_reports;
}

int ReportCapture::Count() const {
    return CountIf([](const CapturedReport&) { return true; });
}

int ReportCapture::Count(const std::string& expr) const {
    return CountIf([&](const CapturedReport& r) { return r.expr == expr; });
}

int ReportCapture::CountMessage(const std::string& message) const {
    return CountIf([&](const CapturedReport& r) { return r.hasMessage && r.message == message; });
}
