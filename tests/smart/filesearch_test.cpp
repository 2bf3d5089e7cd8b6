// File search: the walk's filters (the finder's matching under them), the removal of
// overlapping starts and the tree-wide text tools.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "filesearch.h"
#include "report_capture.h"
#include "scratch_dir.h"

namespace {

namespace fs = std::filesystem;

// What a walk reported, as paths relative to the scratch directory with '/' and a
// directory with '/' behind; the visitor's entries end in "+" or "-" for passed.
struct Seen {
    std::string base;
    std::vector<std::string> found, visited;
    std::set<std::string> refuse;  // fileCb answers false for these
    std::string Relative(const char* pathname, bool isDir) const {
        std::string path = SystemPath(pathname);
        if (path.compare(0, base.size(), base) == 0) path.erase(0, base.size());
        return path + (isDir ? "/" : "");
    }
};

bool Found(void* param, bool isDir, const char* pathname) {
    Seen* seen = static_cast<Seen*>(param);
    seen->found.push_back(seen->Relative(pathname, isDir));
    return seen->refuse.count(seen->found.back()) == 0;
}

bool Visited(void* param, bool isDir, const char* pathname, bool passed) {
    Seen* seen = static_cast<Seen*>(param);
    seen->visited.push_back(seen->Relative(pathname, isDir) + (passed ? "+" : "-"));
    return true;
}

std::vector<std::string> Sorted(std::vector<std::string> v) {
    std::sort(v.begin(), v.end());
    return v;
}

class FileSearch : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(dir_.Path() / "a/b");
        fs::create_directories(dir_.Path() / "c");
        for (const char* file :
             {"a/b/f2.txt", "a/f1.txt", "a/.hidden.txt", "a/g.log", "c/noext", "top.TXT"})
            Write(dir_.Path() / file, file);  // each file holds its own name
        seen_.base = dir_.Text() + "/";
    }

    // SearchFiles over starts relative to the scratch directory ("." is itself),
    // with what an earlier search saw forgotten.
    bool Search(const std::string& starts, const char* patterns, int depth,
                uint32_t excludeAttrs = 0, const char* excludeDirs = nullptr,
                const char* excludeFiles = nullptr, const char* excludePaths = nullptr,
                bool visit = false) {
        seen_.found.clear();
        seen_.visited.clear();
        std::string begin;
        std::stringstream pieces(starts);
        for (std::string piece; std::getline(pieces, piece, '|');)
            begin += (begin.empty() ? "" : "|") + (piece.empty()  ? ""
                                                   : piece == "." ? dir_.Text()
                                                                  : dir_ / piece);
        return SearchFiles(begin.c_str(), patterns, depth, Found, &seen_, excludeAttrs, excludeDirs,
                           excludeFiles, excludePaths, visit ? Visited : nullptr, &seen_);
    }

    ScratchDir dir_{"filesearch"};
    Seen seen_;
};

TEST_F(FileSearch, WalksTheTreeWithPatternsAppliedToNamesOnly) {
    EXPECT_TRUE(Search("", "*", 10000));
    EXPECT_TRUE(seen_.found.empty());        // no start at all
    EXPECT_TRUE(Search("a||c", "", 10000));  // empty pieces dropped, "" means "*"
    EXPECT_EQ((std::vector<std::string>{"a/.hidden.txt", "a/b/", "a/b/f2.txt", "a/f1.txt",
                                        "a/g.log", "c/noext"}),
              Sorted(seen_.found));
    // A directory gets its callback before its content.
    const auto at = [&](const std::string& p) {
        return std::find(seen_.found.begin(), seen_.found.end(), p) - seen_.found.begin();
    };
    EXPECT_LT(at("a/b/"), at("a/b/f2.txt"));
    // "." covers a and c; "*." takes names without a dot, directories too.
    EXPECT_TRUE(Search("a|c|.", "*.txt;*.", 10000));
    EXPECT_EQ((std::vector<std::string>{"a/", "a/.hidden.txt", "a/b/", "a/b/f2.txt", "a/f1.txt",
                                        "c/", "c/noext", "top.TXT"}),
              Sorted(seen_.found));
    EXPECT_TRUE(Search("a", "*.txt", 10000));  // b does not match and is entered all the same
    EXPECT_EQ(1, std::count(seen_.found.begin(), seen_.found.end(), "a/b/f2.txt"));
    EXPECT_TRUE(Search("missing|a/b/f2.txt", "*", 10000));  // nothing to read: empty
    EXPECT_TRUE(seen_.found.empty());
}

