#include "two_tone_icon.h"

#include <cmath>
#include <map>

#include "symbolic_svg.h"
#include "testing.h"

namespace quill::freedesktop::tests {

/// Whether a shape covers a point of the square from 0 to 1.
using Drawing = std::function<bool(double x, double y)>;

double fromCentre(double x, double y) { return std::hypot(x - 0.5, y - 0.5); }
bool disc(double x, double y) { return fromCentre(x, y) < 0.4; }
bool fullSquare(double, double) { return true; }
constexpr Panel kSymbolic{.icon = IconForm::symbolic}, kOutlined{.icon = IconForm::symbolicWithOutline};

Shape draw(const Drawing& drawing, int width, int height, int alpha = 255) {
  Shape shape{width, height, {}};
  for (int i = 0; i < width * height; ++i) {
    const bool isSet = drawing((i % width + 0.5) / width, (i / width + 0.5) / height);
    shape.alpha.push_back(static_cast<std::uint8_t>(isSet ? alpha : 0));
  }
  return shape;
}

/// Alpha, red, green and blue at a point of the square from 0 to 1.
std::vector<int> argbAt(const IconPixels& icon, double x, double y) {
  const auto at = static_cast<int>(y * icon.height) * icon.width + static_cast<int>(x * icon.width);
  return {icon.argb.begin() + at * 4, icon.argb.begin() + at * 4 + 4};
}

TEST(TwoToneIcon, ShapeIsWhiteInABlackOutline) {
  const auto holed = [](double x, double y) { return disc(x, y) && fromCentre(x, y) > 0.13; };
  const auto ring = [](double x, double y) { return disc(x, y) && fromCentre(x, y) > 0.32; };
  // 22 pixels of the middle row: # fill, o outline, _ clear, ~ soft edge.
  const std::tuple<const char*, Drawing, const char*> cases[] = {
      {"disc", disc, "[o~]o[~#]#{16}[~#]?o[~_]"},
      {"shrunk for its outline", fullSquare, "o[~#]#{18}[~o]o"},
      {"hole too small to stay open", holed, "[o~]o[~#]#{5}[~o]o{4}[~#]#{4}[~#]{2}o[~_]"},
      {"ring", ring, "[o~]o[~#]#[o~]{2,3}_+[o~]{2,3}#[~#]o[~_]"},
  };
  const std::map<std::vector<int>, char> signs = {
      {{255, 255, 255, 255}, '#'}, {{204, 0, 0, 0}, 'o'}, {{0, 0, 0, 0}, '_'}};
  for (const auto& [name, shape, expected] : cases) {
    for (const auto& icon : twoToneIcon(draw(shape, 64, 64))) {
      std::string seen;
      for (double x = 0.6; x < 22; ++x) {  // within a pixel at either size
        const auto sign = signs.find(argbAt(icon, x / 22, 0.5));
        seen += sign == signs.end() ? '~' : sign->second;
      }
      EXPECT_THAT(seen, MatchesRegex(expected)) << name << ", " << icon.width;
    }
  }
}

TEST(TwoToneIcon, FaintShapeIsStrongInEitherTone) {
  for (const int alpha : {20, 128, 192, 255}) {
    for (auto icon : twoToneIcon(draw(disc, 64, 64, alpha))) {
      const int white = std::max(alpha, 197);  // with the outline, a contrast of 3 : 1 on any grey
      for (const auto& [fill, outline] : {std::pair(white, 0), std::pair(255 - white, 255)}) {
        EXPECT_THAT(argbAt(icon, 0.5, 0.5), ElementsAre(255, fill, fill, fill));
        EXPECT_THAT(argbAt(icon, 0.5, 1.8 / 22), ElementsAre(204, outline, outline, outline));
        icon.argb = inOtherTone(icon.argb);
      }
    }
  }
}

TEST(TwoToneIcon, SymmetricShapeIsSymmetric) {
  const auto blots = [](double x, double y) {
    const double toSide = std::abs(x - 0.5), toEnd = std::abs(y - 0.5);
    return std::sin(toSide * 40) + std::sin(toEnd * 40) > 0.2;
  };
  for (const int side : {22, 31, 64, 200}) {
    for (const auto& icon : twoToneIcon(draw(blots, side, side))) {
      for (int i = 0; i < icon.width * icon.width; ++i) {
        const double x = (i % icon.width + 0.5) / icon.width, y = (i / icon.width + 0.5) / icon.width;
        EXPECT_THAT(argbAt(icon, x, y), AllOf(argbAt(icon, 1 - x, y), argbAt(icon, y, x))) << side;
      }
    }
  }
}

TEST(TwoToneIcon, HairlineIsStrongAndSoftEdgeStaysSoft) {
  const auto hairline = [](double x, double) { return x > 0.5 && x < 0.51; };
  EXPECT_THAT(shapeCoverage(draw(hairline, 128, 128)), Contains(255));
  auto fading = draw(disc, 44, 44);
  for (std::size_t i = 0; i < 44 * 44; ++i)
    fading.alpha[i] = static_cast<std::uint8_t>(fading.alpha[i] * (i % 44) / 44);
  const auto icon = twoToneIcon(fading).back();
  for (std::size_t i = 0; i < 44 * 44; ++i)
    EXPECT_NEAR(icon.argb[i * 4] * icon.argb[i * 4 + 1], fading.alpha[i] * 255, 255) << "what is white of it";
}

TEST(TwoToneIcon, EmptyOrClearShapeShowsNothing) {
  EXPECT_THAT(twoToneIcon(draw(fullSquare, 0, 5)), IsEmpty());
  EXPECT_THAT(twoToneIcon(shapeOf({8, 8, {1, 2, 3}})), IsEmpty()) << "fewer pixels than its size says";
  const auto clear = draw(fullSquare, 30, 30, 0);
  const auto icons = twoToneIcon(clear);
  EXPECT_THAT(icons, ElementsAre(Field(&IconPixels::width, 22), Field(&IconPixels::width, 44)));
  for (const auto& icon : icons) EXPECT_THAT(icon.argb, Each(0));
  EXPECT_EQ(symbolicSvg(clear, kOutlined), "");
}

TEST(SymbolicSvg, ShapeIsTracedInLayersOfPolygons) {
  // Two pixels that touch at a corner, and a square with a hole: no line between neighbours.
  const auto shape = [](double x, double y) {
    const int column = static_cast<int>(x * 22), row = static_cast<int>(y * 22);
    const int distance = std::max(std::abs(column - 11), std::abs(row - 11));
    return distance == 1 || (column == row && (row == 1 || row == 2));
  };
  const auto svg = symbolicSvg(draw(shape, 22, 22), kSymbolic);
  EXPECT_THAT(svg, HasSubstr("viewBox=\"2 2 40 40\"")) << "without what the host left free for an outline";
  EXPECT_THAT(svg, Not(HasSubstr("class=\"ColorScheme-Background\"")));
  for (const std::string opacity : {".25", ".3333", ".5", "1"}) {  // layers, each on those before
    EXPECT_THAT(svg, HasSubstr("class=\"ColorScheme-Text\" fill=\"currentColor\" fill-opacity=\"" + opacity +
                               "\" d=\"M2 2h2v2h-2zM4 4h2v2h-2zM20 20h6v6h-6zM22 24h2v-2h-2z\""));
  }
}

TEST(SymbolicSvg, OblongShapeKeepsItsAspectRatio) {
  const std::string path = " d=\"M3 13h38v18h-38z\"/>";
  EXPECT_THAT(symbolicSvg(draw(fullSquare, 304, 144), kOutlined),
              MatchesRegex(".*viewBox=\"0 0 44 44\".*class=\"ColorScheme-Background\".* stroke-width=\"6\"" + path +
                           "(<path class=\"ColorScheme-Text\"[^>]*" + path + "){4}</svg>\n"));
  EXPECT_THAT(symbolicSvg(draw(fullSquare, 304, 152), kSymbolic), HasSubstr("d=\"M0 11h44v22h-44z\""));
  EXPECT_THAT(symbolicSvg(reduced(draw(fullSquare, 152, 304)), kSymbolic), HasSubstr("d=\"M11 0h22v44h-22z\""));
}

}  // namespace quill::freedesktop::tests
