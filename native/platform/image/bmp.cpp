#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "byte_reader.h"
#include "codecs.h"
#include "pixels.h"

namespace quill {
namespace {

constexpr std::size_t kFileHeader = 14;
constexpr std::size_t kInfoHeader = 40;
constexpr std::size_t kMaxHeader = 124;
enum Compression : std::uint32_t { kPlain = 0, kFields = 3, kFieldsWithAlpha = 6 };
constexpr std::size_t kPaletteEntry = 4;

using Colour = std::array<std::uint8_t, 4>;

/// One channel within a pixel's number.
struct Field {
  std::uint32_t mask = 0;

  /// 0 to 255; `missing` if the pixel has no such channel.
  std::uint8_t of(std::uint32_t pixel, std::uint8_t missing) const {
    if (mask == 0) return missing;
    const int shift = std::countr_zero(mask);
    const std::uint64_t most = mask >> shift;
    return static_cast<std::uint8_t>((std::uint64_t{(pixel & mask) >> shift} * 255 + most / 2) / most);
  }
};

class Bitmap {
 public:
  Bitmap(Bytes bytes, std::size_t pixelsAt, bool isIcon)
      : bytes_(bytes), file_(bytes), pixelsAt_(pixelsAt), isIcon_(isIcon) {}

  std::shared_ptr<Pixels> read() {
    if (!readHeader() || !readColours() || !(pixels_ = makePixels(width_, height_))) return nullptr;
    if (!readPixels() || (isIcon_ && !readMask())) return nullptr;
    return pixels_;
  }

 private:
  bool readHeader() {
    headerSize_ = file_.u32(0);
    if (headerSize_ < kInfoHeader || headerSize_ > kMaxHeader || !file_.has(0, headerSize_)) return false;
    width_ = file_.i32(4);
    height_ = file_.i32(8);
    bits_ = file_.u16(14);
    compression_ = file_.u32(16);
    colourCount_ = file_.u32(32);
    isTopDown_ = height_ < 0;
    height_ = (isTopDown_ ? -height_ : height_) / (isIcon_ ? 2 : 1);
    switch (compression_) {
      case kPlain:
        return bits_ == 1 || bits_ == 4 || bits_ == 8 || bits_ == 16 || bits_ == 24 || bits_ == 32;
      case kFields:
      case kFieldsWithAlpha:
        return bits_ == 16 || bits_ == 32;
      default:
        return false;
    }
  }

  /// Reads the palette, or where the channels are.
  bool readColours() {
    std::size_t at = headerSize_;
    if (compression_ == kFields || compression_ == kFieldsWithAlpha) {
      const std::size_t count = compression_ == kFieldsWithAlpha || headerSize_ > kInfoHeader + 12 ? 4 : 3;
      for (std::size_t i = 0; i < count; ++i) fields_[i].mask = file_.u32(kInfoHeader + i * 4);
      at = std::max(at, kInfoHeader + count * 4);
    } else if (bits_ == 16) {
      fields_ = {{{0x7C00}, {0x03E0}, {0x001F}, {0}}};
    } else if (bits_ > 16) {
      fields_ = {{{0xFF0000}, {0x00FF00}, {0x0000FF}, {bits_ == 32 && isIcon_ ? 0xFF000000 : 0}}};
    }
    const std::size_t most = bits_ <= 8 ? std::size_t{1} << bits_ : 0;
    const std::size_t count = colourCount_ == 0 ? most : colourCount_;
    if (count > bytes_.size() || !file_.has(at, count * kPaletteEntry)) return false;
    for (std::size_t i = 0; i < palette_.size(); ++i) {
      palette_[i] = {0, 0, 0, 255};
      if (i < count)
        std::reverse_copy(&bytes_[at + i * kPaletteEntry], &bytes_[at + i * kPaletteEntry] + 3, palette_[i].begin());
    }
    if (pixelsAt_ == 0) pixelsAt_ = at + count * kPaletteEntry;
    return true;
  }

  std::size_t stride(std::size_t bits) const { return (static_cast<std::size_t>(width_) * bits + 31) / 32 * 4; }

  /// Calls `read(start of the row in the file, x, pixel)` for each pixel. False if the file is cut short.
  template <typename Read>
  bool readRows(std::size_t at, std::size_t bits, Read read) {
    if (!file_.has(at, stride(bits) * static_cast<std::size_t>(height_))) return false;
    for (std::int64_t line = 0; line < height_; ++line, at += stride(bits)) {
      auto* to = rowOf(*pixels_, static_cast<int>(isTopDown_ ? line : height_ - 1 - line));
      for (std::size_t x = 0; x < static_cast<std::size_t>(width_); ++x, to += 4) read(at, x, to);
    }
    return true;
  }

  bool readPixels() {
    return readRows(pixelsAt_, bits_, [this](std::size_t start, std::size_t x, std::uint8_t* to) {
      const Colour colour = bits_ <= 8 ? palette_[index(start, x, bits_)] : channels(start + x * bits_ / 8);
      std::memcpy(to, colour.data(), colour.size());
    });
  }

  /// The x-th number of `bits` bits, the first of which is in a byte's high bits.
  std::size_t index(std::size_t start, std::size_t x, std::size_t bits) const {
    const auto shift = 8 - bits - x * bits % 8;
    return (bytes_[start + x * bits / 8] >> shift) & ((1U << bits) - 1);
  }

  Colour channels(std::size_t at) const {
    std::uint32_t pixel = 0;
    for (std::size_t i = 0; i < bits_ / 8; ++i) pixel |= std::uint32_t{bytes_[at + i]} << (8 * i);
    return {fields_[0].of(pixel, 0), fields_[1].of(pixel, 0), fields_[2].of(pixel, 0), fields_[3].of(pixel, 255)};
  }

  /// An icon's mask, one bit a pixel: a set bit makes the pixel transparent. If the icon has an alpha channel that is
  /// not all 0, the mask is ignored and may be missing.
  bool readMask() {
    auto& rgba = pixels_->rgba;
    for (std::size_t i = 3; bits_ == 32 && i < rgba.size(); i += 4) {
      if (rgba[i] != 0) return true;
    }
    const auto at = pixelsAt_ + stride(bits_) * static_cast<std::size_t>(height_);
    return readRows(at, 1, [this](std::size_t start, std::size_t x, std::uint8_t* to) {
      to[3] = index(start, x, 1) != 0 ? 0 : 255;
    });
  }

  Bytes bytes_;
  ByteReader file_;
  std::size_t pixelsAt_;
  bool isIcon_;
  std::size_t headerSize_ = 0;
  std::int64_t width_ = 0;
  std::int64_t height_ = 0;
  bool isTopDown_ = false;
  std::size_t bits_ = 0;
  std::uint32_t compression_ = kPlain;
  std::size_t colourCount_ = 0;
  std::array<Field, 4> fields_{};  // red, green, blue, alpha
  std::array<Colour, 256> palette_{};
  std::shared_ptr<Pixels> pixels_;
};

}  // namespace

std::optional<Image> decodeBitmap(Bytes bytes, std::size_t pixelsAt, bool isIcon) {
  return imageOf(Bitmap(bytes, pixelsAt, isIcon).read());
}

std::optional<Image> decodeBmp(Bytes bytes) {
  const std::size_t pixelsAt = ByteReader(bytes).u32(10);
  if (bytes.size() < kFileHeader || pixelsAt <= kFileHeader) return std::nullopt;
  return decodeBitmap(bytes.subspan(kFileHeader), pixelsAt - kFileHeader, false);
}

}  // namespace quill
