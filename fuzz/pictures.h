#pragma once

#include "image.h"

namespace quill::fuzz {

/// Makes of `image` all that a panel may be given of it, and looks at what came out.
void showEverywhere(const Image& image);

}  // namespace quill::fuzz
