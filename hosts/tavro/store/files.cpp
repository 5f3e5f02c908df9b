#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "hosts/tavro/store/store.h"

namespace tavro {

namespace {

std::string SystemError(const std::string& what) { return what + ": " + std::strerror(errno); }

bool WriteAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        ssize_t n = write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

// The process id a serving tavro-host wrote into the lock file, "" when there is none.
std::string HolderOf(int fd) {
    char text[32] = {};
    ssize_t n = pread(fd, text, sizeof text - 1, 0);
    if (n <= 0) return "";
    std::string pid(text, static_cast<std::size_t>(n));
    while (!pid.empty() && (pid.back() == '\n' || pid.back() == ' ')) pid.pop_back();
    return pid;
}

}  // namespace

ServeLock::ServeLock(const std::string& dir) {
    std::string path = (std::filesystem::path(dir) / kServeLockFile).string();
    fd_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd_ < 0) throw StoreError(SystemError("cannot open " + path));
    if (flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        int error = errno;
        std::string holder = HolderOf(fd_);
        close(fd_);
        if (error != EWOULDBLOCK) {
            errno = error;
            throw StoreError(SystemError("cannot lock " + path));
        }
        throw StoreError(dir + " is already served by another tavro-host" +
                         (holder.empty() ? "" : " (process " + holder + ")") +
                         "; stop that one first");
    }
    std::string pid = std::to_string(getpid()) + "\n";
    if (ftruncate(fd_, 0) != 0 || !WriteAll(fd_, pid)) {
        close(fd_);
        throw StoreError(SystemError("cannot write " + path));
    }
}

ServeLock::~ServeLock() {
    // Closing the descriptor releases the lock; the file stays for the next server.
    if (fd_ >= 0) close(fd_);
}

void WriteFileAtomically(const std::string& path, const std::string& text) {
    std::filesystem::path target(path);
    std::string temporary =
        (target.parent_path() / ("." + target.filename().string() + ".XXXXXX")).string();
    int fd = mkostemp(temporary.data(), O_CLOEXEC);  // mode 0600
    if (fd < 0) throw StoreError(SystemError("cannot create a file beside " + path));
    bool written = WriteAll(fd, text) && fsync(fd) == 0;
    int error = errno;
    if (close(fd) != 0 && written) {
        written = false;
        error = errno;
    }
    if (!written || rename(temporary.c_str(), path.c_str()) != 0) {
        if (written) error = errno;
        unlink(temporary.c_str());
        errno = error;
        throw StoreError(SystemError("cannot write " + path));
    }
    // The rename itself reaches the disk with the directory.
    int dirFd = open(target.parent_path().empty() ? "." : target.parent_path().c_str(),
                     O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        fsync(dirFd);
        close(dirFd);
    }
}

}  // namespace tavro
