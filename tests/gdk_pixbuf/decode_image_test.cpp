#include "decode_image.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <array>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace quill {
namespace {

using Bytes = std::vector<std::uint8_t>;
using ::testing::ElementsAre;

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

/// 3 × 2 pixels, each of another colour; the last one is half clear.
constexpr std::array<guint8, 24> kPicture = {255, 0, 0, 255, 0,   255, 0, 255, 0,   0,   255, 255,
                                             0,   0, 0, 255, 255, 255, 0, 255, 255, 255, 255, 128};

Bytes encode(const char* format, std::array<guint8, 24> rgba, int width, int height) {
  const std::unique_ptr<GdkPixbuf, void (*)(gpointer)> pixbuf(
      gdk_pixbuf_new_from_data(rgba.data(), GDK_COLORSPACE_RGB, TRUE, 8, width, height, width * 4, nullptr, nullptr),
      g_object_unref);
  gchar* buffer = nullptr;
  gsize size = 0;
  EXPECT_TRUE(gdk_pixbuf_save_to_buffer(pixbuf.get(), &buffer, &size, format, nullptr, nullptr)) << format;
  const std::unique_ptr<gchar, void (*)(gpointer)> owner(buffer, g_free);
  return Bytes(buffer, buffer + size);
}

Bytes encode(const char* format) { return encode(format, kPicture, 3, 2); }

/// One pixel, red; then a second frame, blue.
const Bytes kAnimation =
    bytesOf(std::string_view("GIF89a\1\0\1\0\x80\0\0\xff\0\0\0\0\xff"
                             "!\xf9\4\0\x0a\0\0\0,\0\0\0\0\1\0\1\0\0\2\2D\1\0"
                             "!\xf9\4\0\x0a\0\0\0,\0\0\0\0\1\0\1\0\0\2\2L\1\0;",
                             19 + 2 * 23 + 1));

std::uint32_t crc32(const Bytes& bytes) {
  std::uint32_t crc = ~0U;
  for (const auto byte : bytes) {
    crc ^= byte;
    for (int i = 0; i < 8; ++i) crc = crc & 1U ? crc >> 1U ^ 0xEDB88320U : crc >> 1U;
  }
  return ~crc;
}

void append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

Bytes bigEndian(std::uint32_t value) {
  return {static_cast<std::uint8_t>(value >> 24U), static_cast<std::uint8_t>(value >> 16U),
          static_cast<std::uint8_t>(value >> 8U), static_cast<std::uint8_t>(value)};
}

void appendChunk(Bytes& png, std::string_view type, const Bytes& data) {
  auto checked = bytesOf(type);
  append(checked, data);
  append(png, bigEndian(static_cast<std::uint32_t>(data.size())));
  append(png, checked);
  append(png, bigEndian(crc32(checked)));
}

/// A whole PNG file, as far as its chunks tell, that claims `side` × `side` pixels.
Bytes pngClaiming(std::uint32_t side) {
  auto png = bytesOf("\x89PNG\r\n\x1A\n");
  auto header = bigEndian(side);
  append(header, bigEndian(side));
  append(header, {8, 6, 0, 0, 0});
  appendChunk(png, "IHDR", header);
  appendChunk(png, "IDAT", Bytes(4096));
  appendChunk(png, "IEND", {});
  return png;
}

Bytes bmpClaiming(std::uint32_t side) {
  auto bmp = bytesOf("BM");
  const auto add = [&bmp](std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i) bmp.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  };
  for (const std::uint32_t value : {4096U, 0U, 54U, 40U, side, side}) add(value, 4);
  add(1, 2);
  add(24, 2);
  bmp.resize(4096);
  return bmp;
}

TEST(DecodeImage, EveryFormatGivesItsPixels) {
  for (const char* format : {"png", "tiff", "ico", "bmp"}) {
    SCOPED_TRACE(format);
    const auto image = decodeImage(encode(format));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), (Size{3, 2}));
    EXPECT_FALSE(image->isTemplate());
    auto expected = Bytes(kPicture.begin(), kPicture.end());
    auto actual = image->pixels().rgba;
    ASSERT_EQ(actual.size(), expected.size());
    // BMP has no alpha, and the decoder of TIFF darkens colours that are not opaque.
    EXPECT_EQ(actual.back(), std::string_view(format) == "bmp" ? 255 : 128);
    if (std::string_view(format) == "bmp" || std::string_view(format) == "tiff") {
      expected.resize(20);
      actual.resize(20);
    }
    EXPECT_EQ(actual, expected);
  }
  const auto photo = decodeImage(encode("jpeg"));
  ASSERT_TRUE(photo);
  EXPECT_EQ(photo->pixels().rgba[3], 255);
}

