// The file kit: path text, file-system routines, the scope owners of cfile.h and the
// checked files. Templated routines run for char and char16_t; names above 0x7F
// included. File search: the walk's filters (the finder's matching under them), the
// removal of overlapping starts and the tree-wide text tools.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cfile.h"
#include "filesearch.h"
#include "qdfdk.h"
#include "qdr/platform/os_files.h"
#include "qdtime.h"
#include "report_capture.h"
#include "scratch_dir.h"
#include "smartstr.h"
#include "unit_text.h"

namespace {

namespace fs = std::filesystem;

// A UTF-8 text in the code unit of a test.
template <class C>
std::basic_string<C> U(const std::string& utf8) {
    const SmartStrT<C> text(utf8.c_str(), static_cast<int32_t>(utf8.size()));
    return text.c_str();
}

template <class CHAR>
class FileKit : public ::testing::Test {
protected:
    ScratchDir dir_{"qdfdk"};
    // A path inside the scratch directory, in the test's unit.
    std::basic_string<CHAR> In(const std::string& relative) const {
        return U<CHAR>(dir_ / relative);
    }
};
TYPED_TEST_SUITE(FileKit, TextUnits);

// "null" when NormalizePath refuses.
template <class C>
std::string Normalized(const std::string& ascii) {
    std::basic_string<C> text = Buffer<C>(ascii.c_str(), 2);  // NormalizePath may need 2 more
    return NormalizePath(&text[0]) ? Bytes(text.c_str()) : "null";
}

TYPED_TEST(FileKit, PathTextNormalisedRootsNamesRelationsAndLimits) {
    typedef TypeParam C;
    // clang-format off
    const struct { const char *path, *normal; } rows[] = {
        {"a/b//c", "a\\b\\c"},              {"a/././b", "a\\b"},
        {"a\\..\\b", "b"},                  {"a\\b\\..", "a\\"},
        {".\\..\\x", "..\\x"},              {"..\\..", "..\\..\\"},
        {"C:\\..", "null"},                 {"\\\\srv\\share\\x\\..", "\\\\srv\\share\\"},
        {"\\\\srv\\\\share", "\\\\srv\\share"}, {"\\\\\\x", "\\x"},  // a third '\' is no server
        {"a\\b\\\\", "a\\b\\"},           {"a\\", "a"},
        {"C:\\", "C:\\"},                 {"c:", "c:"},
        // Linux's absolute paths: a leading separator is the root.
        {"/var/../log", "\\log"},           {"/", "\\"},
        {"/var/../..", "null"},             {"/tmp/\xE4\xB8\xAD/", "\\tmp\\\xE4\xB8\xAD\\"},
    };
    // clang-format on
    for (const auto& row : rows) EXPECT_EQ(row.normal, Normalized<C>(row.path)) << row.path;

    // A refusal leaves the separators turned and the `\` behind the final "..".
    std::basic_string<C> refused = Buffer<C>("C:/..", 2);
    EXPECT_EQ(nullptr, NormalizePath(&refused[0]));
    EXPECT_EQ("C:\\..\\", Bytes(refused.c_str()));

    ReportCapture reports;
    EXPECT_EQ("", Normalized<C>("a\\.."));  // nothing is left to name
    EXPECT_EQ(1, reports.Count("(offset > 0)"));

    // root null: refused
    // clang-format off
    const struct { const char* path; const char* root; bool network; } roots[] = {
        {"C:\\x", "C:\\", false},    {"c:", "c:\\", false},         {"x\\y", ".\\", false},
        {"..", "..\\", false},       {"...\\y", nullptr, false},     {"<x", nullptr, false},
        {"\\\\srv\\share\\x", "\\\\srv\\share\\", true},
        {"\\\\srv\\share", "\\\\srv\\share\\", true},
        {"/var/log", "\\", false},    {" \tC:\\x \r\n", "C:\\", false},  {"   ", nullptr, false},
    };
    // clang-format on
    for (const auto& row : roots) {
        C root[kMaxPathChars];
        bool network = !row.network;
        const bool found = GetRoot(Txt<C>(row.path).c_str(), root, &network);
        EXPECT_EQ(row.root ? row.root : "refused", found ? Bytes(root) : "refused") << row.path;
        EXPECT_EQ(row.network, network) << row.path;
    }

    // clang-format off
    const struct { const char *dir, *file, *composed; } joined[] = {
        {"C:\\log\\", "\\a.txt", "C:\\log\\a.txt"}, {"C:\\log", "a.txt", "C:\\log\\a.txt"},
        {"", "x", "x"},                            {"", "a//b", "a//b"},  // as it stands
        {"dir/", "", "dir/"},                      {"/var/log", "app.log", "\\var\\log\\app.log"},
        {"a", "..\\b", "b"},                       {"/var/log/", "//x", "\\var\\log\\x"},
    };
    // clang-format on
    for (const auto& row : joined) {
        C dest[kMaxPathChars];
        EXPECT_TRUE(ComposeFileName(Txt<C>(row.dir).c_str(), Txt<C>(row.file).c_str(), dest));
        EXPECT_EQ(row.composed, Bytes(dest)) << row.dir << " + " << row.file;
        EXPECT_EQ(row.composed,
                  Bytes(ComposeFileName(Txt<C>(row.dir).c_str(), Txt<C>(row.file).c_str())));
    }
    // The destination may be either input.
    C both[kMaxPathChars] = {'a', '\\', 'b', 0};
    EXPECT_TRUE(ComposeFileName(both, Txt<C>("c").c_str(), both));
    EXPECT_EQ("a\\b\\c", Bytes(both));

    // dir null: refused
    // clang-format off
    const struct { const char *path, *dir; } dirs[] = {
        {"a\\b\\c.txt", "a\\b\\"},            {"c.txt", ".\\"},        {"C:\\", "C:\\"},
        {"C:x", "C:"},                         {"\\\\srv\\share", "\\\\srv\\share\\"},
        {"\\\\srv\\share\\x", "\\\\srv\\share\\"}, {"/var/log/x.log", "\\var\\log\\"},
        {"/x", "\\"},                          {"/", "\\"},             {"C:\\a\\..\\..", nullptr},
        {"...\\x", nullptr},
    };
    // clang-format on
    for (const auto& row : dirs) {
        C dir[kMaxPathChars];
        EXPECT_EQ(row.dir != nullptr, GetDirName(Txt<C>(row.path).c_str(), dir)) << row.path;
        EXPECT_EQ(row.dir ? row.dir : "", Bytes(dir)) << row.path;
        EXPECT_EQ(row.dir ? row.dir : "", Bytes(GetDirName(Txt<C>(row.path).c_str())));
    }
    C dir[kMaxPathChars];
    EXPECT_TRUE(GetParentDirName(Txt<C>("a\\b\\").c_str(), dir));
    EXPECT_EQ("a\\", Bytes(dir));
    EXPECT_TRUE(GetParentDirName(Txt<C>("/var/log//").c_str(), dir));
    EXPECT_EQ("\\var\\", Bytes(dir));

    // Relations of paths.
    // clang-format off
    const struct { const char *a, *b; int relation; } relations[] = {
        {"C:\\a", "C:\\a\\b", 1},     {"C:\\a\\b", "C:\\a", 2},     {"C:\\A", "c:\\a", 3},
        {"C:\\a\\", "C:\\a\\b", 0},   {"C:\\ab", "C:\\a", 0},       {"C:/a/./b", "c:\\A\\b", 3},
        {"/var/log", "/var/log/app", 1}, {"/var/log/", "/var/log/app", 0}, {"/x", "/y", 0},
    };
    // clang-format on
    for (const auto& row : relations)
        EXPECT_EQ(row.relation, ComparePathRelation(Txt<C>(row.a).c_str(), Txt<C>(row.b).c_str()))
            << row.a << " vs " << row.b;
    EXPECT_EQ(3,
              ComparePathRelation(Txt<C>("C:\\a|C:\\b").c_str(), Txt<C>("c:\\a").c_str(), 4, -1));

    // The validators accept only what the grammar allows.
    // clang-format off
    const struct { const char* path; bool file, path_, absolute; } validity[] = {
        {"a*b?", true, false, false},        {"a:b", false, false, false},
        {".", true, true, false},            {"..\\x", false, true, false},
        {"...\\x", false, false, false},     {"logs\\x", false, false, false},
        {"C:\\x", false, true, true},        {"C:x", false, false, false},
        {"1:\\x", false, false, false},      {"\\\\srv\\share", false, true, true},
        {"\\\\srv\\", false, false, false},  {"/var/log", false, true, true},
        {"/", false, true, true},            {"/var//log", false, false, false},
        {"/var/a<b", false, false, false},
    };
    // clang-format on
    for (const auto& row : validity) {
        const std::basic_string<C> text = Txt<C>(row.path);
        EXPECT_EQ(row.file, IsValidFileName(text.c_str())) << row.path;
        EXPECT_EQ(row.path_, IsValidPathName(text.c_str())) << row.path;
        EXPECT_EQ(row.absolute, IsValidAbsPath(text.c_str())) << row.path;
    }

    // The parts of a name.
    const std::basic_string<C> path = Txt<C>("a\\b/c.tar.gz");
    const C* name = nullptr;
    EXPECT_TRUE(SplitPathName(path.c_str(), &name, dir));
    EXPECT_EQ("c.tar.gz", Bytes(name));
    EXPECT_EQ("a\\b\\", Bytes(dir));
    EXPECT_EQ("b/c.tar.gz", Bytes(GetFileNamePart(path.c_str(), 3)));  // "a\b" counted
    EXPECT_EQ("x", Bytes(GetFileNamePart(Txt<C>("C:x").c_str())));

    // ext null: none
    // clang-format off
    const struct { const char *name, *ext; } exts[] = {
        {"c.tar.gz", "gz"}, {".bashrc", "bashrc"}, {"a.", nullptr}, {"a.d/x", nullptr},
    };
    // clang-format on
    for (const auto& row : exts) {
        C ext[kMaxPathChars];
        EXPECT_EQ(row.ext != nullptr, GetFileExt(Txt<C>(row.name).c_str(), ext)) << row.name;
        EXPECT_EQ(row.ext ? row.ext : "", Bytes(ext)) << row.name;
    }

    // 511 units fit a path buffer with its terminator; 512 and 513 do not.
    // 511 units fit a path buffer with its terminator; 512 and 513 do not.
    C out[kMaxPathChars];
    for (int len : {511, 512, 513}) {
        ReportCapture reports;
        const bool fits = len < kMaxPathChars;
        std::basic_string<C> path = Txt<C>("/d/");
        path.resize(static_cast<size_t>(len), C('x'));
        EXPECT_EQ(fits, ComposeFileName(Txt<C>("/d").c_str(), path.c_str() + 3, out)) << len;
        EXPECT_EQ(fits, GetRoot(path.c_str(), out)) << len;
        EXPECT_EQ(fits, GetDirName(path.c_str(), out)) << len;
        EXPECT_EQ(fits, IsValidPathName(path.c_str())) << len;
        EXPECT_EQ(fits ? 0 : 1, reports.Count("(false)")) << len;  // GetRoot's limit
    }
    EXPECT_TRUE(IsValidFileName(std::basic_string<C>(511, C('n')).c_str()));
    EXPECT_FALSE(IsValidFileName(std::basic_string<C>(512, C('n')).c_str()));
}

TYPED_TEST(FileKit, ExistenceAndTreesMadeAndRemoved) {
    typedef TypeParam C;
    Write(this->dir_ / "\xE4\xB8\xAD\xE6\x96\x87.log", "x");  // "中文.log"
    fs::create_directory(this->dir_ / "sub");
    const auto file = this->In("\xE4\xB8\xAD\xE6\x96\x87.log"), sub = this->In("sub");
    EXPECT_TRUE(IsExistFile(file.c_str()) && !IsExistDir(file.c_str()));
    EXPECT_TRUE(IsExistDir(sub.c_str()) && !IsExistFile(sub.c_str()));
    EXPECT_FALSE(IsExistFile(this->In("missing").c_str()));
    // The library's separator reaches the system as '/'.
    EXPECT_TRUE(IsExistDir(U<C>(LibraryPath(this->dir_ / "sub")).c_str()));
    // Drive and network names name nothing here.
    EXPECT_FALSE(IsExistDir(Txt<C>("C:\\").c_str()) || IsExistDir(Txt<C>("\\\\tmp\\x").c_str()));

    // CreateDirTree makes every missing parent.
    EXPECT_TRUE(CreateDirTree((U<C>(" ") + this->In("a/b\\c/") + U<C>(" \r\n")).c_str()));
    EXPECT_TRUE(fs::is_directory(this->dir_ / "a/b/c"));
    EXPECT_TRUE(CreateDirTree(this->In("a/b").c_str()));  // there already
    EXPECT_TRUE(CreateParentDirs(this->In("p/q/file.txt").c_str()));
    EXPECT_TRUE(fs::is_directory(this->dir_ / "p/q"));
    EXPECT_FALSE(fs::exists(this->dir_ / "p/q/file.txt"));
    EXPECT_TRUE(CreateParentDirs(Txt<C>("file.txt").c_str()));  // no directory part
    EXPECT_TRUE(CreateParentDirs(Txt<C>("/file").c_str()));

    Write(this->dir_ / "plain", "x");
    EXPECT_FALSE(CreateDirTree(this->In("plain/sub").c_str()));  // a file in the way
    EXPECT_FALSE(CreateDirTree(this->In("plain").c_str()));
    EXPECT_FALSE(CreateDirTree(Txt<C>(" \t").c_str()));
    // A name longer than the system allows is an invalid name.
    EXPECT_FALSE(CreateDirTree(this->In(std::string(300, 'n') + "/x").c_str()));

    // RemovePathTree removes links but not their targets.
    ScratchDir outside("qdfdk-outside");
    Write(outside / "keep.txt", "keep");
    fs::create_directories(this->dir_ / "tree/a/b");
    Write(this->dir_ / "tree/a/b/f.txt", "f");
    Write(this->dir_ / "tree/.hidden", "h");
    fs::create_directory_symlink(outside.Path(), this->dir_ / "tree/a/link");
    fs::create_symlink(this->dir_ / "gone", this->dir_ / "tree/dangling");

    EXPECT_TRUE(RemovePathTree(this->In("tree").c_str()));
    EXPECT_FALSE(fs::exists(this->dir_ / "tree"));
    EXPECT_EQ("keep", Contents(outside / "keep.txt"));
    EXPECT_FALSE(RemovePathTree(this->In("tree").c_str()));
    EXPECT_FALSE(RemovePathTree(Txt<C>("").c_str()));
}

// Times are set from local time and read back in UTC.
TYPED_TEST(FileKit, TimesRenamesCopiesAndLengthsUpToATebibyte) {
    // Times are set from local time and read back in UTC.
    Write(this->dir_ / "a", "aaa");
    Write(this->dir_ / "b", "bbb");
    const auto a = this->In("a"), b = this->In("b"), c = this->In("c");
    const MSEL local = DateTextToMSEL("20200102030405", false, true);
    ASSERT_TRUE(SetFileModifyTime(a.c_str(), local + 999));
    EXPECT_EQ(local - GetLocalZoneOffset(), GetFileModifyTime(a.c_str()));
    EXPECT_FALSE(SetFileModifyTime(a.c_str(), 2147443200000LL * 2));
    EXPECT_EQ(-1, GetFileModifyTime(this->In("missing").c_str()));

    EXPECT_FALSE(RenamePath(a.c_str(), b.c_str()));  // never replaces
    EXPECT_EQ("bbb", Contents(this->dir_ / "b"));
    EXPECT_TRUE(RenamePath(a.c_str(), c.c_str()));
    EXPECT_FALSE(CopyPath(c.c_str(), b.c_str(), true));
    EXPECT_EQ("bbb", Contents(this->dir_ / "b"));
    EXPECT_TRUE(CopyPath(c.c_str(), b.c_str(), false));
    EXPECT_EQ("aaa", Contents(this->dir_ / "b"));
    EXPECT_EQ(GetFileModifyTime(c.c_str()), GetFileModifyTime(b.c_str()));
    fs::create_directory(this->dir_ / "dir");
    EXPECT_FALSE(CopyPath(this->In("dir").c_str(), this->In("e").c_str(), false));
    EXPECT_EQ(3u, std::distance(fs::directory_iterator(this->dir_.Path()), {}));  // no leftovers

    // SetFileLength goes up to a tebibyte.
    const auto big = this->In("big");
    const int64_t kTiB = int64_t(1) << 40;
    EXPECT_TRUE(SetFileLength(big.c_str(), kTiB, false));  // sparse: no blocks are used
    EXPECT_EQ(kTiB, GetFileSizeByName(big.c_str()));
    EXPECT_FALSE(SetFileLength(big.c_str(), 10, false));  // exists
    EXPECT_TRUE(SetExistingFileLength(big.c_str(), 10));
    EXPECT_EQ(10, GetFileSizeByName(big.c_str()));
    EXPECT_FALSE(SetExistingFileLength(this->In("missing").c_str(), 10));

    ReportCapture reports;
    EXPECT_FALSE(SetFileLength(big.c_str(), kTiB + 1, true));
    EXPECT_EQ(1, reports.Count("(false)"));
    EXPECT_EQ(10, GetFileSizeByName(big.c_str()));
    EXPECT_EQ(-1, GetFileSizeByName(this->In("").c_str()));  // a directory
}

TYPED_TEST(FileKit, GetRealCasePathAndCheckedFilesThatSurviveACrash) {
    typedef TypeParam C;
    fs::create_directories(this->dir_ / "Logs/Day");
    Write(this->dir_ / "Logs/Day/File.TXT", "x");
    fs::create_directory(this->dir_ / "logs");  // the exact spelling wins
    C real[kMaxPathChars];
    ASSERT_TRUE(GetRealCasePath(this->In("Logs/DAY/file.txt").c_str(), -1, real));
    EXPECT_EQ(LibraryPath(this->dir_ / "Logs/Day/File.TXT"), Bytes(real));
    ASSERT_TRUE(GetRealCasePath(this->In("logs").c_str(), -1, real));
    EXPECT_EQ("logs", Bytes(real).substr(Bytes(real).size() - 4));
    EXPECT_FALSE(GetRealCasePath(this->In("Logs/").c_str(), -1, real));  // a trailing separator
    EXPECT_FALSE(GetRealCasePath(this->In("nothing/here").c_str(), -1, real));

    // Checked files survive a crash between the renames.
    const auto path = this->In("state.bin");
    EXPECT_TRUE(SaveCheckedFile("first", 5, path.c_str()));
    EXPECT_TRUE(IsCheckedFileIntact(path.c_str()));
    // The sum of "first" is 0x228, little-endian behind the data.
    EXPECT_EQ(std::string("first\x28\x02\0\0\0\0\0\0", 13), Contents(this->dir_ / "state.bin"));
    EXPECT_TRUE(SaveCheckedFile("second", 6, path.c_str()));
    EXPECT_TRUE(fs::exists(this->dir_ / "state.bin.bak"));
    EXPECT_FALSE(fs::exists(this->dir_ / "state.bin.tmp"));

    Binary loaded;
    ASSERT_TRUE(LoadCheckedFile(loaded, path.c_str()));
    EXPECT_EQ("second", std::string(reinterpret_cast<const char*>(loaded.Data()), loaded.Size()));

    // A crash after the old file became the backup and before the new one took
    // its place: no file, or a torn one. The backup comes back.
    Write(this->dir_ / "state.bin", "secon");
    EXPECT_FALSE(IsCheckedFileIntact(path.c_str()));
    ASSERT_TRUE(LoadCheckedFile(loaded, path.c_str()));
    EXPECT_EQ("first", std::string(reinterpret_cast<const char*>(loaded.Data()), loaded.Size()));
    EXPECT_FALSE(fs::exists(this->dir_ / "state.bin.bak"));
    fs::remove(this->dir_ / "state.bin");
    EXPECT_FALSE(LoadCheckedFile(loaded, path.c_str()));

    Write(this->dir_ / "eight", std::string(8, '\0'));  // the check alone: never intact
    EXPECT_FALSE(IsCheckedFileIntact(this->In("eight").c_str()));
}

TEST(FileKitStreams, SizesOfStreamsAndTheSystemTemporaryDirectory) {
    ScratchDir dir("qdfdk-stream");
    CFile file;
    ASSERT_TRUE(file.Open((dir / "s").c_str(), "wb"));
    fwrite("0123456789", 1, 10, file);
    EXPECT_EQ(0, GetFileSizeOfStream(file));
    fflush(file);
    EXPECT_EQ(10, GetFileSizeOfStream(file));
    fwrite("abc", 1, 3, file);
    EXPECT_TRUE(SetStreamLength(file, 4));  // flushes first, then cuts
    EXPECT_EQ(4, GetFileSizeOfStream(file));

    ReportCapture reports;
    EXPECT_FALSE(file.Open((dir / "t").c_str(), "wb"));  // the open stream is kept
    EXPECT_EQ(1, reports.Count("(!IsOpened())"));
    EXPECT_EQ(dir / "s", file.GetPath());
    file.Close();
    EXPECT_EQ("0123", Contents(dir / "s"));

    // CheckSystemTempPath gives the temporary directory with its separator.
    const char* saved = getenv("TMPDIR");
    const std::string savedText = saved ? saved : "";
    setenv("TMPDIR", (dir / "made/here").c_str(), 1);
    char buffer[kMaxPathChars];
    EXPECT_TRUE(CheckSystemTempPath(buffer));
    EXPECT_EQ(dir / "made/here/", buffer);
    EXPECT_TRUE(fs::is_directory(dir / "made/here"));

    Write(dir / "plain", "x");
    setenv("TMPDIR", (dir / "plain").c_str(), 1);
    EXPECT_EXIT(CheckSystemTempPath(buffer), testing::ExitedWithCode(255),
                "is the path of file.*Press OK to terminate the application!");
    if (saved)
        setenv("TMPDIR", savedText.c_str(), 1);
    else
        unsetenv("TMPDIR");
}

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

TEST_F(FileSearch, WalksPatternsOverlappingStartsExclusionsAndAFalseCallback) {
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

    // Overlapping starts are walked once.
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

    // Exclusions skip entries, and the visitor sees them.
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

    ReportCapture tooLongReports;
    const std::string tooLong = "/" + std::string(kMaxPathChars, 'x');
    EXPECT_TRUE(SearchFiles(tooLong.c_str(), "*", 0, Found, &seen_));  // skipped
    EXPECT_EQ(1, tooLongReports.Count("(false)"));
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
    EXPECT_EQ("\r\n", Contents(dir_.Path() / "a/b/f2.txt"));          // nothing to drop
    EXPECT_EQ(1, fixed);
    EXPECT_STREQ("", failed);
    EXPECT_FALSE(fs::exists(dir_.Path() / "a/f1.txt_"));
    // A zero byte makes a file no text.
    Write(dir_.Path() / "c/zero.txt", std::string("a \0b", 4));
    EXPECT_FALSE(TrimTreeLineEnds((dir_ / "c").c_str(), "zero.txt", false, failed, nullptr));
    EXPECT_EQ(LibraryPath(dir_ / "c/zero.txt"), failed);
}

}  // namespace
