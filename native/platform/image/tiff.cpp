#include <tiffio.h>

#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "codecs.h"
#include "pixels.h"
#include "shared_library.h"

namespace quill {
namespace {

/// Bytes of one allocation. A strip may hold the whole picture with 16 bits a channel.
constexpr tmsize_t kMaxAllocation = kMaxSide * kMaxSide * 8;

struct TiffLibrary : posix::SharedLibrary {
  TiffLibrary() : SharedLibrary(QUILL_TIFF_LIBRARY) {}
  QUILL_FUNCTION(TIFFOpenOptionsAlloc);
  QUILL_FUNCTION(TIFFOpenOptionsFree);
  QUILL_FUNCTION(TIFFOpenOptionsSetMaxSingleMemAlloc);
  QUILL_FUNCTION(TIFFOpenOptionsSetErrorHandlerExtR);
  QUILL_FUNCTION(TIFFOpenOptionsSetWarningHandlerExtR);
  QUILL_FUNCTION(TIFFClientOpenExt);
  QUILL_FUNCTION(TIFFClose);
  QUILL_FUNCTION(TIFFGetFieldDefaulted);
  QUILL_FUNCTION(TIFFReadRGBAImageOriented);
};

class TiffReader : TiffLibrary {
 public:
  explicit TiffReader(Bytes bytes) : bytes_(bytes) {}
  ~TiffReader() {
    if (tiff_) TIFFClose(tiff_);
  }

  std::shared_ptr<Pixels> read() {
    if (!isComplete() || !open()) return nullptr;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t compression = 0;
    std::uint16_t orientation = 0;
    TIFFGetFieldDefaulted(tiff_, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetFieldDefaulted(tiff_, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff_, TIFFTAG_COMPRESSION, &compression);
    TIFFGetFieldDefaulted(tiff_, TIFFTAG_ORIENTATION, &orientation);
    auto pixels = isUsual(compression) ? makePixels(width, height) : nullptr;
    if (!pixels) return nullptr;
    // A pixel is a 32-bit number whose lowest byte is red.
    auto* const raster = reinterpret_cast<std::uint32_t*>(pixels->rgba.data());  // NOLINT(*-reinterpret-cast)
    if (TIFFReadRGBAImageOriented(tiff_, width, height, raster, orientation, 1) == 0 || hasFailed_) return nullptr;
    if constexpr (std::endian::native == std::endian::big) {
      for (std::size_t i = 0; i < pixels->rgba.size(); i += 4) std::reverse(&pixels->rgba[i], &pixels->rgba[i] + 4);
    }
    unpremultiply(*pixels);
    putUpright(*pixels, orientation);
    return pixels;
  }

 private:
  /// The compressions that icons use. The library has codecs for many more.
  static bool isUsual(unsigned compression) {
    return compression == COMPRESSION_NONE || compression == COMPRESSION_LZW || compression == COMPRESSION_PACKBITS ||
           compression == COMPRESSION_ADOBE_DEFLATE || compression == COMPRESSION_DEFLATE;
  }

  bool open() {
    auto* const options = TIFFOpenOptionsAlloc();
    if (!options) return false;
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMaxAllocation);
    TIFFOpenOptionsSetErrorHandlerExtR(options, failed, this);
    TIFFOpenOptionsSetWarningHandlerExtR(
        options, [](TIFF*, void*, const char*, const char*, va_list) { return 1; }, nullptr);
    tiff_ = TIFFClientOpenExt("", "r", this, read, write, seek, close, size, map, unmap, options);
    TIFFOpenOptionsFree(options);
    return tiff_ != nullptr;
  }

  static TiffReader& self(thandle_t handle) { return *static_cast<TiffReader*>(handle); }

  static int failed(TIFF*, void* reader, const char*, const char*, va_list) {
    self(reader).hasFailed_ = true;
    return 1;
  }
  static tmsize_t read(thandle_t handle, void* to, tmsize_t count) {
    auto& reader = self(handle);
    const auto from = std::min<std::uint64_t>(reader.at_, reader.bytes_.size());
    const auto taken = static_cast<std::size_t>(
        std::min<std::uint64_t>(static_cast<std::uint64_t>(count), reader.bytes_.size() - from));  // count is >= 0
    if (taken > 0) std::memcpy(to, reader.bytes_.data() + from, taken);
    reader.at_ = from + taken;
    return static_cast<tmsize_t>(taken);
  }
  static tmsize_t write(thandle_t, void*, tmsize_t) { return 0; }
  static toff_t seek(thandle_t handle, toff_t offset, int whence) {
    auto& reader = self(handle);
    const std::uint64_t start = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? reader.at_ : reader.bytes_.size();
    return reader.at_ = start + offset;
  }
  static int close(thandle_t) { return 0; }
  static toff_t size(thandle_t handle) { return self(handle).bytes_.size(); }
  /// Offers the bytes as a mapped file, because libtiff reads any other in blocks of 1 KiB and then fails for smaller
  /// tiles.
  static int map(thandle_t handle, void** base, toff_t* count) {
    *base = const_cast<std::uint8_t*>(self(handle).bytes_.data());  // NOLINT(*-const-cast): opened to be read only
    *count = self(handle).bytes_.size();
    return 1;
  }
  static void unmap(thandle_t, void*, toff_t) {}

  Bytes bytes_;
  std::uint64_t at_ = 0;
  bool hasFailed_ = false;
  TIFF* tiff_ = nullptr;
};

}  // namespace

std::optional<Image> decodeTiff(Bytes bytes) { return imageOf(TiffReader(bytes).read()); }

}  // namespace quill
