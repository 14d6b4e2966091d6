#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quill::freedesktop {

/// A compositor's proof of one input event. A program that presents the token may raise its window.
class ActivationToken {
 public:
  /// Bytes; real tokens have a few dozen.
  static constexpr std::size_t kMaxSize = 4096;

  /// No token.
  ActivationToken() = default;
  /// Returns nothing if `text` is longer than kMaxSize or holds a control character, because it cannot be a token then.
  /// An empty text makes an empty token. `text` is UTF-8.
  static std::optional<ActivationToken> parse(std::string_view text);
  /// The token of the event that the calling thread handles. Any thread; only the main thread handles events.
  static ActivationToken current();

  bool isEmpty() const { return text_.empty(); }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

/// Calls `work`, which handles an event of the user. During the call, toolkits find the event's token in three places:
/// the platform data of the default GApplication, GDK's display, and XDG_ACTIVATION_TOKEN. An event inside `work` sets
/// its own token or none; afterwards the outer event's token is restored. Without a token this function only calls
/// `work`. `work` must not throw. Main thread.
void runWithActivationToken(const ActivationToken& token, const std::function<void()>& work);

}  // namespace quill::freedesktop
