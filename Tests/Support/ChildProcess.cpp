#include "ChildProcess.h"

#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string>

pid_t startChild(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::runtime_error("fork failed");
    }
    if (child == 0) {
        int status = 99;
        try {
            status = body();
        } catch (...) {
        }
        ::_exit(status);
    }
    return child;
}

int waitForChild(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int runInChild(const std::function<int()>& body) {
    return waitForChild(startChild(body));
}

void dropPrivileges() {
    if (::geteuid() != 0) {
        return;
    }
    constexpr uid_t kNobody = 65534;
    if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) {
        throw std::runtime_error("cannot give up the rights of root");
    }
}

bool mountSmallFileSystem(const char* folder, unsigned bytes) {
    const std::string options = "size=" + std::to_string(bytes);
    return ::unshare(CLONE_NEWNS) == 0 &&
           ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("none", folder, "tmpfs", 0, options.c_str()) == 0;
}
