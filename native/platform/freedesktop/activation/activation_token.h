#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quill::freedesktop {

/// What a compositor gives for one input of the user. A window whose program shows it may come to the front.
class ActivationToken {
 public:
  /// Bytes; real tokens have a few dozen.
  static constexpr std::size_t kMaxSize = 4096;

  /// No token.
  ActivationToken() = default;
  /// Nothing where `text` cannot be a token: it is longer than kMaxSize or holds a control character. An empty text
  /// gives no token. `text` is UTF-8.
  static std::optional<ActivationToken> parse(std::string_view text);
  /// The token of the event that the calling thread handles. Any thread; only the main thread handles events.
  static ActivationToken current();

  bool isEmpty() const { return text_.empty(); }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

/// Calls `work`, which handles an event of the user. Until `work` returns, toolkits find the event's token where they
/// look for one: in the default GApplication's platform data, in GDK's display and in XDG_ACTIVATION_TOKEN. An event
/// inside `work` has its own token or none, and the outer event's token is back afterwards. Without a token this only
/// calls `work`. `work` must not throw. Main thread.
void runWithActivationToken(const ActivationToken& token, const std::function<void()>& work);

}  // namespace quill::freedesktop
