#include "svg_bounds.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "decode_image.h"

namespace quill {
namespace {

std::string svg(const std::string& content) {
  return R"(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" width="22" height="22">)" +
         content + "</svg>";
}

std::string times(int count, const std::string& text) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

const std::string kShape = R"(<path d="M0 0h22v22z"/>)";

const std::string kCurves = "<path d='M0 0" + times(1000, "C-9 0 0-9 9 9") + "'/>";

/// `levels` groups, each drawn `copies` times by the next.
std::string nested(int levels, int copies) {
  std::string content = "<defs><g id='g0'>" + kShape + "</g>";
  for (int i = 1; i <= levels; ++i) {
    content += "<g id='g" + std::to_string(i) + "'>" +
               times(copies, "<use xlink:href='#g" + std::to_string(i - 1) + "'/>") + "</g>";
  }
  return svg(content + "</defs><use xlink:href='#g" + std::to_string(levels) + "'/>");
}

std::string nestedPatterns(int levels) {
  std::string content;
  for (int i = 1; i <= levels; ++i) {
    content += "<pattern id='p" + std::to_string(i) + "' width='9' height='9'><g fill='url(#p" + std::to_string(i - 1) +
               ")'>" + times(9, kShape) + "</g></pattern>";
  }
  return svg(content + "<g fill='url(#p" + std::to_string(levels) + ")'>" + kShape + "</g>");
}

TEST(SvgBounds, WhatIconsAreMadeOfPasses) {
  const std::string cases[] = {
      svg(kShape),
      "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE svg>\n<!-- drawn -->" + svg(kShape),
      svg(R"(<linearGradient id="g"><stop offset="0"/></linearGradient>)" +
          times(40, R"~(<path fill="url(#g)" d="M0 0h22v22z"/>)~")),
      svg(R"~(<g clip-path="url(#c)"><path d="M1 1h9"/></g><defs><clipPath id="c"><path d="M0 0h22v22H0z"/></clipPath></defs>)~"),
      svg("<style>.a{fill:#fff}</style><path class='a' style='stroke-dasharray:none' d='M0 0h9'/>"),
      nested(2, 2),
      svg("<g transform='matrix(.1 0 0 -.1 0 22)' style='fill:#1e9a91'><path id='path305678901' d='" +
          times(100, "M0 0l2200-9a9 9 0 1 1 9 9z") + "'/></g>"),
      R"~(<svg xmlns="http://www.w3.org/2000/svg" width="22" height="22" viewBox="0 0 512 512" inkscape:window-width="9e9")~"
      R"~( xmlns:inkscape="http://www.inkscape.org/namespaces/inkscape"><linearGradient id="g")~"
      R"~( gradientTransform="scale(9e9)"/><path d="M0 0h512v512"/></svg>)~",
  };
  for (const auto& text : cases) {
    EXPECT_TRUE(isAffordableSvg(text)) << text.substr(0, 300);
    const auto image = decodeImage({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    ASSERT_TRUE(image) << text.substr(0, 300);
    EXPECT_EQ(image->size(), (Size{22, 22}));
    EXPECT_EQ(image->pixels().width, 88);
  }
}

TEST(SvgBounds, WhatCouldRunForLongIsRefusedAtOnce) {
  const std::string cases[] = {
      nested(20, 2),
      nested(6, 9),
      nestedPatterns(6),
      svg("<svg:text xmlns:svg='http://www.w3.org/2000/svg'>" + times(4000, "hello ") + "</svg:text>"),
      svg("<filter id='f'><feTurbulence numOctaves='100000000'/></filter>"),
      svg("<image href='x.png'/>"),
      svg("<path style='stroke-dasharray: 1e-4' d='M0 0h1e9'/>"),
      svg("<style>" + times(2000, "a,") + "a{fill:red}</style>" + times(2000, "<a/>")),
      svg("<style>*{mask:url(#m)}</style><mask id='m'>" + times(500, kShape) + "</mask>" + times(500, kShape)),
      svg("<mask id='m'>" + kShape + "</mask>" + times(30, "<path mask='&#117;rl(#m)' d='M0 0h9'/>")),
      svg("<mask id='m'>" + kShape + "</mask>" + times(60, "<path mask='inherit' d='M0 0h9'/>")),
      "<!DOCTYPE svg [<!ENTITY a 'b'>]>" + svg(kShape),
      "<?xml version='1.0' encoding='UTF-7'?>" + svg("+ADw-image/+AD4-"),
      svg(times(2000, kShape)),
      svg("<path d='M0 0" + times(500, "C-1e6 0 0-1e6 9 9") + "'/>"),
      svg("<path d='M0 0" + times(1000, "a9999 9999 0 1 1 1 1") + "'/>"),
      svg("<path d='M0 0t" + times(3000, "99 0-99 9 ") + "'/>"),
      svg(times(900, "<circle r='99in'/>")),
      svg("<g transform='scale (1e3)'>" + kCurves + "</g>"),
      svg(times(5, "<g transform='scale(9)'>") + kCurves + times(5, "</g>")),
      svg("<style>.a{transform:scale(3)}</style>" + times(9, "<g class='a'>") + kCurves + times(9, "</g>")),
      svg("<svg viewBox='0 0 .01 .01'>" + kCurves + "</svg>"),
      "<!-- <svg width='99999'> --><svg xmlns='http://www.w3.org/2000/svg' width='9'><g transform='scale(9999)'>" +
          kCurves + "</g></svg>",
  };
  for (const auto& text : cases) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(decodeImage({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()})) << text.substr(0, 300);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100)) << text.substr(0, 300);
  }
}

}  // namespace
}  // namespace quill
