#include "fuzz_support.h"

#include <cstdio>
#include <cstdlib>

#include "qdr/qdassert.h"

namespace {

int AbortOnReport(const qdr_AssertReport* report) {
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
