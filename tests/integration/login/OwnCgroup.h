#pragma once

#include <string>

namespace zolvex::test {

/// A branch of the control group tree that is the whole tree for one process and what it starts. systemd wants one to
/// itself. The path is chosen at construction, before the sandbox is entered, so that the process outside can take the
/// branch away when everything inside has ended.
class OwnCgroup {
 public:
  OwnCgroup();

  /// Inside: makes the branch, moves the caller into it, and shows it the branch as the tree. Empty when it worked, or
  /// else what did not.
  std::string enter() const;

  /// Takes the branch away. Nobody may be in it any more.
  void remove() const;

 private:
  std::string path_;  // empty where there is no tree of the second version
};

}  // namespace zolvex::test
