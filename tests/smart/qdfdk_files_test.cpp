// File-system routines of the file kit, the scope owners of cfile.h and the checked
// files. Templated routines run for char and char16_t; names above 0x7F included.
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

TYPED_TEST(FileKit, ExistenceTellsFilesFromDirectories) {
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
}

TYPED_TEST(FileKit, CreateDirTreeMakesEveryMissingParent) {
    typedef TypeParam C;
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
}

TYPED_TEST(FileKit, RemovePathTreeRemovesLinksButNotTheirTargets) {
    typedef TypeParam C;
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
