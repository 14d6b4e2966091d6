#include "icon_pixels.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "symbolic_svg.h"

namespace quill::freedesktop {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// Whether a point of the square from 0 to 1 belongs to a shape.
using Shape = std::function<bool(double x, double y)>;

bool disc(double x, double y) { return std::hypot(x - 0.5, y - 0.5) < 0.4; }
bool fullSquare(double, double) { return true; }
/// Rings of one sixteenth, as thin as the strokes of symbolic icons are.
bool rings(double x, double y) {
  const double radius = std::hypot(x - 0.5, y - 0.5) * 16;
  return (radius > 6 && radius < 7) || (radius > 3 && radius < 4);
}
/// Three bars of one sixteenth with gaps of one sixteenth.
bool bars(double x, double y) {
  const int column = static_cast<int>(x * 16);
  return y > 0.2 && y < 0.8 && (column == 5 || column == 7 || column == 9);
}

Pixels draw(const Shape& shape, int width, int height, double opacity = 1.0) {
  constexpr int kSamples = 4;
  Pixels pixels{width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width * height * 4))};
  for (int i = 0; i < width * height; ++i) {
    int hits = 0;
    for (int s = 0; s < kSamples * kSamples; ++s) {
      hits += shape((i % width + (s % kSamples + 0.5) / kSamples) / width,
                    (i / width + (s / kSamples + 0.5) / kSamples) / height);
    }
    pixels.rgba[static_cast<std::size_t>(i) * 4 + 3] =
        static_cast<std::uint8_t>(std::lround(255.0 * opacity * hits / (kSamples * kSamples)));
  }
  return pixels;
}

using Color = std::array<double, 3>;  // 0 to 255

/// The icon on a bar of one colour, scaled to `side` as panels do it: areas are averaged, and blown up
/// with straight lines.
std::vector<Color> show(const IconPixels& icon, int side, Color bar) {
  const double scale = static_cast<double>(icon.width) / side;
  const auto weight = [scale](int target, int source) {
    if (scale < 1) return std::max(0.0, 1 - std::abs((target + 0.5) * scale - 0.5 - source));
    return std::max(0.0, std::min((target + 1) * scale, source + 1.0) - std::max(target * scale, source + 0.0));
  };
  std::vector<Color> shown;
  for (int i = 0; i < side * side; ++i) {
    double weights = 0.0;
    double alpha = 0.0;
    Color sum{};
    for (int y = 0; y < icon.height; ++y) {
      if (weight(i / side, y) == 0.0) continue;
      for (int x = 0; x < icon.width; ++x) {
        const double w = weight(i % side, x) * weight(i / side, y);
        const auto* const argb = &icon.argb[static_cast<std::size_t>((y * icon.width + x) * 4)];
        weights += w;
        alpha += w * argb[0] / 255.0;
        for (std::size_t c = 0; c < 3; ++c) sum[c] += w * argb[0] / 255.0 * argb[1 + c];
      }
    }
    for (std::size_t c = 0; c < 3; ++c) sum[c] = sum[c] / weights + bar[c] * (1 - alpha / weights);
    shown.push_back(sum);
  }
  return shown;
}

double luminance(const Color& color) {
  const auto linear = [](double v) {
    const double c = std::round(v) / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color[0]) + 0.7152 * linear(color[1]) + 0.0722 * linear(color[2]);
}

double contrast(const Color& a, const Color& b) {
  const double brighter = std::max(luminance(a), luminance(b)) + 0.05;
  return brighter / (std::min(luminance(a), luminance(b)) + 0.05);
}

std::vector<std::uint8_t> alphaOf(const IconPixels& icon) {
  std::vector<std::uint8_t> alpha;
  for (std::size_t i = 0; i < icon.argb.size(); i += 4) alpha.push_back(icon.argb[i]);
  return alpha;
}

TEST(TemplateIcon, IsSeenInEveryBarAtEverySize) {
  const struct {
    std::string_view name;
    Color color;
  } kBars[] = {{"white", {255, 255, 255}},      {"black", {0, 0, 0}},
               {"#2980b9", {0x29, 0x80, 0xb9}}, {"#767676", {0x76, 0x76, 0x76}},
               {"#353535", {0x35, 0x35, 0x35}}, {"#edeceb", {0xed, 0xec, 0xeb}}};
  const struct {
    std::string_view name;
    Shape shape;
  } kShapes[] = {{"disc", disc}, {"full square", fullSquare}, {"rings", rings}, {"bars", bars}};
  for (const auto& [shapeName, shape] : kShapes) {
    for (const Tone fill : {Tone::light, Tone::dark}) {
      const auto icons = templateIconPixels(draw(shape, 64, 64), fill);
      ASSERT_EQ(icons.size(), 2U);
      for (const auto& [barName, bar] : kBars) {
        for (const auto& icon : icons) {
          for (const int side : {16, 22, 24, icon.width}) {
            double best = 0.0;
            for (const auto& pixel : show(icon, side, bar)) best = std::max(best, contrast(pixel, bar));
            // White has no more than 4.3 on that blue, and thin strokes hold no pure black. On that grey
            // pure white has 4.54: bars of one pixel lose some of it from 22 to 16.
            const bool isHard = fill == Tone::dark || (shapeName == "bars" && side == 16 && icon.width == 22);
            EXPECT_GE(best, isHard ? 3.7 : 4.5) << shapeName << (fill == Tone::light ? " light" : " dark") << " on "
                                                << barName << ", " << icon.width << " shown at " << side;
          }
        }
      }
    }
  }
}

