// The report's file: written beside its place and renamed over it in one step.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "cli/cli.h"

namespace cli {

namespace {

std::string ErrnoText(int error) { return std::strerror(error); }

// A new file beside `path` that no one else can open in the meantime; -1 and `why` on failure.
int CreateBeside(const std::string& path, std::string& temp, std::string& why) {
    temp = path + ".XXXXXX";
    int fd = ::mkstemp(temp.data());
    if (fd < 0) why = ErrnoText(errno);
    return fd;
}

bool WriteAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

bool IsDirectory(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

bool CheckReportPath(const std::string& path, std::string& why) {
    if (IsDirectory(path)) {
        why = "it is a directory";
        return false;
    }
    std::string temp;
    int fd = CreateBeside(path, temp, why);
    if (fd < 0) return false;
    ::close(fd);
    ::unlink(temp.c_str());
    return true;
}

bool WriteReportFile(const std::string& path, const std::string& text, std::string& why) {
    if (IsDirectory(path)) {
        why = "it is a directory";
        return false;
    }
    std::string temp;
    int fd = CreateBeside(path, temp, why);
    if (fd < 0) return false;
    // The file gets the mode any new file of the user gets, as a report written in place did.
    mode_t mask = ::umask(0);
    ::umask(mask);
    bool ok = ::fchmod(fd, 0666 & ~mask) == 0 && WriteAll(fd, text) && ::fsync(fd) == 0;
    if (!ok) why = ErrnoText(errno);
    if (::close(fd) != 0 && ok) {
        ok = false;
        why = ErrnoText(errno);
    }
    if (ok && ::rename(temp.c_str(), path.c_str()) != 0) {
        ok = false;
        why = ErrnoText(errno);
    }
    if (!ok) ::unlink(temp.c_str());
    return ok;
}

}  // namespace cli
