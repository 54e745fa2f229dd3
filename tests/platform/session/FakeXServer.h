#pragma once

#include <QByteArray>
#include <QSocketNotifier>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zolvex::test {

/// Just enough of an X server for a client that asks for display power, with DPMS, which the servers that run without
/// hardware lack. On loopback; one client at a time, in the test's event loop.
class FakeXServer {
 public:
  struct Abilities {
    bool screenSaver = true;
    bool dpms = true;
  };

  explicit FakeXServer(Abilities abilities);
  ~FakeXServer();
  FakeXServer(const FakeXServer&) = delete;

  /// For DISPLAY.
  std::string display() const { return display_; }

  /// Sets the power level, 0 for on, and as the real server does, the screen saver with it.
  void setPower(int level);

  /// `isProgram`: a client shows something as the screen saver.
  void setScreenSaver(bool isOn, bool isProgram);

  /// While it hangs it answers nothing; afterwards everything.
  void hang(bool isHanging);

  int questions() const { return questions_; }
  const std::vector<std::string>& orders() const { return orders_; }

 private:
  void accept();
  void readable();
  void handleReceived();
  void greet();
  void handle(const QByteArray& request);
  void handleExtension(const QByteArray& request);
  void answerExtensionQuestion(const QByteArray& name);
  void answer(std::uint8_t second, const QByteArray& rest);
  void announceScreenSaver();
  void send(const QByteArray& bytes);
  void hangUp();

  const Abilities abilities_;
  std::string display_;
  int listener_ = -1;
  int client_ = -1;
  std::unique_ptr<QSocketNotifier> connections_;
  std::unique_ptr<QSocketNotifier> requests_;
  QByteArray received_;
  bool isHanging_ = false;
  bool isGreeted_ = false;
  std::uint16_t sequence_ = 0;
  int powerLevel_ = 0;
  bool isSaverOn_ = false;
  bool isSaverProgram_ = false;
  int questions_ = 0;
  std::vector<std::string> orders_;
};

}  // namespace zolvex::test
