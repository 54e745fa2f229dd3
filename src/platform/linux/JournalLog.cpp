#include "platform/linux/JournalLog.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace zolvex {

namespace {

constexpr auto journalSocket = "/run/systemd/journal/socket";

class JournalSocket {
 public:
  explicit JournalSocket(const std::string& path) : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    address_.sun_family = AF_UNIX;
    path.copy(address_.sun_path, sizeof address_.sun_path - 1);
  }
  ~JournalSocket() {
    if (socket_ >= 0) close(socket_);
  }
  JournalSocket(const JournalSocket&) = delete;

  bool send(const std::string& record) const {
    const auto sent = sendto(socket_, record.data(), record.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                             reinterpret_cast<const sockaddr*>(&address_), sizeof address_);
    return sent == static_cast<ssize_t>(record.size());
  }

 private:
  const int socket_;
  sockaddr_un address_{};
};

/// One field of the journal's native protocol: "NAME=value", or, for a value with line feeds in it, the name, the
/// length as 64 bits in little-endian order, and the value.
void appendField(std::string& record, std::string_view name, std::string_view value) {
  record += name;
  if (value.find('\n') == std::string_view::npos) {
    record += '=';
  } else {
    record += '\n';
    for (int shift = 0; shift < 64; shift += 8)
      record += static_cast<char>(static_cast<std::uint64_t>(value.size()) >> shift & 0xFF);
  }
  record += value;
  record += '\n';
}

std::string_view priorityOf(LogLevel level) {
  switch (level) {
    case LogLevel::info:
      return "6";
    case LogLevel::error:
      return "3";
    case LogLevel::fatal:
      return "2";
  }
  return "6";
}

std::string nativeRecord(const LogRecord& record) {
  std::string fields;
  appendField(fields, "MESSAGE", record.message);
  appendField(fields, "PRIORITY", priorityOf(record.level));
  appendField(fields, "SYSLOG_IDENTIFIER", "zolvex");
  appendField(fields, "SUBSYSTEM", logSubsystem);
  appendField(fields, "CATEGORY", record.category);
  return fields;
}

/// systemd names the device and inode of the stream that it gave to the service.
bool standardErrorIsJournal() {
  const char* stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  if (!stream || fstat(STDERR_FILENO, &status) != 0) return false;
  return fmt::format("{}:{}", status.st_dev, status.st_ino) == stream;
}

}  // namespace

LogSink journalOrStandardError() {
  return standardErrorIsJournal() ? journalSink(journalSocket) : LogSink(writeToStandardError);
}

LogSink journalSink(const std::string& socketPath) {
  return [socket = std::make_shared<JournalSocket>(socketPath)](const LogRecord& record) {
    if (!socket->send(nativeRecord(record))) writeToStandardError(record);
  };
}

}  // namespace zolvex
