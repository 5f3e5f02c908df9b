// rose-pipe SOCKET PROGRAM [ARGS...]: runs PROGRAM with its standard input and output connected
// to rose-host's Unix socket, for a program that cannot open Unix sockets itself (the
// modelling tool's bridge under a Wine without them). The socket's directory must be the
// user's own, as for every client of rose-host; CORVANSIL_STDIO_SOCKET tells the program which
// socket its standard input and output are.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/rose_socket.h"

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: rose-pipe SOCKET PROGRAM [ARGS...]\n");
        return 2;
    }
    std::string path = argv[1];
    std::string unsafe = platform::CheckSocketDirectory(path, /*create=*/false);
    if (!unsafe.empty()) {
        std::fprintf(stderr, "rose-pipe: %s\n", unsafe.c_str());
        return 2;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        std::fprintf(stderr, "rose-pipe: socket path too long: %s\n", path.c_str());
        return 2;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0 || connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        std::fprintf(stderr, "rose-pipe: cannot reach rose-host at %s: %s\n", path.c_str(),
                     std::strerror(errno));
        return 2;
    }
    if (dup2(fd, STDIN_FILENO) < 0 || dup2(fd, STDOUT_FILENO) < 0) {
        std::fprintf(stderr, "rose-pipe: %s\n", std::strerror(errno));
        return 2;
    }
    close(fd);
    setenv("CORVANSIL_STDIO_SOCKET", path.c_str(), 1);
    execvp(argv[2], argv + 2);
    std::fprintf(stderr, "rose-pipe: cannot run %s: %s\n", argv[2], std::strerror(errno));
    return 2;
}
