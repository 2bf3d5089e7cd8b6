// Path text, narrow and wide: every test runs for char and char16_t.
#include <gtest/gtest.h>

#include <string>

#include "unit_text.h"
#include "qdfdk.h"
#include "report_capture.h"

namespace {

template <class CHAR>
class PathText : public ::testing::Test {};
TYPED_TEST_SUITE(PathText, TextUnits);

// "null" when NormalizePath refuses.
template <class C>
std::string Normalized(const std::string& ascii) {
    std::basic_string<C> text = Buffer<C>(ascii.c_str(), 2);  // NormalizePath may need 2 more
    return NormalizePath(&text[0]) ? Bytes(text.c_str()) : "null";
}

TYPED_TEST(PathText, NormalizePathResolvesComponentsAndKeepsRoots) {
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

TYPED_TEST(PathText, GetRootClassifiesEveryStart) {
    typedef TypeParam C;
    // root null: refused
    // clang-format off
    const struct { const char* path; const char* root; bool network; } rows[] = {
        {"C:\\x", "C:\\", false},    {"c:", "c:\\", false},         {"x\\y", ".\\", false},
        {"..", "..\\", false},       {"...\\y", nullptr, false},     {"<x", nullptr, false},
        {"\\\\srv\\share\\x", "\\\\srv\\share\\", true},
        {"\\\\srv\\share", "\\\\srv\\share\\", true},
        {"/var/log", "\\", false},    {" \tC:\\x \r\n", "C:\\", false},  {"   ", nullptr, false},
    };
    // clang-format on
    for (const auto& row : rows) {
        C root[kMaxPathChars];
        bool network = !row.network;
        const bool found = GetRoot(Txt<C>(row.path).c_str(), root, &network);
        EXPECT_EQ(row.root != nullptr, found) << row.path;
        if (row.root) {
            EXPECT_EQ(row.root, Bytes(root)) << row.path;
        }
        EXPECT_EQ(row.network, network) << row.path;
    }
}

TYPED_TEST(PathText, ComposeFileNameJoinsAndNormalises) {
    typedef TypeParam C;
    // clang-format off
    const struct { const char *dir, *file, *composed; } rows[] = {
        {"C:\\log\\", "\\a.txt", "C:\\log\\a.txt"}, {"C:\\log", "a.txt", "C:\\log\\a.txt"},
        {"", "x", "x"},                            {"", "a//b", "a//b"},  // as it stands
        {"dir/", "", "dir/"},                      {"/var/log", "app.log", "\\var\\log\\app.log"},
        {"a", "..\\b", "b"},                       {"/var/log/", "//x", "\\var\\log\\x"},
    };
    // clang-format on
    for (const auto& row : rows) {
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
}

TYPED_TEST(PathText, GetDirNameKeepsTheRootAndTheSeparator) {
    typedef TypeParam C;
    // dir null: refused
    // clang-format off
    const struct { const char *path, *dir; } rows[] = {
        {"a\\b\\c.txt", "a\\b\\"},            {"c.txt", ".\\"},        {"C:\\", "C:\\"},
        {"C:x", "C:"},                         {"\\\\srv\\share", "\\\\srv\\share\\"},
        {"\\\\srv\\share\\x", "\\\\srv\\share\\"}, {"/var/log/x.log", "\\var\\log\\"},
        {"/x", "\\"},                          {"/", "\\"},             {"C:\\a\\..\\..", nullptr},
        {"...\\x", nullptr},
    };
    // clang-format on
    for (const auto& row : rows) {
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

TYPED_TEST(PathText, ComparePathRelationIgnoresCaseAndTrailingSeparators) {
    typedef TypeParam C;
    // clang-format off
    const struct { const char *a, *b; int relation; } rows[] = {
        {"C:\\a", "C:\\a\\b", 1},     {"C:\\a\\b", "C:\\a", 2},     {"C:\\A", "c:\\a", 3},
        {"C:\\a\\", "C:\\a\\b", 0},   {"C:\\ab", "C:\\a", 0},       {"C:/a/./b", "c:\\A\\b", 3},
        {"/var/log", "/var/log/app", 1}, {"/var/log/", "/var/log/app", 0}, {"/x", "/y", 0},
    };
    // clang-format on
    for (const auto& row : rows)
        EXPECT_EQ(row.relation, ComparePathRelation(Txt<C>(row.a).c_str(), Txt<C>(row.b).c_str()))
            << row.a << " vs " << row.b;
    EXPECT_EQ(3,
              ComparePathRelation(Txt<C>("C:\\a|C:\\b").c_str(), Txt<C>("c:\\a").c_str(), 4, -1));
}

TYPED_TEST(PathText, ValidatorsAcceptOnlyWhatTheGrammarAllows) {
    typedef TypeParam C;
    // clang-format off
    const struct { const char* path; bool file, path_, absolute; } rows[] = {
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
    for (const auto& row : rows) {
        const std::basic_string<C> text = Txt<C>(row.path);
        EXPECT_EQ(row.file, IsValidFileName(text.c_str())) << row.path;
        EXPECT_EQ(row.path_, IsValidPathName(text.c_str())) << row.path;
        EXPECT_EQ(row.absolute, IsValidAbsPath(text.c_str())) << row.path;
    }
}

TYPED_TEST(PathText, NamePartsAndExtensions) {
    typedef TypeParam C;
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
    const struct { const char *name, *ext; } rows[] = {
        {"c.tar.gz", "gz"}, {".bashrc", "bashrc"}, {"a.", nullptr}, {"a.d/x", nullptr},
    };
    // clang-format on
    for (const auto& row : rows) {
        C ext[kMaxPathChars];
        EXPECT_EQ(row.ext != nullptr, GetFileExt(Txt<C>(row.name).c_str(), ext)) << row.name;
        EXPECT_EQ(row.ext ? row.ext : "", Bytes(ext)) << row.name;
    }
}

// 511 units fit a path buffer with its terminator; 512 and 513 do not.
TYPED_TEST(PathText, PathsOf511FitAnd512Or513AreRefused) {
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

}  // namespace