TEST(TemplateIcon, StrokesGapsAndHolesStandOutFromOneAnother) {
  const auto greyAt = [](const IconPixels& icon, double x, double y) {
    const auto index = static_cast<std::size_t>(y * icon.height) * static_cast<std::size_t>(icon.width) +
                       static_cast<std::size_t>(x * icon.width);
    EXPECT_GE(icon.argb[index * 4], 230) << x << ", " << y;
    const double grey = icon.argb[index * 4 + 1];
    return Color{grey, grey, grey};
  };
  // A hole of 3 of 16 pixels, which an outline of 2 of 22 on both sides nearly closes.
  const auto holed = [](double x, double y) { return disc(x, y) && std::hypot(x - 0.5, y - 0.5) * 16 > 1.5; };
  for (const auto& icon : templateIconPixels(draw(holed, 64, 64), Tone::light)) {
    EXPECT_GE(contrast(greyAt(icon, 0.5, 0.5), greyAt(icon, 0.5, 0.26)), 4.5) << icon.width;
  }
  for (const auto& icon : templateIconPixels(draw(bars, 64, 64), Tone::light)) {
    for (const double gap : {6.5, 8.5}) {
      EXPECT_GE(contrast(greyAt(icon, gap / 16, 0.5), greyAt(icon, (gap + 1) / 16, 0.5)), 3.0) << icon.width;
    }
  }
  // A hole with room in it shows the bar.
  const auto wide = [](double x, double y) { return disc(x, y) && std::hypot(x - 0.5, y - 0.5) > 0.32; };
  for (const auto& icon : templateIconPixels(draw(wide, 64, 64), Tone::light)) {
    const auto middle = static_cast<std::size_t>(icon.width / 2 * (icon.width + 1));
    EXPECT_EQ(icon.argb[middle * 4], 0) << icon.width;
  }
}

TEST(TemplateIcon, AShapeAtTheEdgeIsShrunkForItsOutline) {
  for (const auto& icon : templateIconPixels(draw(fullSquare, 64, 64), Tone::light)) {
    const int outline = icon.width / 11;
    for (int x = 0; x < icon.width / 2; ++x) {
      const auto* const argb = &icon.argb[static_cast<std::size_t>((icon.height / 2 * icon.width + x) * 4)];
      EXPECT_EQ(argb[0], 255) << x;
      EXPECT_EQ(argb[1], x < outline ? 0 : 255) << x;
    }
  }
  // One with room keeps its size: 0.8 of the width.
  const auto coverage = shapeCoverage(draw(disc, 64, 64), 44, 4);
  EXPECT_EQ(coverage, shapeCoverage(draw(disc, 64, 64), 44, 0));
}

TEST(TemplateIcon, FaintBecomesFullAndSoftStaysSoft) {
  const auto faint = templateIconPixels(draw(disc, 64, 64, 0.3), Tone::light);
  const auto full = templateIconPixels(draw(disc, 64, 64), Tone::light);
  for (std::size_t i = 0; i < full.size(); ++i) {
    for (std::size_t at = 0; at < full[i].argb.size(); ++at) {
      EXPECT_NEAR(faint[i].argb[at], full[i].argb[at], 8) << at;
    }
  }
  auto fading = draw(fullSquare, 44, 44);
  for (std::size_t i = 0; i < 44 * 44; ++i) fading.rgba[i * 4 + 3] = static_cast<std::uint8_t>(i % 44 * 255 / 43 / 2);
  const auto coverage = shapeCoverage(fading, 44, 0);
  for (std::size_t x = 0; x < 44; ++x) EXPECT_NEAR(coverage[x], static_cast<double>(x) * 255 / 43, 3);
}

