#include <librsvg/rsvg.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstring>
#include <exception>
#include <new>
#include <string_view>

#include "codecs.h"
#include "pixels.h"
#include "shared_library.h"

namespace quill {
namespace {

/// Pixels of the longer side, whatever size the file names: enough for 22 points at four times the density.
constexpr int kVectorSide = 88;
constexpr std::size_t kMaxText = 262'144;  // bytes
/// librsvg recurses into nested selectors and masks: five bytes of text can take 10 KiB of stack. Only the used part of
/// the stack takes memory.
constexpr std::size_t kStackOfAnyText = std::size_t{8} << 20U;
constexpr std::size_t kStackPerByte = 2048;

/// Leaves out what could harm a host: filters start threads that may never end, fonts print warnings, patterns and
/// embedded images use any amount of memory.
constexpr std::string_view kLeftOut =
    "*{filter:none!important}"
    "image,text,pattern>*{display:none!important}";

struct RsvgLibrary : posix::SharedLibrary {
  RsvgLibrary() : SharedLibrary(QUILL_RSVG_LIBRARY) {}
  QUILL_FUNCTION(rsvg_handle_new_from_data);
  QUILL_FUNCTION(rsvg_handle_set_stylesheet);
  QUILL_FUNCTION(rsvg_handle_get_intrinsic_size_in_pixels);
  QUILL_FUNCTION(rsvg_handle_get_intrinsic_dimensions);
  QUILL_FUNCTION(rsvg_handle_get_geometry_for_layer);
  QUILL_FUNCTION(rsvg_handle_render_document);
  QUILL_FUNCTION(cairo_image_surface_create_for_data);
  QUILL_FUNCTION(cairo_surface_destroy);
  QUILL_FUNCTION(cairo_create);
  QUILL_FUNCTION(cairo_destroy);
};

/// The library gets no base URL, so it reads no file and no network.
class SvgReader : RsvgLibrary {
 public:
  explicit SvgReader(Bytes bytes) : bytes_(bytes) {}
  ~SvgReader() {
    if (svg_) g_object_unref(svg_);
  }

  std::optional<Image> read() {
    if (!isComplete()) return std::nullopt;
    svg_ = rsvg_handle_new_from_data(bytes_.data(), bytes_.size(), nullptr);
    const auto* const leftOut = reinterpret_cast<const guint8*>(kLeftOut.data());  // NOLINT(*-reinterpret-cast)
    if (!svg_ || !rsvg_handle_set_stylesheet(svg_, leftOut, kLeftOut.size(), nullptr)) return std::nullopt;
    const auto size = naturalSize();
    const double longer = std::max(size.width, size.height);
    if (!(longer <= static_cast<double>(kMaxSide)) || !(std::min(size.width, size.height) > 0)) return std::nullopt;
    const auto scaled = [&](double side) { return std::max(1L, std::lround(side * kVectorSide / longer)); };
    auto pixels = makePixels(scaled(size.width), scaled(size.height));
    if (!pixels || !draw(*pixels)) return std::nullopt;
    return Image(std::move(pixels), size);
  }

 private:
  /// Its width and height, else those of its view box, else the extent of its shapes.
  Size naturalSize() const {
    Size size;
    if (rsvg_handle_get_intrinsic_size_in_pixels(svg_, &size.width, &size.height)) return size;
    gboolean has = FALSE;
    RsvgLength ignored{};
    RsvgRectangle box{};
    rsvg_handle_get_intrinsic_dimensions(svg_, nullptr, &ignored, nullptr, &ignored, &has, &box);
    if (has) return {box.width, box.height};
    const RsvgRectangle viewport{0, 0, kVectorSide, kVectorSide};
    if (!rsvg_handle_get_geometry_for_layer(svg_, nullptr, &viewport, &box, nullptr, nullptr)) return {};
    return {box.x + box.width, box.y + box.height};
  }

  bool draw(Pixels& pixels) const {
    auto& rgba = pixels.rgba;
    auto* const surface = cairo_image_surface_create_for_data(rgba.data(), CAIRO_FORMAT_ARGB32, pixels.width,
                                                              pixels.height, pixels.width * 4);
    auto* const context = cairo_create(surface);
    const RsvgRectangle viewport{0, 0, static_cast<double>(pixels.width), static_cast<double>(pixels.height)};
    const bool isDrawn = rsvg_handle_render_document(svg_, context, &viewport, nullptr);
    cairo_destroy(context);
    cairo_surface_destroy(surface);
    for (std::size_t i = 0; i < rgba.size(); i += 4) {
      std::uint32_t argb = 0;
      std::memcpy(&argb, &rgba[i], 4);
      setPixel(&rgba[i], argb >> 16U, argb >> 8U, argb, argb >> 24U);
    }
    unpremultiply(pixels);
    return isDrawn;
  }

  Bytes bytes_;
  RsvgHandle* svg_ = nullptr;
};

/// A thread's stack that occupies memory page by page as it is used.
class LargeStack {
 public:
  explicit LargeStack(std::size_t size)
      : size_(size),
        start_(mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK | MAP_NORESERVE, -1, 0)) {
    if (start_ == MAP_FAILED) return;
    munlock(start_, size_);  // otherwise a host that called mlockall(MCL_FUTURE) would get all of it in memory
    mprotect(start_, size_, PROT_READ | PROT_WRITE);
  }
  LargeStack(const LargeStack&) = delete;
  LargeStack& operator=(const LargeStack&) = delete;
  ~LargeStack() {
    if (start_ != MAP_FAILED) munmap(start_, size_);
  }

  /// Runs `function` on it and waits. False, and not run, if the stack or the thread cannot be had.
  bool run(void* (*function)(void*), void* argument) const {
    pthread_attr_t attributes;
    sigset_t signals;
    pthread_t thread{};
    if (start_ == MAP_FAILED || pthread_attr_init(&attributes) != 0) return false;
    sigfillset(&signals);  // the host's handlers run on the host's threads
    const bool isStarted = pthread_attr_setstack(&attributes, start_, size_) == 0 &&
                           pthread_attr_setsigmask_np(&attributes, &signals) == 0 &&
                           pthread_create(&thread, &attributes, function, argument) == 0;
    pthread_attr_destroy(&attributes);
    return isStarted && pthread_join(thread, nullptr) == 0;
  }

 private:
  std::size_t size_;
  void* start_;
};

}  // namespace

std::optional<Image> decodeSvg(Bytes bytes) {
  struct {
    Bytes bytes;
    std::optional<Image> image;
    std::exception_ptr fault;
  } job{bytes, std::nullopt, nullptr};
  if (bytes.size() > kMaxText) return std::nullopt;
  LargeStack(kStackOfAnyText + bytes.size() * kStackPerByte)
      .run(
          [](void* argument) -> void* {
            auto& [text, image, fault] = *static_cast<decltype(job)*>(argument);
            std::fesetenv(FE_DFL_ENV);  // hosts in some languages trap the NaN that libxml2 computes
            try {
              image = SvgReader(text).read();
            } catch (const std::bad_alloc&) {
              fault = std::current_exception();
            }
            return nullptr;
          },
          &job);
  if (job.fault) std::rethrow_exception(job.fault);
  return std::move(job.image);
}

}  // namespace quill
