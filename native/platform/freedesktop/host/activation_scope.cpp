#include "activation_scope.h"

namespace quill::freedesktop {

ActivationScope::ActivationScope(const std::string& token) {
  auto* const application = g_application_get_default();
  if (token.empty() || application == nullptr || g_application_get_is_registered(application) == FALSE) return;
  application_ = holdObject(application);
  GVariantDict data;
  g_variant_dict_init(&data, nullptr);
  g_variant_dict_insert(&data, "activation-token", "s", token.c_str());
  g_variant_dict_insert(&data, "desktop-startup-id", "s", token.c_str());
  platformData_.reset(g_variant_ref_sink(g_variant_dict_end(&data)));
  G_APPLICATION_GET_CLASS(application)->before_emit(application, platformData_.get());
}

ActivationScope::~ActivationScope() {
  if (!application_) return;
  G_APPLICATION_GET_CLASS(application_.get())->after_emit(application_.get(), platformData_.get());
}

}  // namespace quill::freedesktop
