#include "decode_image.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <string>
#include <tuple>

namespace quill {
namespace {

using Bytes = std::vector<std::uint8_t>;
using namespace std::string_view_literals;
using ::testing::ElementsAre;

/// 3 × 2 pixels, each of another colour; the last one is half clear.
const Bytes kPicture = {255, 0, 0, 255, 0,   255, 0, 255, 0,   0,   255, 255,
                        0,   0, 0, 255, 255, 255, 0, 255, 255, 255, 255, 128};

/// The picture; the rest of a larger one is clear.
Bytes encode(const char* format, int width = 3, int height = 2) {
  auto rgba = kPicture;
  rgba.resize(static_cast<std::size_t>(width * height * 4));
  g_autoptr(GdkPixbuf) pixbuf =
      gdk_pixbuf_new_from_data(rgba.data(), GDK_COLORSPACE_RGB, TRUE, 8, width, height, width * 4, nullptr, nullptr);
  g_autofree gchar* buffer = nullptr;
  gsize size = 0;
  EXPECT_TRUE(gdk_pixbuf_save_to_buffer(pixbuf, &buffer, &size, format, nullptr, nullptr)) << format;
  return Bytes(buffer, buffer + size);
}

Bytes patched(Bytes bytes, std::size_t at, std::string_view with) {
  for (const char byte : with) bytes.at(at++) = static_cast<std::uint8_t>(byte);
  return bytes;
}

/// One pixel, red; then a second frame, blue.
constexpr auto kAnimationText =
    "GIF89a\1\0\1\0\x80\0\0\xff\0\0\0\0\xff"
    "!\xf9\4\0\x0a\0\0\0,\0\0\0\0\1\0\1\0\0\2\2D\1\0"
    "!\xf9\4\0\x0a\0\0\0,\0\0\0\0\1\0\1\0\0\2\2L\1\0;"sv;
const Bytes kAnimation(kAnimationText.begin(), kAnimationText.end());

TEST(DecodeImage, EveryFormatGivesItsPixelsUpright) {
  // BMP and JPEG have no alpha, and the decoder of TIFF darkens colours that are not opaque.
  const std::tuple<const char*, std::ptrdiff_t, int> cases[] = {
      {"png", 24, 128}, {"ico", 24, 128}, {"tiff", 20, 128}, {"bmp", 20, 255}, {"jpeg", 0, 255}};
  for (const auto& [format, exactBytes, lastAlpha] : cases) {
    SCOPED_TRACE(format);
    const auto image = decodeImage(encode(format)).value();
    EXPECT_EQ(image.size(), (Size{3, 2}));
    const auto& rgba = image.pixels()->rgba;
    ASSERT_EQ(rgba.size(), kPicture.size());
    EXPECT_TRUE(std::equal(rgba.begin(), rgba.begin() + exactBytes, kPicture.begin()));
    EXPECT_EQ(rgba.back(), lastAlpha);
  }
  EXPECT_THAT(decodeImage(kAnimation).value().pixels()->rgba, ElementsAre(255, 0, 0, 255));

  // EXIF orientation 6: to be turned by a quarter to the right.
  auto jpeg = encode("jpeg");
  constexpr auto kExif = "\xFF\xE1\0\42Exif\0\0MM\0*\0\0\0\10\0\1\1\22\0\3\0\0\0\1\0\6\0\0\0\0\0\0"sv;
  jpeg.insert(jpeg.begin() + 2, kExif.begin(), kExif.end());
  EXPECT_EQ(decodeImage(jpeg).value().size(), (Size{2, 3}));
}

TEST(DecodeImage, NoPartOfAFileIsAnImage) {
  for (const auto& whole : {encode("png"), encode("jpeg"), encode("bmp"), encode("ico"), kAnimation}) {
    for (std::size_t size = 0; size < whole.size(); ++size) {
      EXPECT_FALSE(decodeImage(std::span(whole).first(size))) << size << " bytes of " << whole.size();
    }
  }
}

TEST(DecodeImage, AnImageTooLargeIsRefusedBeforeItsMemoryIsTaken) {
  auto frame = kAnimation;
  for (const std::size_t at : {32U, 34U}) frame[at + 1] = 0x20;
  const auto peakKiB = [] {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
  };
  // A side of a PNG is followed by what belongs to it, and by the checksum of all that.
  const Bytes bombs[] = {
      patched(encode("png"), 16, "\0\0\x3E\x80\0\0\x3E\x80\x08\6\0\0\0\x41\x7E\xDF\xDE"sv),
      patched(patched(kAnimation, 6, "\xEA\xEA\xEA\xEA"), 32, "\xEA\xEA\xEA\xEA"),
      frame,
  };
  ASSERT_TRUE(decodeImage(encode("png")));  // takes what the decoder itself needs
  const auto before = peakKiB();
  for (const auto& bomb : bombs) EXPECT_FALSE(decodeImage(bomb));
  EXPECT_LT(peakKiB() - before, 8 * 1024);

  EXPECT_TRUE(decodeImage(encode("png", 4096, 1024)));
  EXPECT_FALSE(decodeImage(encode("png", 4097, 1)));
}

const std::string kSvg =
    R"(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" width="22" height="22">)";
const std::string kShape = R"(<path id="a" d="M0 0h22v22z"/>)";
const std::string kCopy = R"(<use xlink:href="#a"/>)";
const std::string kMask = "<mask id='m'>" + kShape + "</mask>";

std::string times(int count, const std::string& text) { return count == 0 ? "" : text + times(count - 1, text); }

std::optional<Image> decodeSvg(const std::string& text) {
  const auto whole = text + "</svg>";
  return decodeImage(Bytes(whole.begin(), whole.end()));
}

TEST(DecodeImage, VectorsAreDrawnUnlessTheyCouldTakeLong) {
  const auto curves = "<path d='M0 0" + times(1000, "C-9 0 0-9 9 9") + "'/>";
  const std::pair<bool, std::string> cases[] = {
      {true, "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE svg>\n<!-- drawn -->" + kSvg},
      {true, kSvg + "<linearGradient id='g'><stop offset='0'/></linearGradient>" + times(40, "<g fill='url(#g)'/>")},
      {true, kSvg + "<g clip-path='url(#c)'><path d='M1 1h9'/></g><clipPath id='c'>" + kShape + "</clipPath>"},
      {true, kSvg + "<style>.a{fill:#fff}</style><path class='a' style='stroke-dasharray:none' d='M0 0h9'/>"},
      {true, kSvg + kShape + times(5, kCopy)},
      {true, kSvg + "<g transform='matrix(.1 0 0 -.1 0 22)' style='fill:#1e9a91'><path id='path305678901' d='" +
                 times(100, "M0 0l2200-9a9 9 0 1 1 9 9z") + "'/></g>"},
      {false, kSvg + kShape + times(30, kCopy)},
      {false, kSvg + "<svg:text xmlns:svg='http://www.w3.org/2000/svg'>hello</svg:text>"},
      {false, kSvg + "<image href='x.png'/>"},
      {false, kSvg + "<path style='stroke-dasharray: 1e-4' d='M0 0h9'/>"},
      {false, kSvg + "<style>" + times(600, "a,") + "a{fill:red}</style>"},
      {false, kSvg + "<style>*{mask:url(#m)}</style>" + kMask},
      {false, kSvg + kMask + "<path mask='&#117;rl(#m)' d='M0 0h9'/>"},
      {false, kSvg + kMask + times(60, "<path mask='inherit' d='M0 0h9'/>")},
      {false, kSvg + times(2000, kShape)},
      {false, kSvg + "<path d='M0 0" + times(500, "C-1e6 0 0-1e6 9 9") + "'/>"},
      {false, kSvg + "<path d='M0 0" + times(1000, "a9999 9999 0 1 1 1 1") + "'/>"},
      {false, kSvg + "<path d='M0 0t" + times(3000, "99 0-99 9 ") + "'/>"},
      {false, kSvg + times(900, "<circle r='99in'/>")},
      {false, kSvg + times(5, "<g transform='scale(9)'>") + curves + times(5, "</g>")},
      {false, kSvg + "<style>.a{transform:scale(3)}</style>" + times(9, "<g class='a'>") + curves + times(9, "</g>")},
      {false, kSvg + "<svg viewBox='0 0 .01 .01'>" + curves + "</svg>"},
      {false, "<!DOCTYPE svg [<!ENTITY a 'b'>]>" + kSvg},
      {false, "<?xml version='1.0' encoding='windows-1252'?>" + kSvg},
  };
  for (const auto& [isDrawn, text] : cases) {
    const auto image = decodeSvg(text);
    EXPECT_EQ(image.has_value(), isDrawn) << text.substr(0, 300);
    EXPECT_TRUE(!image || (image->size() == Size{22, 22} && image->pixels()->width == 88));
  }
}

}  // namespace
}  // namespace quill
