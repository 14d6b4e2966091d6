#include "decode_image.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace quill {
namespace {

using Bytes = std::vector<std::uint8_t>;
using namespace std::string_view_literals;

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The pictures are also what the fuzzer starts from.
Bytes picture(const std::string& name) {
  const auto text = contents(PICTURES "/" + name);
  return {text.begin(), text.end()};
}

/// A letter a pixel, a word a row: "RGB KY." is red, green and blue above black, yellow and a clear pixel; "refused".
std::string decoded(std::span<const std::uint8_t> bytes) {
  static constexpr struct {
    char letter;
    int rgba[4];
  } kLetters[] = {{'R', {255, 0, 0, 255}},  {'G', {0, 255, 0, 255}},     {'B', {0, 0, 255, 255}},
                  {'K', {0, 0, 0, 255}},    {'Y', {255, 255, 0, 255}},   {'W', {255, 255, 255, 255}},
                  {'1', {85, 85, 85, 255}}, {'2', {170, 170, 170, 255}}, {'h', {255, 255, 255, 128}}};
  const auto image = decodeImage(bytes);
  if (!image) return "refused";
  const auto& rgba = image->pixels()->rgba;
  const auto width = image->pixels()->width;
  const auto height = image->pixels()->height;
  EXPECT_EQ(rgba.size(), static_cast<std::size_t>(width * height * 4));
  EXPECT_EQ(image->size(), (Size{static_cast<double>(width), static_cast<double>(height)}));
  std::string text;
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    if (i > 0 && i / 4 % static_cast<std::size_t>(width) == 0) text += ' ';
    const auto isNear = [&](const auto& known) {
      constexpr int kTolerance = 12;  // of JPEG, and of 5 bits a channel
      for (std::size_t c = 0; c < 4; ++c) {
        if (std::abs(known.rgba[c] - rgba[i + c]) > kTolerance) return false;
      }
      return true;
    };
    const auto* const found = std::find_if(std::begin(kLetters), std::end(kLetters), isNear);
    text += rgba[i + 3] == 0 ? '.' : found != std::end(kLetters) ? found->letter : '?';
  }
  return text;
}

/// What stands in each picture, by its name.
const std::vector<std::pair<std::string, std::string>> kPictures = [] {
  std::vector<std::pair<std::string, std::string>> all;
  std::ifstream list(LIST);
  for (std::string name, pixels; list >> name && std::getline(list >> std::ws, pixels);) all.emplace_back(name, pixels);
  return all;
}();

long peakKiB() {
  rusage usage{};
  return getrusage(RUSAGE_SELF, &usage), usage.ru_maxrss;
}

TEST(DecodeImage, EveryFormatGivesItsPixelsUprightWithinBounds) {
  for (const auto* name : {"png/rgba.png", "jpeg/rgb.jpg", "gif/plain.gif", "bmp/8.bmp", "tiff/lzw.tiff"}) {
    decoded(picture(name));  // takes what the libraries themselves need
  }
  const auto before = peakKiB();
  ASSERT_GT(kPictures.size(), 70U);
  for (const auto& [name, pixels] : kPictures) EXPECT_EQ(decoded(picture(name)), pixels) << name;
  EXPECT_TRUE(decodeImage(picture("jpeg/32_scans.jpg")));
  EXPECT_LT(peakKiB() - before, 6 * 1024);
}

TEST(DecodeImage, NoPartOfAFileIsAnImageAndNothingIsPrinted) {
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  for (const auto& [name, pixels] : kPictures) {
    if (name.find("megabytes") != std::string::npos) continue;
    auto whole = picture(name);
    for (std::size_t size = 0; size < whole.size(); ++size) {
      EXPECT_EQ(decoded(std::span(whole).first(size)), "refused") << size << " bytes of " << name;
      whole[size] ^= 0x10U;
      const auto harmed = decoded(whole);
      EXPECT_TRUE(!name.starts_with("png/") || harmed == "refused") << "byte " << size << " of " << name;
      whole[size] ^= 0x10U;
    }
  }
  EXPECT_EQ(::testing::internal::GetCapturedStdout() + ::testing::internal::GetCapturedStderr(), "");
}

TEST(DecodeImage, AJpegIsTurnedAsTheCameraSays) {
  const char* const upright[] = {"RGB KYW",  "RGB KYW",  "BGR WYK",  "WYK BGR",  "KYW RGB",
                                 "RK GY BW", "KR YG WB", "WB YG KR", "BW GY RK", "RGB KYW"};
  for (std::size_t orientation = 0; orientation < std::size(upright); ++orientation) {
    auto jpeg = picture("jpeg/rgb.jpg");
    auto exif = std::string("\xFF\xE1\0\42Exif\0\0MM\0*\0\0\0\10\0\1\1\22\0\3\0\0\0\1\0\0\0\0\0\0\0\0"sv);
    exif[29] = static_cast<char>(orientation);
    jpeg.insert(jpeg.begin() + 2, exif.begin(), exif.end());
    EXPECT_EQ(decoded(jpeg), upright[orientation]) << orientation;
  }
}

