#pragma once

#include <string>
#include <variant>

namespace zolvex::lab {

/// New mount, network and process namespaces in which a world lives, so that it sees nothing of this computer's buses
/// and network, leaves no file behind, and ends as a whole: three processes stand in a row. The outer one, which was
/// started, waits and hands signals on. The first one inside reaps orphans; when it ends, however it ends, the kernel
/// ends everything inside. The third one is the program. As an ordinary user a user namespace is made, too.
class Sandbox {
 public:
  /// The caller goes on as the program inside. It is a new process: nothing but main() may have happened before.
  struct Inside {};

  /// The caller is the outer process and everything inside has ended; main() returns this.
  struct Ended {
    int exitStatus;
  };

  /// Namespaces cannot be made here; says why and what to do.
  struct Impossible {
    std::string reason;
  };

  static std::variant<Inside, Ended, Impossible> enter();

  /// Directory of files that go with the sandbox. Temporary files of processes inside are in it as well.
  static constexpr const char* directory = "/run/zolvex-lab";

  /// Process id, as seen from outside, of a process whose namespaces are those of the sandbox.
  static std::string outerProcessId();
};

}  // namespace zolvex::lab
