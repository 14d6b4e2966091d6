#pragma once

#include "view.h"

namespace quill::appkit {

/// Brings the platform's views up to date with `view` and all that is in it; makes those that are missing, which live as
/// long as `view`. Main thread.
void showGroup(View& view);

}  // namespace quill::appkit
