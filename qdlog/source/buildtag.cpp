// The build tag: the version, revision, date and time of the build and its marks
// (MIDKIT_<version>.SVN<revision>_release<date>#<time>_NoTNoW_RealLogIni). Nothing
// in the library parses it.
#include "buildtag.h"

#include "moduleinfo.h"
#include "qdr/qdatomic.h"

namespace {

// Used, so the linker keeps it; one literal, so it stands in the file as one run.
const char kModuleTag[] =
    "ModuleInfoBegin|MIDKIT_2.0.0.SVN72918_release20161118#121200_NoTNoW_RealLogIni``"
    "|ModuleInfoEndFA2E432D";

static_assert(sizeof(kModuleTag) == kModuleTagBeginChars + kModuleTagInfoChars +
                                        kModuleTagEndChars + kModuleTagSuffixChars + 1,
              "the build tag has a fixed layout");

}  // namespace

// Filled once; the spin lock only keeps two first callers from writing the buffer
// at the same time.
const char* ModuleTagInfo() {
    static LazyGlobal<char> slot;
    static char info[kModuleTagInfoChars + 1];
    return slot.Get([] { return TrimModuleTagInfo(kModuleTag + kModuleTagBeginChars, info); });
}
