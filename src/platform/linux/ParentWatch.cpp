#include "platform/linux/ParentWatch.h"

#include <csignal>
#include <sys/prctl.h>

namespace zolvex {

void endWithParent() {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
}

}  // namespace zolvex