TEST_F(FileSearch, OverlappingStartsAreWalkedOnce) {
    // With recursion a start inside another is covered by it.
    EXPECT_TRUE(Search("a|a/b", "f2.txt", 10000));
    EXPECT_EQ((std::vector<std::string>{"a/b/f2.txt"}), seen_.found);
    // The ancestor takes the earlier place: the walk begins in a, not in a/b.
    EXPECT_TRUE(Search("a/b|a", "*", 10000));
    ASSERT_FALSE(seen_.found.empty());
    EXPECT_EQ(std::string::npos, seen_.found.front().find("b/f2"));
    EXPECT_EQ(1, std::count(seen_.found.begin(), seen_.found.end(), "a/b/f2.txt"));
    // Without recursion a parent and its child are different sets of files.
    EXPECT_TRUE(Search("a|a/b", "*.txt", 0));
    EXPECT_EQ((std::vector<std::string>{"a/.hidden.txt", "a/b/f2.txt", "a/f1.txt"}),
              Sorted(seen_.found));
    // The same directory twice goes in both modes; the comparison ignores case, so
    // "A" (which does not exist here) stands for "a" and nothing is found.
    for (int depth : {0, 10000}) {
        EXPECT_TRUE(Search("a|c/../a", "f1.txt", depth));
        EXPECT_EQ((std::vector<std::string>{"a/f1.txt"}), seen_.found);
        EXPECT_TRUE(Search("A|a", "*", depth));
        EXPECT_TRUE(seen_.found.empty()) << depth;
    }
}

TEST_F(FileSearch, ExclusionsSkipEntriesTheVisitorSeesThemAndAFalseCallbackEndsTheWalk) {
    // Excluded attributes: skipped silently, a directory is not entered either.
    EXPECT_TRUE(Search("a", "*", 10000, 0x10));
    EXPECT_EQ((std::vector<std::string>{"a/.hidden.txt", "a/f1.txt", "a/g.log"}),
              Sorted(seen_.found));
    EXPECT_TRUE(Search("a", "*", 10000, 0x02, nullptr, nullptr, nullptr, true));
    EXPECT_EQ(0, std::count(seen_.visited.begin(), seen_.visited.end(), "a/.hidden.txt+"));
    EXPECT_EQ(4u, seen_.found.size());
    EXPECT_TRUE(Search("a", "*", 10000, 0, "B", "*.LOG;.*", nullptr, true));
    EXPECT_EQ((std::vector<std::string>{"a/f1.txt"}), seen_.found);
    EXPECT_EQ((std::vector<std::string>{"a/.hidden.txt-", "a/b/-", "a/f1.txt+", "a/g.log-"}),
              Sorted(seen_.visited));  // b is not entered
    EXPECT_TRUE(Search("a", "*.txt", 10000, 0, nullptr, nullptr, "*/b", true));
    EXPECT_EQ((std::vector<std::string>{"a/.hidden.txt", "a/f1.txt"}), Sorted(seen_.found));
    // Not matching the patterns is no exclusion: "passed" is false all the same.
    EXPECT_EQ(1, std::count(seen_.visited.begin(), seen_.visited.end(), "a/g.log-"));

    // A false callback ends the walk.
    seen_.refuse.insert("a/b/");
    EXPECT_FALSE(Search("a|c", "*", 10000));
    EXPECT_EQ(0, std::count(seen_.found.begin(), seen_.found.end(), "a/b/f2.txt"));
    EXPECT_EQ(0, std::count(seen_.found.begin(), seen_.found.end(), "c/noext"));

    ReportCapture reports;
    const std::string tooLong = "/" + std::string(kMaxPathChars, 'x');
    EXPECT_TRUE(SearchFiles(tooLong.c_str(), "*", 0, Found, &seen_));  // skipped
    EXPECT_EQ(1, reports.Count("(false)"));
}

TEST_F(FileSearch, TreeToolsAddCarriageReturnsAndDropBlanksBeforeLineEnds) {
    Write(dir_.Path() / "a/f1.txt", "a\nb\r\nc\n\n");
    Write(dir_.Path() / "a/b/f2.txt", "\n");
    EXPECT_TRUE(ConvertTreeToCrLf((dir_ / "a").c_str(), "*.txt", true));
    EXPECT_EQ("a\r\nb\r\nc\r\n\r\n", Contents(dir_.Path() / "a/f1.txt"));
    EXPECT_EQ("\r\n", Contents(dir_.Path() / "a/b/f2.txt"));
    EXPECT_EQ("a/g.log", Contents(dir_.Path() / "a/g.log"));

    // TrimTreeLineEnds drops blanks before line ends.
    Write(dir_.Path() / "a/f1.txt", "a  \r\nb\t\nc d \t");
    Write(dir_.Path() / "a/.hidden.txt", "hidden \n");
    char failed[kMaxPathChars] = "x";
    int fixed = 0;
    EXPECT_TRUE(TrimTreeLineEnds((dir_ / "a").c_str(), "*.txt", true, failed, &fixed));
    EXPECT_EQ("a\r\nb\nc d", Contents(dir_.Path() / "a/f1.txt"));
    EXPECT_EQ("hidden \n", Contents(dir_.Path() / "a/.hidden.txt"));  // hidden: left alone
    EXPECT_EQ("\r\n", Contents(dir_.Path() / "a/b/f2.txt"));  // nothing to drop
    EXPECT_EQ(1, fixed);
    EXPECT_STREQ("", failed);
    EXPECT_FALSE(fs::exists(dir_.Path() / "a/f1.txt_"));
    // A zero byte makes a file no text.
    Write(dir_.Path() / "c/zero.txt", std::string("a \0b", 4));
    EXPECT_FALSE(TrimTreeLineEnds((dir_ / "c").c_str(), "zero.txt", false, failed, nullptr));
    EXPECT_EQ(LibraryPath(dir_ / "c/zero.txt"), failed);
}

}  // namespace
