#pragma once

#include <sys/types.h>

#include <functional>

/// Runs `body` in a forked process and answers its exit status: what `body` answered, 99 when it
/// threw, 128 and the signal's number when one ended it. A body has no use for test assertions: it
/// must answer what it saw.
int runInChild(const std::function<int()>& body);

/// Starts such a process without waiting for it.
pid_t startChild(const std::function<int()>& body);
/// Waits for it; answers as runInChild does.
int waitForChild(pid_t child);

/// In a child: gives up the rights of root, which may read and write anything. Does nothing for
/// other users.
void dropPrivileges();
/// In a child: mounts an empty file system of `bytes` bytes on a folder, for this process alone.
/// False when the system does not allow that.
bool mountSmallFileSystem(const char* folder, unsigned bytes);
