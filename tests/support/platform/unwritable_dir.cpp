#include "unwritable_dir.h"

#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

constexpr uid_t kNobody = 65534;

// The saved user stays root, so the effective one can come back.
UnwritableDir::UnwritableDir(const std::string& dir)
    : dir_(dir), wasRoot_(geteuid() == 0 && seteuid(kNobody) == 0) {
    if (!wasRoot_) chmod(dir_.c_str(), 0555);
}

UnwritableDir::~UnwritableDir() {
    if (!wasRoot_)
        chmod(dir_.c_str(), 0755);
    else if (seteuid(0) != 0)
        _exit(3);  // the rest of the tests would run as nobody
}

bool DropRootsRightOverModes() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, data) != 0) return false;
    data[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
    return syscall(SYS_capset, &header, data) == 0;
}
