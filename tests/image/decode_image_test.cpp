#include "decode_image.h"

#include <fenv.h>
#include <sys/resource.h>

#include <array>
#include <map>
#include <sstream>
#include <thread>

#include "testing.h"

namespace quill::tests {

/// The pictures are also what the fuzzer starts from.
std::string picture(const std::string& name) { return contents(PICTURES "/" + name); }

std::optional<Image> decode(std::string_view bytes) {
  return decodeImage({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

/// The most memory that the process has had, in KiB.
long peakMemory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

using Colour = std::array<int, 4>;
const std::map<char, Colour> kColours = {
    {'R', {255, 0, 0, 255}},  {'G', {0, 255, 0, 255}},     {'B', {0, 0, 255, 255}},
    {'K', {0, 0, 0, 255}},    {'Y', {255, 255, 0, 255}},   {'W', {255, 255, 255, 255}},
    {'1', {85, 85, 85, 255}}, {'2', {170, 170, 170, 255}}, {'h', {255, 255, 255, 128}}};

/// "." for a clear pixel, "?" for none of the colours.
char letterOf(const std::uint8_t* rgba) {
  const auto isNear = [](int one, int other) { return std::abs(one - other) <= 12; };  // JPEG and 5 bits are inexact
  for (const auto& [letter, colour] : kColours)
    if (std::equal(colour.begin(), colour.end(), rgba, isNear)) return letter;
  return rgba[3] == 0 ? '.' : '?';
}

/// A letter a pixel and a word a row, or "refused": "RGB KY." is red, green and blue above black, yellow and clear.
std::string decoded(std::string_view bytes) {
  const auto image = decode(bytes);
  if (!image) return "refused";
  const auto& pixels = *image->pixels();
  const auto width = static_cast<std::size_t>(pixels.width), height = static_cast<std::size_t>(pixels.height);
  EXPECT_EQ(image->size(), (Size{static_cast<double>(width), static_cast<double>(height)}));
  std::string text;
  for (std::size_t i = 0; i < width * height; ++i) {
    if (i > 0 && i % width == 0) text += ' ';
    text += letterOf(&pixels.rgba[i * 4]);
  }
  return text;
}

TEST(DecodeImage, EveryFormatGivesItsPixelsInLittleMemory) {
  const auto before = peakMemory();
  for (const auto& [name, pixels] : casesIn(CASES "pictures.txt")) EXPECT_EQ(decoded(picture(name)), pixels) << name;
  EXPECT_TRUE(kIsSanitized || peakMemory() - before < 9'000) << "of which the libraries need 3,000";
}

TEST(DecodeImage, TruncatedFileIsRefusedAndNothingIsPrinted) {
  const std::size_t step = kIsSanitized ? 4 : 1;  // the thread sanitizer maps memory slowly
  internal::CaptureStdout();
  internal::CaptureStderr();
  for (const auto& [name, pixels] : casesIn(CASES "pictures.txt")) {
    if (name.find("megabytes") != std::string::npos) continue;
    const auto whole = picture(name);
    for (std::size_t size = 0; size < whole.size(); size += step)
      EXPECT_EQ(decoded(std::string_view(whole).substr(0, size)), "refused") << size << " bytes of " << name;
  }
  EXPECT_EQ(internal::GetCapturedStdout() + internal::GetCapturedStderr(), "");
}

/// "Size in points, size in pixels, the last pixel" or "refused".
std::string drawn(std::string_view svg) {
  const auto image = decode(svg);
  if (!image) return "refused";
  const auto& pixels = *image->pixels();
  std::ostringstream seen;
  seen << image->size().width << 'x' << image->size().height << ", " << pixels.width << 'x' << pixels.height << ',';
  for (const int value : std::span(pixels.rgba).last(4)) seen << ' ' << value;
  return seen.str();
}
std::string svg(const std::string& inside) { return "<svg xmlns='http://www.w3.org/2000/svg' " + inside + "</svg>"; }

TEST(DecodeImage, VectorIsDrawnAtOneSize) {
  feenableexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW);  // as hosts in Pascal and Lisp do
  for (const auto& [inside, expected] : casesIn(CASES "vectors.txt")) EXPECT_EQ(drawn(svg(inside)), expected) << inside;
  EXPECT_EQ(drawn(svg("width='9' height='9'>" + times(1 << 18, " "))), "refused");
}

/// librsvg would crash, take gigabytes, print a warning or leave threads behind.
TEST(DecodeImage, HostileVectorHarmsNoHost) {
  std::thread([] {}).join();  // the thread sanitizer makes one of its own with the first
  const auto threads = countIn("/proc/self/task");
  const std::string whole = "22x22, 88x88, 0 0 0 255";
  internal::CaptureStderr();
  for (const std::string name : {"filter", "blur", "text", "file", "image"})
    EXPECT_EQ(drawn(picture("svg/" + name + ".svg")), whole) << name;
  // The pattern asks for 4 GiB that nothing may write to. The fuzzer's limit is lower.
  const auto before = peakMemory();
  EXPECT_EQ(drawn(contents(CASES "tile.svg")), sizeof(void*) > 4 ? whole : "refused");
  EXPECT_TRUE(kIsSanitized || peakMemory() - before < 9'000);
  // librsvg recurses into selectors, and a version with a limit refuses them.
  const auto selectors = "<style>" + times(52'000, ":not(") + "</style><path d='M0 0h22v22H0z'/>";
  EXPECT_THAT(drawn(svg("width='22' height='22'>" + selectors)), AnyOf(whole, "refused"));
  EXPECT_EQ(countIn("/proc/self/task"), threads);
  EXPECT_EQ(internal::GetCapturedStderr(), "");
}

}  // namespace quill::tests
