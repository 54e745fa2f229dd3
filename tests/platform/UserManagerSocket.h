#pragma once

#include "platform/linux/FileDescriptor.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

namespace zolvex::test {

/// The user's systemd seems to run from now on: its socket is there, with nobody behind it.
inline void makeUserManagerSocket(const std::filesystem::path& runtimeDirectory) {
  std::filesystem::create_directories(runtimeDirectory / "systemd");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (runtimeDirectory / "systemd/private").string().copy(address.sun_path, sizeof address.sun_path - 1);
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

}  // namespace zolvex::test
