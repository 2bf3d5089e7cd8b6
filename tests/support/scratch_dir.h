// A directory of its own for one test, under the system's temporary directory,
// removed with everything in it when the test ends, and named by the environment
// variable `env` while it lives (the store's TMPDIR or XDG_STATE_HOME); and the
// whole of a file as text, read and written.
#pragma once

#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "qdr/platform/os.h"

class ScratchDir {
public:
    explicit ScratchDir(const std::string& tag, const char* env = nullptr) : env_(env) {
        static std::atomic<int> serial{0};
        path_ = std::filesystem::temp_directory_path() /
                (tag + "-" + std::to_string(os::CurrentProcessId()) + "-" +
                 std::to_string(serial.fetch_add(1)));
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
        if (env_) setenv(env_, path_.c_str(), 1);
    }
    ~ScratchDir() {
        if (env_) unsetenv(env_);
        std::error_code ignored;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    // A path inside, as text with '/' separators.
    std::string operator/(const std::string& relative) const { return (path_ / relative).string(); }
    std::string Text() const { return path_.string(); }

private:
    const char* env_;
    std::filesystem::path path_;
};

// A path of the library's grammar as the system takes it, and back: '\' <-> '/'.
//   "\opt\app\qdlog.ini" <-> "/opt/app/qdlog.ini"
inline std::string SystemPath(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}
inline std::string LibraryPath(std::string path) {
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}

inline std::string Contents(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void Write(const std::filesystem::path& path, const std::string& data) {
    std::ofstream(path, std::ios::binary) << data;
}
