#include "decode_image.h"

#include <fenv.h>
#include <sys/resource.h>
#include <unistd.h>

#include <sstream>
#include <thread>

#include "testing.h"

namespace quill::tests {

using Bytes = std::vector<std::uint8_t>;

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
  const auto width = image->pixels()->width, height = image->pixels()->height;
  EXPECT_EQ(rgba.size(), static_cast<std::size_t>(width * height * 4));
  EXPECT_EQ(image->size(), (Size{static_cast<double>(width), static_cast<double>(height)}));
  std::string text;
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    if (i > 0 && i / 4 % static_cast<std::size_t>(width) == 0) text += ' ';
    const auto isNear = [&](const auto& known) {
      return std::equal(known.rgba, std::end(known.rgba), &rgba[i], [](int one, int other) {
        return std::abs(one - other) <= 12;  // as JPEG and 5 bits a channel have it
      });
    };
    const auto* const found = std::find_if(std::begin(kLetters), std::end(kLetters), isNear);
    text += rgba[i + 3] == 0 ? '.' : found != std::end(kLetters) ? found->letter : '?';
  }
  return text;
}

TEST(DecodeImage, EveryFormatGivesItsPixelsUprightWithinBounds) {
  auto peakKiB = [usage = rusage{}]() mutable { return getrusage(RUSAGE_SELF, &usage), usage.ru_maxrss; };
  for (const auto* name : {"png/rgba.png", "jpeg/rgb.jpg", "gif/plain.gif", "bmp/8.bmp", "tiff/lzw.tiff"}) {
    decoded(picture(name));  // takes what the libraries themselves need
  }
  const auto before = peakKiB();
  for (const auto& [name, pixels] : casesIn(CASES "pictures.txt")) EXPECT_EQ(decoded(picture(name)), pixels) << name;
  EXPECT_TRUE(decodeImage(picture("jpeg/32_scans.jpg")));
  EXPECT_LT(peakKiB() - before, 6 * 1024);
}

TEST(DecodeImage, NoPartOfAFileIsAnImageAndNothingIsPrinted) {
  const std::size_t step = kIsSanitized ? 4 : 1;  // under the thread sanitizer, to map memory takes long
  internal::CaptureStdout();
  internal::CaptureStderr();
  for (const auto& [name, pixels] : casesIn(CASES "pictures.txt")) {
    if (name.find("megabytes") != std::string::npos) continue;
    auto whole = picture(name);
    for (std::size_t size = 0; size < whole.size(); size += step) {
      EXPECT_EQ(decoded(std::span(whole).first(size)), "refused") << size << " bytes of " << name;
      whole[size] ^= 0x10U;
      const auto harmed = decoded(whole);
      EXPECT_TRUE(!name.starts_with("png/") || harmed == "refused") << "byte " << size << " of " << name;
      whole[size] ^= 0x10U;
    }
  }
  EXPECT_EQ(internal::GetCapturedStdout() + internal::GetCapturedStderr(), "");
}

/// "Size in points, size in pixels, the last pixel" or "refused".
std::string drawn(std::string_view svg) {
  const auto image = decodeImage({reinterpret_cast<const std::uint8_t*>(svg.data()), svg.size()});
  if (!image) return "refused";
  const auto& pixels = *image->pixels();
  std::ostringstream seen;
  seen << image->size().width << 'x' << image->size().height << ", " << pixels.width << 'x' << pixels.height << ',';
  for (const int value : std::span(pixels.rgba).last(4)) seen << ' ' << value;
  return seen.str();
}
std::string svg(const std::string& attributes, const std::string& body) {
  return "<svg xmlns='http://www.w3.org/2000/svg' " + attributes + ">" + body + "</svg>";
}

TEST(DecodeImage, VectorsAreDrawnAtOneSize) {
  feenableexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW);  // as hosts in Pascal and Lisp do
  for (const auto& [inside, expected] : casesIn(CASES "vectors.txt"))
    EXPECT_EQ(drawn("<svg xmlns='http://www.w3.org/2000/svg' " + inside + "</svg>"), expected) << inside;
  EXPECT_EQ(drawn(svg("width='9' height='9'", times(1 << 18, " "))), "refused");
  if (kIsSanitized) return;  // a sanitizer reserves addresses without end
  limitAddresses(128 << 20);
  EXPECT_EQ(drawn(svg("width='22' height='22'", "<path d='M0 0h22v22H0z'/>")), "22x22, 88x88, 0 0 0 255");
}

TEST(DecodeImage, APngLoadsNoLibraryOfAnotherFormat) {
  EXPECT_EQ(decoded(picture("png/rgba.png")), "RGB KYh");
  for (const auto* library : {"libjpeg", "libgif", "libtiff", "librsvg", "libcairo"})
    EXPECT_EQ(contents("/proc/self/maps").find(library), std::string::npos) << library;
}

/// What librsvg would crash on, take gigabytes for, print of or leave threads behind for.
TEST(DecodeImage, AVectorHarmsNobody) {
  const std::string end = "<rect x='20' y='20' width='2' height='2'/>";
  // Elements of which each refers to the next.
  const auto chain = [&](const std::string& element, const std::string& inside, const std::string& property) {
    std::ostringstream all;
    for (int i = 0; i < 2500; ++i) {
      all << '<' << element << " id='a" << i << "' width='9' height='9'><path d='M0 0h9" << inside << "' " << property
          << "='url(#a" << i + 1 << ")'/></" << element << '>';
    }
    return svg("width='22' height='22'", all.str() + "<path d='M0 0h9v9' " + property + "='url(#a0)'/>" + end);
  };
  std::thread([] {}).join();  // the thread sanitizer makes one of its own with the first
  const auto before = countIn("/proc/self/task");
  const std::string whole = "22x22, 88x88, 0 0 0 255";
  internal::CaptureStderr();
  for (const std::string name : {"filter", "blur", "text", "file"})
    EXPECT_EQ(drawn(contents(PICTURES "/svg/" + name + ".svg")), whole) << name;
  // 4 GiB are asked for and never written to: too much for the fuzzer's limit.
  EXPECT_EQ(drawn(contents(CASES "tile.svg")), sizeof(void*) > 4 ? whole : "refused");
  // Of what is nested deeply it may say itself that it is too much.
  for (const auto& deep :
       {chain("mask", "v9", "mask"), chain("pattern", "v9", "fill"), chain("marker", "", "marker-start"),
        svg("width='22' height='22'", "<style>" + times(52'000, ":not(") + "</style>" + end)})
    EXPECT_THAT(drawn(deep), AnyOf(whole, "refused")) << deep.substr(0, 80);
  EXPECT_EQ(countIn("/proc/self/task"), before);
  EXPECT_EQ(internal::GetCapturedStderr(), "");
}

}  // namespace quill::tests
