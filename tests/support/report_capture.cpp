#include "report_capture.h"

#include <mutex>

namespace {

std::mutex g_mutex;
std::vector<CapturedReport> g_reports;
int g_answer = QDR_IDIGNORE;

int Capture(const qdr_AssertReport* report) {
    std::lock_guard<std::mutex> lock(g_mutex);
    CapturedReport r;
    r.text = report->text;
    r.file = report->file ? report->file : "";
    r.expr = report->expr ? report->expr : "";
    r.hasMessage = report->message != nullptr;
    r.message = report->message ? report->message : "";
    g_reports.push_back(r);
    return g_answer;
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
    std::lock_guard<std::mutex> lock(g_mutex);
    return static_cast<int>(g_reports.size());
}

int ReportCapture::Count(const std::string& expr) const {
    std::lock_guard<std::mutex> lock(g_mutex);
    int n = 0;
    for (const CapturedReport& r : g_reports) n += r.expr == expr;
    return n;
}

int ReportCapture::CountMessage(const std::string& message) const {
    std::lock_guard<std::mutex> lock(g_mutex);
    int n = 0;
    for (const CapturedReport& r : g_reports) n += r.hasMessage && r.message == message;
    return n;
}
