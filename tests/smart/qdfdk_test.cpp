// The file kit: path text, file-system routines, the scope owners of cfile.h and the
// checked files. Templated routines run for char and char16_t; names above 0x7F
// included.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "cfile.h"
#include "unit_text.h"
#include "qdfdk.h"
#include "qdr/platform/os_files.h"
#include "qdtime.h"
#include "report_capture.h"
#include "scratch_dir.h"
#include "smartstr.h"

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

TYPED_TEST(FileKit, NormalizePathResolvesComponentsAndKeepsRoots) {
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
}

TYPED_TEST(FileKit, RootsJoinedNamesAndDirectoryNames) {
    typedef TypeParam C;
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
}

TYPED_TEST(FileKit, PathRelationsValidatorsAndNameParts) {
    typedef TypeParam C;
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
    C dir[kMaxPathChars];
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
}

// 511 units fit a path buffer with its terminator; 512 and 513 do not.
TYPED_TEST(FileKit, PathsOf511FitAnd512Or513AreRefused) {
    typedef TypeParam C;
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
TYPED_TEST(FileKit, TimesRenamesAndCopies) {
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
}

TYPED_TEST(FileKit, SetFileLengthGoesUpToATebibyte) {
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

TYPED_TEST(FileKit, GetRealCasePathFindsTheSpellingOnDisk) {
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
}

TYPED_TEST(FileKit, CheckedFilesSurviveACrashBetweenTheRenames) {
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

TEST(GetFileSizeOfStream, CountsOnlyWhatReachedTheSystem) {
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
}

TEST(CheckSystemTempPath, GivesTheTemporaryDirectoryWithItsSeparator) {
    ScratchDir dir("qdfdk-temp");
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

}  // namespace
