// MappingFile over files and over named shared memory. The shared-memory cases run a second process
// (tools/shared_map).
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "child_process.h"
#include "mappingfile.h"
#include "qdfdk.h"
#include "qdr/platform/os.h"
#include "report_capture.h"
#include "scratch_dir.h"

namespace {

namespace fs = std::filesystem;

std::string Pattern(size_t n) {
    std::string s(n, 0);
    for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>(i * 7 + i / 251);
    return s;
}

std::string View(const MappingFile& map) {
    return std::string(static_cast<const char*>(map.GetAddress()), map.GetMappedSize());
}

TEST(MappingFile, RefusesWhatCannotBeMappedViewsReadWriteAndCopyOnWrite) {
    ScratchDir dir("mapping");
    ASSERT_EQ(0, ChildProcess({"/usr/bin/mkfifo", dir / "fifo"}).Wait());
    fs::create_directory(dir / "sub");
    const std::string longPath = dir.Text() + "/" + std::string(511 - dir.Text().size(), 'x');
    ASSERT_EQ(512u, longPath.size());
    const std::pair<std::string, int> cases[] = {
        {dir / "missing", 0}, {dir / "sub", 0}, {dir / "fifo", 0}, {longPath, 1}};
    for (const auto& [path, reports] : cases) {
        ReportCapture capture;
        MappingFile map;
        EXPECT_FALSE(map.Open(path.c_str(), false, 0, 0, false, nullptr, false)) << path;
        EXPECT_FALSE(map.IsOpened());
        EXPECT_EQ(reports, capture.Count("(len < kMaxPathChars)")) << path;
    }

    Write(dir / "empty", "");
    MappingFile empty;
    ASSERT_TRUE(empty.Open((dir / "empty").c_str(), true, 0, 0, false, nullptr, false));
    EXPECT_TRUE(empty.IsOpened());
    EXPECT_EQ(nullptr, empty.GetAddress());
    EXPECT_EQ(0u, empty.GetFileSize());
    ReportCapture capture;
    EXPECT_FALSE(empty.Open((dir / "empty").c_str(), true, 0, 0, false, nullptr, false));
    EXPECT_EQ(1, capture.Count("(false)"));
    EXPECT_FALSE(empty.MapView(0, 0));
    EXPECT_EQ(2, capture.Count("(false)"));

    // Views, read-write and copy-on-write.
    const std::string path = dir / "data", data = Pattern(10000);
    Write(path, data);

    MappingFile map;
    ASSERT_TRUE(map.Open(path.c_str(), false, 4097, 0, false, nullptr, false));
    EXPECT_EQ(data.substr(4097), View(map));
    map.Close();
    ASSERT_TRUE(map.Open(path.c_str(), false, 0, 0, false, nullptr, false));
    uint32_t length = 0;
    ASSERT_TRUE(map.MapView(9990, 50, nullptr, &length));
    EXPECT_EQ(10u, length);
    EXPECT_EQ(data.substr(9990), View(map));
    EXPECT_FALSE(map.MapView(10000, 1)) << "a view at the end of the file";
    map.Close();

    // Copy-on-write: the view takes writes, the file keeps its bytes.
    ASSERT_TRUE(map.Open(path.c_str(), true, 0, 0, false, nullptr, true));
    memset(map.GetAddress(), 'c', map.GetMappedSize());
    EXPECT_EQ(std::string(10000, 'c'), View(map));
    map.Close();
    EXPECT_EQ(data, Contents(path));

    // Read-write: the writes reach the file.
    ASSERT_TRUE(map.Open(path.c_str(), true, 0, 0, false, nullptr, false));
    memcpy(static_cast<char*>(map.GetAddress()) + 5000, "written", 7);
    EXPECT_TRUE(map.Flush(static_cast<char*>(map.GetAddress()) + 5000, 7));
    EXPECT_EQ("written", Contents(path).substr(5000, 7));

    // A file cut short under the mapping: no new view reaches past its end.
    fs::resize_file(path, 10);
    EXPECT_EQ(10, map.GetCurrentFileSize());
    EXPECT_FALSE(map.MapView(0, 0));
    EXPECT_TRUE(map.MapView(0, 10));
}

class SharedMap : public ::testing::Test {
protected:
    std::string name_ = "qdtest_" + std::to_string(os::CurrentProcessId()) + "_" +
                        ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::string Shm() const { return "/dev/shm/" + name_ + "_mpf"; }
    std::vector<std::string> Peer(const char* mode, uint32_t n) const {
        return {SHARED_MAP_DEMO, mode, name_, std::to_string(n)};
    }
    static std::string FirstLine(ChildProcess& child) {
        std::string line;
        child.ReadLine(&line);
        return line;
    }
};

TEST_F(SharedMap, TwoProcessesShareJoinersMustFitTheLastUserUnlinksAKilledMakersMapIsTakenOver) {
    const uint32_t n = 20000;
    ChildProcess writer(Peer("write", n));
    EXPECT_EQ("open 1 created 1", FirstLine(writer));
    ChildProcess reader(Peer("read", n));
    EXPECT_EQ("open 1 created 0", FirstLine(reader));

    const std::string written = FirstLine(writer);
    EXPECT_NE("sum 0", written);
    EXPECT_EQ(written, FirstLine(reader)) << "both see the same bytes";
    EXPECT_EQ(0, reader.Wait());
    EXPECT_EQ(0, writer.Wait());
    EXPECT_FALSE(fs::exists(Shm()));

    // Joiners must fit; the last user of the maker unlinks.
    MappingFile first, second;
    ASSERT_TRUE(first.Open(nullptr, true, 0, 4096, false, name_.c_str(), false));
    EXPECT_TRUE(first.IsCreated());
    EXPECT_TRUE(first.IsPagingViewMapped());
    EXPECT_FALSE(first.MapView(0, 0)) << "a shared map keeps its one view";
    EXPECT_STREQ(name_.c_str(), first.GetPagingMapName());
    ASSERT_TRUE(second.Open(nullptr, true, 0, 1024, false, name_.c_str(), false));
    EXPECT_FALSE(second.IsCreated());
    static_cast<char*>(first.GetAddress())[100] = 'x';
    EXPECT_EQ('x', static_cast<char*>(second.GetAddress())[100]);

    ChildProcess larger(Peer("join", 8192));
    EXPECT_EQ("open 0 created 0", FirstLine(larger));
    ChildProcess smaller(Peer("join", 2048));
    EXPECT_EQ("open 1 created 0", FirstLine(smaller));
    EXPECT_EQ(1, larger.Wait());
    EXPECT_EQ(0, smaller.Wait());

    first.Close();
    EXPECT_TRUE(fs::exists(Shm())) << "another user in this process";
    second.Close();
    EXPECT_FALSE(fs::exists(Shm()));

    // A map left by a killed process is taken over.
    {
        ChildProcess holder(Peer("hold", 4096));
        EXPECT_EQ("open 1 created 1", FirstLine(holder));
        holder.Kill();
        holder.Wait();
    }
    EXPECT_TRUE(fs::exists(Shm()));
    MappingFile third;
    ASSERT_TRUE(third.Open(nullptr, true, 0, 8192, false, name_.c_str(), false));
    EXPECT_TRUE(third.IsCreated());
    EXPECT_EQ(8192u, third.GetMappedSize());
    static_cast<char*>(third.GetAddress())[8191] = 1;
    third.Close();
    EXPECT_FALSE(fs::exists(Shm()));
}

}  // namespace
