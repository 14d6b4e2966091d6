// From opacities, as decoders give them, to an icon in each of its forms.
#include <algorithm>
#include <string_view>

#include "pictures.h"

namespace quill::fuzz {
namespace {

constexpr std::size_t kMaxSide = 64;

/// A picture as lines of text: a blank is clear, # is solid, and other bytes are their own opacity.
/// What a line lacks is clear.
Image imageOf(std::string_view text) {
  std::vector<std::string_view> rows;
  std::size_t width = 1;
  while (rows.size() < kMaxSide) {
    const auto end = std::min(text.find('\n'), text.size());
    rows.push_back(text.substr(0, std::min(end, kMaxSide)));
    width = std::max(width, rows.back().size());
    if (end == text.size()) break;
    text.remove_prefix(end + 1);
  }
  auto pixels = std::make_shared<Pixels>(Pixels{static_cast<int>(width), static_cast<int>(rows.size()),
                                                std::pmr::vector<std::uint8_t>(width * rows.size() * 4)});
  for (std::size_t y = 0; y < rows.size(); ++y) {
    for (std::size_t x = 0; x < rows[y].size(); ++x) {
      const char c = rows[y][x];
      pixels->rgba[(y * width + x) * 4 + 3] = c == ' ' ? 0 : c == '#' ? 255 : static_cast<std::uint8_t>(c);
    }
  }
  return {pixels, {static_cast<double>(width), static_cast<double>(rows.size())}};
}

}  // namespace
}  // namespace quill::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quill::fuzz::showEverywhere(quill::fuzz::imageOf({reinterpret_cast<const char*>(data), size}));
  return 0;
}