TEST(DecodeImage, APngLoadsNoLibraryOfAnotherFormat) {
  EXPECT_EQ(decoded(picture("png/rgba.png")), "RGB KYh");
  const auto isLoaded = [](const char* library) {
    return contents("/proc/self/maps").find(library) != std::string::npos;
  };
  for (const auto* library : {"libjpeg", "libgif", "libtiff", "librsvg", "libcairo"})
    EXPECT_FALSE(isLoaded(library)) << library;
  EXPECT_EQ(decoded(picture("gif/plain.gif")), "RGB KYW");
  EXPECT_TRUE(isLoaded("libgif"));
}

std::string times(int count, std::string_view text) {
  std::ostringstream all;
  while (count-- > 0) all << text;
  return all.str();
}

std::optional<Image> decodeSvg(const std::string& attributes, const std::string& body) {
  const auto text = "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' " + attributes +
                    ">" + body + "</svg>";
  return decodeImage(Bytes(text.begin(), text.end()));
}

TEST(DecodeImage, VectorsAreDrawnAtOneSize) {
  const std::string shape = "<rect width='100%' height='100%'/>";
  const std::tuple<const char*, Size, int, int> cases[] = {
      {"width='22' height='11'", {22, 11}, 88, 44},
      {"viewBox='0 0 10 40'", {10, 40}, 22, 88},
      {"width='1in' height='1in' viewBox='0 0 5 5'", {90, 90}, 88, 88},
      {"", {88, 88}, 88, 88},
  };
  for (const auto& [attributes, size, width, height] : cases) {
    const auto image = decodeSvg(attributes, shape);
    ASSERT_TRUE(image) << attributes;
    EXPECT_EQ(image->size(), size) << attributes;
    EXPECT_EQ(image->pixels()->width, width) << attributes;
    EXPECT_EQ(image->pixels()->height, height) << attributes;
    EXPECT_EQ(image->pixels()->rgba.back(), 255) << attributes;
  }
  for (const auto* attributes : {"width='0' height='9'", "width='5000' height='9'", "width='1e30' height='1e30'"}) {
    EXPECT_FALSE(decodeSvg(attributes, shape)) << attributes;
  }
  EXPECT_FALSE(decodeSvg("width='9' height='9'", "<g>"));
  EXPECT_FALSE(decodeSvg("width='9' height='9'", shape + times(1 << 20, " ")));
  // Colours are not multiplied by the opacity.
  const auto faint = decodeSvg("width='9' height='9'", "<rect width='9' height='9' fill='#ff8000' opacity='.5'/>");
  const auto& rgba = faint.value().pixels()->rgba;
  EXPECT_THAT(std::vector<int>(rgba.begin(), rgba.begin() + 4), testing::ElementsAre(255, 128, 0, 128));
}

/// What librsvg would crash on, take gigabytes for, print of or leave threads behind for. Of what is nested deeply it
/// may say itself that it is too much; the rest is drawn still.
TEST(DecodeImage, AVectorHarmsNobody) {
  // Elements of which each refers to the next.
  const auto chain = [](const std::string& element, const std::string& inside, const std::string& property) {
    std::ostringstream all;
    for (int i = 0; i < 4000; ++i) {
      all << '<' << element << " id='a" << i << "' width='9' height='9'><path d='M0 0h9" << inside << "' " << property
          << "='url(#a" << i + 1 << ")'/></" << element << '>';
    }
    return all.str() + "<path d='M0 0h9v9' " + property + "='url(#a0)'/>";
  };
  const std::string use = "<rect width='9' height='9' ";
  const std::pair<const char*, std::string> cases[] = {
      {"filter", "<filter id='f'><feTurbulence baseFrequency='1' numOctaves='2000000000'/></filter>" + use +
                     "filter='url(#f)'/>"},
      {"blur",
       "<filter id='f'><feGaussianBlur stdDeviation='3'/></filter>" + use + "style='filter:url(#f)!important'/>"},
      {"text", "<text font-size='1e9'>a</text>"},
      {"tile",
       "<pattern id='p' width='8000' height='8000' patternUnits='userSpaceOnUse'>"
       "<rect width='1e5' height='1e5'/></pattern>" +
           use + "fill='url(#p)'/>"},
      {"file", "<image href='" PICTURES "/png/rgba.png' width='9' height='9'/>"},
      {"selectors", "<style>" + times(200'000, ":not(") + "</style>"},
      {"masks", chain("mask", "v9", "mask")},
      {"patterns", chain("pattern", "v9", "fill")},
      {"markers", chain("marker", "", "marker-start")},
  };
  const auto threads = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator());
  };
  std::thread([] {}).join();  // the thread sanitizer makes one of its own with the first
  const auto before = threads();
  ::testing::internal::CaptureStderr();
  for (const auto& [name, body] : cases) {
    const auto image = decodeSvg("width='22' height='22'", body + "<rect x='20' y='20' width='2' height='2'/>");
    EXPECT_TRUE(image || body.size() > 10'000) << name;
    EXPECT_TRUE(!image || image->pixels()->rgba.back() == 255) << name;
    EXPECT_EQ(threads(), before) << name;
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace quill
