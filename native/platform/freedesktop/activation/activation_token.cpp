#include "activation_token.h"

#include <dlfcn.h>
#include <gio/gio.h>

#include <memory>

#include "activation_variable.h"
#include "deleter.h"
#include "gobject_handles.h"

namespace quill::freedesktop {
namespace {

thread_local const ActivationToken* currentToken = nullptr;  // of the innermost event that this thread handles

/// Sets the activation token of GDK's default display for the next window that is presented; null clears it. Does
/// nothing unless the process has loaded GTK 3 or 4 and the display is Wayland's. A GtkApplication does the same by
/// itself. Finds GDK through its class, because an interpreter may have loaded GDK where dlsym(RTLD_DEFAULT) finds
/// nothing. The library never loads GDK itself.
void giveTokenToGdk(const char* token) {
  const GType type = g_type_from_name("GdkWaylandDisplay");
  gpointer const displayClass = type != G_TYPE_INVALID ? g_type_class_peek(type) : nullptr;
  if (displayClass == nullptr) return;
  Dl_info place{};
  if (dladdr(reinterpret_cast<void*>(G_OBJECT_CLASS(displayClass)->finalize), &place) == 0) return;
  const std::unique_ptr<void, Deleter<dlclose>> gdk(dlopen(place.dli_fname, RTLD_LAZY | RTLD_NOLOAD));
  if (!gdk) return;
  const auto defaultDisplay = reinterpret_cast<gpointer (*)()>(dlsym(gdk.get(), "gdk_display_get_default"));
  const auto setToken = reinterpret_cast<void (*)(gpointer, const char*)>(
      dlsym(gdk.get(), "gdk_wayland_display_set_startup_notification_id"));
  if (defaultDisplay == nullptr || setToken == nullptr) return;
  gpointer const display = defaultDisplay();
  if (display != nullptr && G_TYPE_CHECK_INSTANCE_TYPE(display, type)) setToken(display, token);
}

/// Publishes a token where toolkits look for one. The destructor restores the outer event's token.
class TokenScope {
 public:
  explicit TokenScope(const ActivationToken& token) : outer_(currentToken) { publish(&token); }
  TokenScope(const TokenScope&) = delete;
  TokenScope& operator=(const TokenScope&) = delete;
  ~TokenScope() { publish(outer_); }

 private:
  static void publish(const ActivationToken* token) {
    const bool hasToken = token != nullptr && !token->isEmpty();
    setActivationVariable(hasToken ? std::string_view(token->text()) : std::string_view());
    giveTokenToGdk(hasToken ? token->text().c_str() : nullptr);
    currentToken = token;
  }

  const ActivationToken* outer_;
};

/// Runs `work` and passes `token` to the default GApplication, as GIO does for a call from another process.
void runInApplication(const ActivationToken& token, const std::function<void()>& work) {
  auto* const current = g_application_get_default();
  if (current == nullptr || g_application_get_is_registered(current) == FALSE) return work();
  const auto application = holdObject(current);  // the host may release it during the call
  GVariantDict data;
  g_variant_dict_init(&data, nullptr);
  g_variant_dict_insert(&data, "activation-token", "s", token.text().c_str());
  g_variant_dict_insert(&data, "desktop-startup-id", "s", token.text().c_str());
  const VariantPointer platformData(g_variant_ref_sink(g_variant_dict_end(&data)));
  const auto* const functions = G_APPLICATION_GET_CLASS(application.get());
  functions->before_emit(application.get(), platformData.get());
  work();
  functions->after_emit(application.get(), platformData.get());
}

}  // namespace

std::optional<ActivationToken> ActivationToken::parse(std::string_view text) {
  if (text.size() > kMaxSize) return std::nullopt;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const bool isSecondControl =
        byte == 0xC2 && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0;
    if (byte < 0x20 || byte == 0x7F || isSecondControl) return std::nullopt;
  }
  ActivationToken token;
  token.text_ = text;
  return token;
}

ActivationToken ActivationToken::current() { return currentToken != nullptr ? *currentToken : ActivationToken(); }

void runWithActivationToken(const ActivationToken& token, const std::function<void()>& work) {
  if (token.isEmpty() && currentToken == nullptr) return work();
  const TokenScope scope(token);
  if (token.isEmpty()) return work();
  runInApplication(token, work);
}

}  // namespace quill::freedesktop
