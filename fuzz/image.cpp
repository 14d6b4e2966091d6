// From a host's bytes to an icon in each of its forms.
#include "decode_image.h"
#include "glib_log.h"
#include "image_format.h"
#include "pictures.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  quill::fuzz::refuseCriticals();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Vector images take long and are a target of their own.
  if ((quill::recogniseFormat({data, size}) == quill::ImageFormat::svg) != QUILL_FUZZ_VECTOR) return 0;
  if (const auto image = quill::decodeImage({data, size})) quill::fuzz::showEverywhere(*image);
  return 0;
}