TEST(IconPixels, SizesComeFromTheSourcesOwnPixels) {
  const struct {
    int width, height;
    std::vector<int> sides;
  } kCases[] = {{16, 16, {22}},     {22, 22, {22}}, {22, 10, {22}},       {23, 1, {22, 44}},   {1, 64, {22, 44}},
                {64, 64, {22, 44}}, {1, 1, {22}},   {300, 200, {22, 44}}, {4096, 3, {22, 44}}, {0, 5, {}}};
  for (const auto& [width, height, sides] : kCases) {
    const auto source = draw(fullSquare, width, height);
    for (const auto& icons : {plainIconPixels(source), templateIconPixels(source, Tone::dark)}) {
      std::vector<int> made;
      for (const auto& icon : icons) {
        made.push_back(icon.width);
        EXPECT_EQ(icon.argb.size(), static_cast<std::size_t>(icon.width * icon.height * 4));
        EXPECT_EQ(icon.width, icon.height);
      }
      EXPECT_EQ(made, sides) << width << " x " << height;
    }
    EXPECT_EQ(symbolicSvg(source).empty(), sides.empty());
  }
  EXPECT_TRUE(templateIconPixels(Pixels{8, 8, {1, 2, 3}}, Tone::light).empty());
  // Nothing to see stays nothing.
  const auto clear = draw([](double, double) { return false; }, 30, 30);
  EXPECT_EQ(alphaOf(templateIconPixels(clear, Tone::light).back()), std::vector<std::uint8_t>(44 * 44));
  EXPECT_EQ(symbolicSvg(clear), "");
}

TEST(IconPixels, PlainKeepsColoursShapeAndByteOrder) {
  Pixels source{44, 22, {}};
  for (int i = 0; i < 44 * 22; ++i) {
    // Opaque orange in the left half, clear green in the right one.
    if (i % 44 < 22) {
      source.rgba.insert(source.rgba.end(), {200, 100, 50, 255});
    } else {
      source.rgba.insert(source.rgba.end(), {0, 255, 0, 0});
    }
  }
  const auto icons = plainIconPixels(source);
  ASSERT_EQ(icons.size(), 2U);
  const auto pixel = [](const IconPixels& icon, int x, int y) {
    const auto at = icon.argb.begin() + (y * icon.width + x) * 4;
    return std::vector<int>(at, at + 4);
  };
  for (const auto& icon : icons) {
    const int n = icon.width;
    EXPECT_THAT(pixel(icon, n / 2 - 1, n / 2), ElementsAre(255, 200, 100, 50));
    EXPECT_THAT(pixel(icon, n / 2, n / 2), ElementsAre(0, 0, 0, 0));
    // Half as high as wide, centred.
    EXPECT_EQ(pixel(icon, 0, n / 4 - 1)[0], 0);
    EXPECT_EQ(pixel(icon, 0, n / 4 + 1)[0], 255);
    EXPECT_EQ(pixel(icon, 0, n - n / 4 - 2)[0], 255);
    EXPECT_EQ(pixel(icon, 0, n - n / 4 + 1)[0], 0);
  }
  // A half-clear average keeps the colour, not a darkened one.
  Pixels mixed{44, 44, {}};
  for (int i = 0; i < 44 * 44; ++i) {
    mixed.rgba.insert(mixed.rgba.end(), {255, 0, 0, static_cast<std::uint8_t>(i % 2 == 0 ? 255 : 0)});
  }
  EXPECT_THAT(pixel(plainIconPixels(mixed).front(), 5, 5), ElementsAre(128, 255, 0, 0));
}

TEST(SymbolicSvg, HoldsTheShapeInFewPolygons) {
  // Two pixels that touch at a corner, and a square with a hole: no line between neighbours.
  Pixels source{22, 22, std::vector<std::uint8_t>(22 * 22 * 4)};
  const auto set = [&](int x, int y) { source.rgba[static_cast<std::size_t>((y * 22 + x) * 4 + 3)] = 255; };
  set(1, 1);
  set(2, 2);
  for (int y = 10; y < 13; ++y) {
    for (int x = 10; x < 13; ++x) {
      if (x != 11 || y != 11) set(x, y);
    }
  }
  const auto svg = symbolicSvg(source);
  EXPECT_THAT(svg, HasSubstr("viewBox=\"0 0 22 22\""));
  EXPECT_THAT(svg, HasSubstr(".ColorScheme-Text { color:#232629; }"));
  EXPECT_THAT(svg, HasSubstr("class=\"ColorScheme-Text\" fill=\"currentColor\" fill-opacity=\"1\" "
                             "d=\"M1 1h1v1h-1zM2 2h1v1h-1zM10 10h3v3h-3zM11 12h1v-1h-1z\""));

  const auto name = symbolicName(svg);
  EXPECT_EQ(name, symbolicName(svg));
  EXPECT_NE(name, symbolicName(svg + " "));
  EXPECT_TRUE(name.ends_with("-symbolic"));
  EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-"), std::string::npos);
}

}  // namespace
}  // namespace quill::freedesktop
