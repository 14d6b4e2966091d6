#include "appkit_image.h"

#include "decode_image.h"
#include "description.h"
#include "guard.h"

namespace quill {
namespace appkit {

std::string NativePicture::description() const { return describeObject("NSImage", image_.get()); }

Image imageOf(NSImage* image) {
  Image made(std::make_shared<NativePicture>(image), {[image size].width, [image size].height});
  made.setTemplate([image isTemplate] != NO);
  return made;
}

ImageCopy::ImageCopy(const Image& image) {
  guarded([&] {
    NSImage* const decoded = static_cast<const NativePicture&>(image.picture()).image();
    image_ = Handle<NSImage>::adopt([decoded copy]);
    [image_.get() setTemplate:image.isTemplate()];
    [image_.get() setSize:NSMakeSize(image.size().width, image.size().height)];
  });
}

NSImage* nativeImage(const std::optional<Image>& image) {
  if (!image) return nil;
  if (const auto* const copy = dynamic_cast<const ImageCopy*>(image->rendering().get())) return copy->image();
  return static_cast<const NativePicture&>(image->picture()).image();
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
