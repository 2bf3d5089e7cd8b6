// Captures assertion reports in tests: while a ReportCapture lives, every failed
// check is recorded and answered with the capture's answer (Ignore by default), so
// a test can assert which check fired and how often.
#pragma once

#include <string>
#include <vector>

#include "qdr/qdassert.h"

struct CapturedReport {
    std::string text;
    std::string file;
    std::string expr;     // as shown after "Expression: (", e.g. "(len >= 0)"
    std::string message;  // "(null)" for a plain check; empty when fmt was null or ""
    bool hasMessage;
};

class ReportCapture {
public:
    explicit ReportCapture(int answer = QDR_IDIGNORE);
    ~ReportCapture();
    ReportCapture(const ReportCapture&) = delete;
    ReportCapture& operator=(const ReportCapture&) = delete;

    std::vector<CapturedReport> Reports() const;
    int Count() const;
    // How many reports had exactly this expression text, e.g. "(len >= 0)".
    int Count(const std::string& expr) const;
    // How many reports carried this message.
    int CountMessage(const std::string& message) const;

private:
    qdr_AssertReportHandler previous_;
};
