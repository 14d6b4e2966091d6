#include <cstdio>  // which jpeglib.h needs

#include <jpeglib.h>

#include <algorithm>
#include <string_view>

#include "byte_reader.h"
#include "codecs.h"
#include "long_jump.h"
#include "pixels.h"
#include "shared_library.h"

namespace quill {
namespace {

/// Scans. A scan passes over the whole picture, yet may take a few bytes of the file. Encoders make about ten.
constexpr int kMaxScans = 32;
/// Bytes: enough for a picture of the largest size in several scans, which the library keeps until the last one.
constexpr long kMaxMemory = 128L * 1024 * 1024;
constexpr int kExifMarker = JPEG_APP0 + 1;

struct JpegLibrary : posix::SharedLibrary {
  JpegLibrary() : SharedLibrary(QUILL_JPEG_LIBRARY) {}
  QUILL_FUNCTION(jpeg_std_error);
  QUILL_FUNCTION(jpeg_CreateDecompress);
  QUILL_FUNCTION(jpeg_destroy_decompress);
  QUILL_FUNCTION(jpeg_mem_src);
  QUILL_FUNCTION(jpeg_save_markers);
  QUILL_FUNCTION(jpeg_read_header);
  QUILL_FUNCTION(jpeg_start_decompress);
  QUILL_FUNCTION(jpeg_read_scanlines);
  QUILL_FUNCTION(jpeg_finish_decompress);
};

class JpegReader : JpegLibrary {
 public:
  explicit JpegReader(Bytes bytes) : bytes_(bytes) {}
  ~JpegReader() {
    if (jpeg_.err) jpeg_destroy_decompress(&jpeg_);
  }

  std::shared_ptr<Pixels> read() {
    if (!isComplete() || !finishes(jump_, [this] { readHeader(); })) return nullptr;
    auto pixels = makePixels(jpeg_.image_width, jpeg_.image_height);
    if (!pixels || !finishes(jump_, [this, to = pixels.get()] { readRows(*to); })) return nullptr;
    putUpright(*pixels, orientation_);
    return pixels;
  }

 private:
  [[noreturn]] static void fail(j_common_ptr jpeg) {
    std::longjmp(static_cast<JpegReader*>(jpeg->client_data)->jump_, 1);  // NOLINT(*-err52-cpp)
  }

  /// Warnings have a level below 0 and mean corrupt or missing data.
  static void failOnWarning(j_common_ptr jpeg, int level) {
    if (level < 0) fail(jpeg);
  }

  static void countScans(j_common_ptr jpeg) {
    if (static_cast<JpegReader*>(jpeg->client_data)->jpeg_.input_scan_number > kMaxScans) fail(jpeg);
  }

  void readHeader() {
    jpeg_.err = jpeg_std_error(&errors_);
    errors_.error_exit = fail;
    errors_.emit_message = failOnWarning;
    jpeg_.client_data = this;
    jpeg_create_decompress(&jpeg_);
    progress_.progress_monitor = countScans;
    jpeg_.progress = &progress_;
    jpeg_.mem->max_memory_to_use = kMaxMemory;
    jpeg_mem_src(&jpeg_, bytes_.data(), bytes_.size());
    jpeg_save_markers(&jpeg_, kExifMarker, 0xFFFF);
    jpeg_read_header(&jpeg_, TRUE);
    if (jpeg_.data_precision != 8) fail(reinterpret_cast<j_common_ptr>(&jpeg_));  // NOLINT(*-reinterpret-cast)
    orientation_ = orientation();
  }

  void readRows(Pixels& pixels) {
    jpeg_.out_color_space = JCS_EXT_RGBA;  // fails for CMYK
    jpeg_start_decompress(&jpeg_);
    while (jpeg_.output_scanline < jpeg_.output_height) {
      JSAMPROW row = rowOf(pixels, static_cast<int>(jpeg_.output_scanline));
      jpeg_read_scanlines(&jpeg_, &row, 1);
    }
    jpeg_finish_decompress(&jpeg_);
  }

  unsigned orientation() const {
    using namespace std::string_view_literals;
    constexpr auto kStart = "Exif\0\0"sv;
    constexpr unsigned kOrientationTag = 0x112;
    for (auto* marker = jpeg_.marker_list; marker; marker = marker->next) {
      const Bytes whole(marker->data, marker->data_length);
      if (marker->marker != kExifMarker || whole.size() < kStart.size() ||
          !std::equal(kStart.begin(), kStart.end(), whole.begin())) {
        continue;
      }
      const auto bytes = whole.subspan(kStart.size());
      const ByteReader exif(bytes, !bytes.empty() && bytes[0] == 'M');
      const std::size_t directory = exif.u32(4);
      const std::size_t entries = exif.u16(directory);
      for (std::size_t i = 0; i < entries; ++i) {
        const auto entry = directory + 2 + i * 12;
        if (exif.u16(entry) == kOrientationTag) return exif.u16(entry + 8);
      }
    }
    return 0;
  }

  Bytes bytes_;
  unsigned orientation_ = 0;
  std::jmp_buf jump_{};
  jpeg_error_mgr errors_{};
  jpeg_progress_mgr progress_{};
  jpeg_decompress_struct jpeg_{};
};

}  // namespace

std::optional<Image> decodeJpeg(Bytes bytes) { return imageOf(JpegReader(bytes).read()); }

}  // namespace quill
