#include "fuzz_support.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "qdr/qdassert.h"

namespace {

std::vector<const char*> g_expected;

int AbortOnReport(const qdr_AssertReport* report) {
    for (const char* expr : g_expected)
        if (strcmp(expr, report->expr) == 0) return QDR_IDIGNORE;
    fprintf(stderr, "failed check %s at %s:%d\n", report->expr, report->file, report->line);
    abort();
}

}  // namespace

void FuzzFinding(const char* what) {
    fprintf(stderr, "finding: %s\n", what);
    abort();
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    qdr_SetAssertReportHandler(AbortOnReport);
    return 0;
}

ExpectedReports::ExpectedReports(std::initializer_list<const char*> exprs)
    : previous_(g_expected.size()) {
    g_expected.insert(g_expected.end(), exprs.begin(), exprs.end());
}

ExpectedReports::~ExpectedReports() {
    g_expected.resize(previous_);
}
