#include <png.h>

#include <cstring>

#include "codecs.h"
#include "long_jump.h"
#include "pixels.h"

namespace quill {
namespace {

/// Bytes of a chunk other than the picture's. The largest chunk that a picture needs is its palette.
constexpr png_alloc_size_t kMaxChunk = 65'536;

class PngReader {
 public:
  explicit PngReader(Bytes bytes) : rest_(bytes) {}
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;
  ~PngReader() { png_destroy_read_struct(&png_, &info_, nullptr); }

  std::shared_ptr<Pixels> read() {
    if (!finishes(jump_, [this] { readHeader(); })) return nullptr;
    auto pixels = makePixels(png_get_image_width(png_, info_), png_get_image_height(png_, info_));
    if (!pixels || !finishes(jump_, [this, to = pixels.get()] { readRows(*to); })) return nullptr;
    return pixels;
  }

 private:
  [[noreturn]] static void fail(png_structp png, png_const_charp) {
    std::longjmp(static_cast<PngReader*>(png_get_error_ptr(png))->jump_, 1);  // NOLINT(*-err52-cpp)
  }

  static void take(png_structp png, png_bytep to, std::size_t count) {
    auto& rest = static_cast<PngReader*>(png_get_io_ptr(png))->rest_;
    if (count > rest.size()) png_error(png, "cut short");
    std::memcpy(to, rest.data(), count);
    rest = rest.subspan(count);
  }

  void readHeader() {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, fail, [](png_structp, png_const_charp) {});
    info_ = png_ ? png_create_info_struct(png_) : nullptr;
    if (!info_) std::longjmp(jump_, 1);  // NOLINT(*-err52-cpp)
    png_set_read_fn(png_, this, take);
    png_set_user_limits(png_, kMaxSide, kMaxSide);
    png_set_chunk_malloc_max(png_, kMaxChunk);
    // Leaves texts and colour profiles packed, because 154 KB of them can unpack to 316 MiB.
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_set_crc_action(png_, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
    png_read_info(png_, info_);
  }

  void readRows(Pixels& pixels) {
    png_set_expand(png_);  // palettes, fewer than 8 bits, a transparent colour
    png_set_scale_16(png_);
    png_set_gray_to_rgb(png_);
    png_set_add_alpha(png_, 0xFF, PNG_FILLER_AFTER);
    const int passes = png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
    if (png_get_rowbytes(png_, info_) != static_cast<std::size_t>(pixels.width) * 4) png_error(png_, "no RGBA");
    for (int pass = 0; pass < passes; ++pass) {
      for (int y = 0; y < pixels.height; ++y) png_read_row(png_, rowOf(pixels, y), nullptr);
    }
    png_read_end(png_, nullptr);
  }

  Bytes rest_;
  std::jmp_buf jump_{};
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

}  // namespace

std::optional<Image> decodePng(Bytes bytes) { return imageOf(PngReader(bytes).read()); }

}  // namespace quill
