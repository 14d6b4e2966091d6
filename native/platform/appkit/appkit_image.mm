#include "appkit_image.h"

#include "decode_image.h"

namespace quill {
namespace appkit {

NativePicture::NativePicture(NSImage* image) : image_(image) {
  width = static_cast<int>([image size].width);
  height = static_cast<int>([image size].height);
}

Image imageOf(NSImage* image) {
  Image made(std::make_shared<NativePicture>(image), {[image size].width, [image size].height});
  made.setTemplate([image isTemplate] != NO);
  return made;
}

NSImage* nativeImage(const std::optional<Image>& image) {
  return image ? static_cast<const NativePicture&>(*image->picture()).image() : nil;
}

}  // namespace appkit

std::optional<Image> decodeImage(std::span<const std::uint8_t> bytes) {
  std::optional<Image> decoded;
  appkit::guarded([&] {
    NSData* const data = [NSData dataWithBytes:bytes.data() length:bytes.size()];
    const auto image = appkit::Handle<NSImage>::adopt([[NSImage alloc] initWithData:data]);
    if (image) decoded = appkit::imageOf(image.get());
  });
  return decoded;
}

}  // namespace quill
