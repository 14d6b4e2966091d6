#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "codecs.h"
#include "pixels.h"
#include "shared_library.h"

namespace quill {
namespace {

struct GifLibrary : posix::SharedLibrary {
  GifLibrary() : SharedLibrary(QUILL_GIF_LIBRARY) {}
  QUILL_FUNCTION(DGifOpen);
  QUILL_FUNCTION(DGifCloseFile);
  QUILL_FUNCTION(DGifGetRecordType);
  QUILL_FUNCTION(DGifGetImageHeader);
  QUILL_FUNCTION(DGifGetLine);
  QUILL_FUNCTION(DGifGetCode);
  QUILL_FUNCTION(DGifGetCodeNext);
  QUILL_FUNCTION(DGifGetExtension);
  QUILL_FUNCTION(DGifGetExtensionNext);
};

class GifReader : GifLibrary {
 public:
  explicit GifReader(Bytes bytes) : rest_(bytes) {}
  ~GifReader() {
    if (gif_) DGifCloseFile(gif_, nullptr);
  }

  /// Skips the frames behind the first. Fails if the file is cut short.
  std::shared_ptr<Pixels> read() {
    if (!isComplete()) return nullptr;
    gif_ = DGifOpen(this, take, nullptr);
    std::shared_ptr<Pixels> pixels;
    for (auto type = UNDEFINED_RECORD_TYPE; gif_ && DGifGetRecordType(gif_, &type) == GIF_OK;) {
      if (type == TERMINATE_RECORD_TYPE) return pixels;
      if (type == EXTENSION_RECORD_TYPE) {
        if (!readExtension()) return nullptr;
      } else if (type == IMAGE_DESC_RECORD_TYPE) {
        if (DGifGetImageHeader(gif_) != GIF_OK) return nullptr;
        if (pixels ? !skipFrame() : !(pixels = readFrame())) return nullptr;
      }
    }
    return nullptr;
  }

 private:
  static int take(GifFileType* gif, GifByteType* to, int count) {
    auto& rest = static_cast<GifReader*>(gif->UserData)->rest_;
    const auto taken = std::min(rest.size(), static_cast<std::size_t>(std::max(count, 0)));
    if (taken > 0) std::memcpy(to, rest.data(), taken);
    rest = rest.subspan(taken);
    return static_cast<int>(taken);
  }

  /// Reads which colour is transparent.
  bool readExtension() {
    int kind = 0;
    GifByteType* block = nullptr;  // begins with its length
    if (DGifGetExtension(gif_, &kind, &block) != GIF_OK) return false;
    if (kind == GRAPHICS_EXT_FUNC_CODE && block && block[0] >= 4)
      transparentColour_ = (block[1] & 1) != 0 ? block[4] : -1;
    while (block) {
      if (DGifGetExtensionNext(gif_, &block) != GIF_OK) return false;
    }
    return true;
  }

  bool skipFrame() {
    int size = 0;
    GifByteType* block = nullptr;
    if (DGifGetCode(gif_, &size, &block) != GIF_OK) return false;
    while (block) {
      if (DGifGetCodeNext(gif_, &block) != GIF_OK) return false;
    }
    return true;
  }

  std::shared_ptr<Pixels> readFrame() {
    const auto& frame = gif_->Image;
    const auto* const colours = frame.ColorMap ? frame.ColorMap : gif_->SColorMap;
    if (!colours || frame.Width < 1 || frame.Height < 1 || frame.Left + frame.Width > gif_->SWidth ||
        frame.Top + frame.Height > gif_->SHeight) {
      return nullptr;
    }
    auto pixels = makePixels(gif_->SWidth, gif_->SHeight);
    if (!pixels) return nullptr;
    std::vector<GifPixelType> line(static_cast<std::size_t>(frame.Width));
    constexpr std::pair<int, int> kPasses[] = {
        {0, 1}, {0, 8}, {4, 8}, {2, 4}, {1, 2}};  // the first for a frame that is not interlaced
    for (const auto& [first, step] : std::span(kPasses).subspan(frame.Interlace ? 1 : 0, frame.Interlace ? 4 : 1)) {
      for (int y = first; y < frame.Height; y += step) {
        if (DGifGetLine(gif_, line.data(), frame.Width) != GIF_OK) return nullptr;
        auto* to = rowOf(*pixels, frame.Top + y) + static_cast<std::ptrdiff_t>(frame.Left) * 4;
        for (const int index : line) {
          if (index != transparentColour_ && index < colours->ColorCount) {
            const auto& colour = colours->Colors[index];
            setPixel(to, colour.Red, colour.Green, colour.Blue, 255);
          }
          to += 4;
        }
      }
    }
    return pixels;
  }

  Bytes rest_;
  GifFileType* gif_ = nullptr;
  int transparentColour_ = -1;
};

}  // namespace

std::optional<Image> decodeGif(Bytes bytes) { return imageOf(GifReader(bytes).read()); }

}  // namespace quill
