#include "platform/linux/ParentWatch.h"

#include "core/Time.h"
#include "platform/linux/FileDescriptor.h"

#include <cstdlib>
#include <poll.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace zolvex {

namespace {

/// How often to look at kernels without process descriptors.
constexpr int lookIntervalMilliseconds = 250;

void watch(pid_t parent, const FileDescriptor& descriptor) {
  // An orphan gets another parent, which the descriptor knows nothing of: whoever wakes us up, this is what counts.
  while (::getppid() == parent) {
    pollfd ended{descriptor.get(), POLLIN, 0};
    ::poll(&ended, 1, descriptor.isOpen() ? -1 : lookIntervalMilliseconds);
  }
  std::_Exit(EXIT_FAILURE);
}

}  // namespace

void endWithParent() {
  const pid_t parent = ::getppid();
  FileDescriptor descriptor(static_cast<int>(::syscall(SYS_pidfd_open, parent, 0)));
  std::thread([parent, held = std::move(descriptor)] { watch(parent, held); }).detach();
}

}  // namespace zolvex
