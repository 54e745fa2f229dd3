#pragma once

#include <string>
#include <string_view>

namespace zolvex {

/// Collects the bytes of one TCP connection up to the first delimiter. What follows the delimiter is discarded.
class FrameReader {
 public:
  enum class State {
    incomplete,  ///< No delimiter yet.
    complete,    ///< message() is the whole frame.
    tooLong,     ///< More than the maximum came without a delimiter; message() is the maximum of it.
  };

  /// Takes the next bytes. Bytes after the end of the frame change nothing.
  State feed(std::string_view bytes);

  State state() const { return state_; }

  /// The bytes before the delimiter, or all bytes so far.
  const std::string& message() const { return message_; }

 private:
  std::string message_;
  State state_ = State::incomplete;
};

}  // namespace zolvex
