#pragma once

#include <QAbstractNativeEventFilter>

#include <cstdint>

namespace zolvex {

/// A panel of the old kind, which embeds windows of an X server. While there is one, looking for it costs nothing: its
/// end is told by an event. While there is none, each look asks the server. Main thread.
class EmbeddingTray final : public QAbstractNativeEventFilter {
 public:
  EmbeddingTray();
  ~EmbeddingTray() override;
  EmbeddingTray(const EmbeddingTray&) = delete;

  bool isThere();

  bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

 private:
  std::uint32_t find();
  bool watch(std::uint32_t window);

  std::uint32_t selection_ = 0;  ///< The atom that panels own; 0 until asked for.
  std::uint32_t owner_ = 0;      ///< The window of the panel; 0 for none.
};

}  // namespace zolvex
