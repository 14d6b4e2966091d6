// From a host's bytes to an icon in each of its forms, by one codec; each is a target of its own.
#include "codecs.h"
#include "glib_log.h"
#include "pictures.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  quill::fuzz::refuseCriticals();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (const auto image = quill::QUILL_FUZZ_CODEC({data, size})) quill::fuzz::showEverywhere(*image);
  return 0;
}