TEST(DecodeImage, AnAnimationGivesItsFirstFrame) {
  const auto image = decodeImage(kAnimation);
  ASSERT_TRUE(image);
  EXPECT_THAT(image->pixels().rgba, ElementsAre(255, 0, 0, 255));
}

TEST(DecodeImage, APhotoIsTurnedUpright) {
  // EXIF orientation 6: to be turned by a quarter to the right.
  auto exif =
      bytesOf(std::string_view("\xFF\xE1\0\x22"
                               "Exif\0\0MM\0*\0\0\0\x08\0\1\1\x12\0\3\0\0\0\1\0\6\0\0\0\0\0\0",
                               36));
  auto jpeg = encode("jpeg");
  jpeg.insert(jpeg.begin() + 2, exif.begin(), exif.end());
  const auto image = decodeImage(jpeg);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->size(), (Size{2, 3}));
}

TEST(DecodeImage, NoPartOfAFileIsAnImage) {
  for (const auto& whole : {encode("png"), encode("jpeg"), encode("bmp"), encode("ico"), kAnimation}) {
    ASSERT_TRUE(decodeImage(whole));
    for (std::size_t size = 0; size < whole.size(); ++size) {
      EXPECT_FALSE(decodeImage(std::span(whole).first(size)))
          << size << " of " << whole.size() << " bytes starting with " << static_cast<int>(whole[0]);
    }
  }
  const auto tiff = encode("tiff");
  EXPECT_FALSE(decodeImage(std::span(tiff).first(tiff.size() / 2)));
}

TEST(DecodeImage, AnImageTooLargeIsRefusedBeforeItsMemoryIsTaken) {
  auto gif = kAnimation;
  for (const std::size_t at : {6U, 8U, 32U, 34U}) gif[at] = gif[at + 1] = 0xEA;
  auto frame = kAnimation;
  for (const std::size_t at : {32U, 34U}) frame[at + 1] = 0x20;
  const auto peakKiB = [] {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
  };
  ASSERT_TRUE(decodeImage(encode("png")));  // takes what the decoder itself needs
  const auto before = peakKiB();
  for (const auto& bomb : {pngClaiming(100'000), pngClaiming(16'000), pngClaiming(4'097), pngClaiming(0),
                           bmpClaiming(20'000), bmpClaiming(0xFFFFFFFF), gif, frame}) {
    EXPECT_FALSE(decodeImage(bomb));
  }
  EXPECT_LT(peakKiB() - before, 8 * 1024);
}

TEST(DecodeImage, NoBytesDoHarm) {
  EXPECT_FALSE(decodeImage({}));
  std::mt19937 random(1);  // NOLINT(*-msc51-cpp): the same bytes each time
  const Bytes starts[] = {{}, encode("png"), encode("jpeg"), encode("bmp"), encode("ico"), encode("tiff"), kAnimation};
  const auto harmless = [](const std::optional<Image>& image) {
    return !image || image->pixels().rgba.size() == static_cast<std::size_t>(image->pixels().width) *
                                                        static_cast<std::size_t>(image->pixels().height) * 4;
  };
  for (int round = 0; round < 200; ++round) {
    for (auto bytes : starts) {
      if (bytes.empty()) bytes.resize(64);
      const auto changes = 1 + random() % 8;
      for (unsigned i = 0; i < changes; ++i) bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
      EXPECT_TRUE(harmless(decodeImage(bytes)));
    }
    Bytes noise(random() % 512);
    for (auto& byte : noise) byte = static_cast<std::uint8_t>(random());
    EXPECT_FALSE(decodeImage(noise));
  }
}

TEST(DecodeImage, ThreadsDecodeAtTheSameTime) {
  const auto png = encode("png");
  std::array<int, 4> decoded{};
  {
    std::vector<std::jthread> threads;
    for (auto& count : decoded) {
      threads.emplace_back([&count, &png] {
        for (int i = 0; i < 50; ++i) count += decodeImage(png).has_value();
      });
    }
  }
  EXPECT_THAT(decoded, ElementsAre(50, 50, 50, 50));
}

}  // namespace
}  // namespace quill
